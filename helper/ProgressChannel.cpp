// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/ProgressChannel.h"

#include <QDBusPendingCallWatcher>
#include <utility>

#include "base/FileUrl.h"
#include "helper/ProgressInterface.h"

namespace kestrin {
namespace {

constexpr int kTickMilliseconds = 20;
constexpr int kAnswerMilliseconds = 30'000;
constexpr int kMaximumUnanswered = 4;
constexpr std::size_t kMaximumPendingBytes = std::size_t{512} << 10;
/// How many bytes an entry takes in a message besides its path.
constexpr std::size_t kItemBytes = 32;
/// The bus takes no message above 32 MB.
constexpr std::size_t kLongestPath = std::size_t{4} << 20;

/// The path as it is told. One that is longer than any system call takes loses its end.
QString textOf(const std::string& path) {
    // Folders can be nested so deep that the whole would take hundreds of megabytes.
    std::string text = percentEncode(path.substr(0, kLongestPath), true);
    if (text.size() > kLongestPath) {
        text.resize(kLongestPath);
        const auto escape = text.find('%', text.size() - 2);
        if (escape != text.npos) text.resize(escape);
    }
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

ProgressChannel::ProgressChannel(const QDBusConnection& bus, const QString& caller, Totals totals,
                                 std::function<void()> lost)
    : m_caller(new ComQuorvaneKestrin3QVHelperToolProtocolProgressInterface(
          caller, QString::fromLatin1(kProgressPath), bus, this)),
      m_lost(std::move(lost)),
      m_totals(totals) {
    m_caller->setTimeout(kAnswerMilliseconds);
    QObject::connect(&m_tick, &QTimer::timeout, this, &ProgressChannel::sendPending);
    m_tick.start(kTickMilliseconds);
}

ProgressChannel::~ProgressChannel() = default;

void ProgressChannel::itemErased(std::string path, std::uint64_t size) {
    QString text = textOf(path);
    std::unique_lock lock(m_mutex);
    m_hasRoom.wait(lock, [this] { return m_isGivenUp || m_pendingBytes < kMaximumPendingBytes; });
    ++m_totals.count;
    m_totals.size += size;
    if (m_isGivenUp) return;
    m_pendingBytes += kItemBytes + static_cast<std::size_t>(text.size());
    m_pending.push_back({m_totals.count, m_totals.size, size, std::move(text)});
}

bool ProgressChannel::isHeard() const {
    const std::lock_guard guard(m_mutex);
    return !m_isGivenUp;
}

void ProgressChannel::sendPending() {
    ErasedItems items;
    if (m_unanswered < kMaximumUnanswered) {
        const std::lock_guard guard(m_mutex);
        items.swap(m_pending);
        m_pendingBytes = 0;
        m_hasRoom.notify_all();
    }
    if (!items.isEmpty()) watch(m_caller->itemsErased(items));
    if (m_nonErasedCount && m_unanswered < kMaximumUnanswered) sendEnd();
}

void ProgressChannel::watch(const QDBusPendingCall& call) {
    ++m_unanswered;
    auto* const watcher = new QDBusPendingCallWatcher(call, this);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        --m_unanswered;
        watcher->deleteLater();
        if (watcher->isError()) giveUp();
    });
}

/// Sends the end. Messages between two connections keep their order, so that nothing follows it.
void ProgressChannel::sendEnd() {
    m_tick.stop();
    m_caller->finishedWithNonErasedCount(*m_nonErasedCount);
    if (m_done) std::exchange(m_done, nullptr)();
}

void ProgressChannel::finish(std::uint64_t nonErasedCount, std::function<void()> done) {
    if (!isHeard()) return done();
    m_nonErasedCount = nonErasedCount;
    m_done = std::move(done);
    sendPending();
}

void ProgressChannel::giveUp() {
    {
        const std::lock_guard guard(m_mutex);
        if (std::exchange(m_isGivenUp, true)) return;
        m_pending.clear();
        m_hasRoom.notify_all();
    }
    m_tick.stop();
    if (m_lost) m_lost();
    if (m_done) std::exchange(m_done, nullptr)();
}

ProgressChannel::Totals ProgressChannel::totals() const {
    const std::lock_guard guard(m_mutex);
    return m_totals;
}

}  // namespace kestrin
