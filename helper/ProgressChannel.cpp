// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/ProgressChannel.h"

#include <QDBusPendingCallWatcher>
#include <string>
#include <utility>

#include "base/FileUrl.h"
#include "helper/ProgressInterface.h"

namespace kestrin {
namespace {

constexpr int kTickMilliseconds = 20;
constexpr int kAnswerMilliseconds = 30'000;
constexpr int kMaximumUnanswered = 4;
constexpr std::size_t kMaximumPendingBytes = std::size_t{512} << 10;
/// How much may come from a worker that was stopped; it still fits into one message of the bus.
constexpr std::size_t kFloodBytes = std::size_t{16} << 20;
/// How many bytes an entry takes in a message besides its path.
constexpr std::size_t kItemBytes = 32;

/// The path as it is told. The bus takes no message above 32 MB.
QString textOf(const std::string& path) {
    std::string text = percentEncode(path, true);
    if (text.size() > kLongestToldPath) {
        text.resize(kLongestToldPath);
        const auto escape = text.find('%', text.size() - 2);
        if (escape != text.npos) text.resize(escape);
    }
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

ProgressChannel::ProgressChannel(const QDBusConnection& bus, const QString& caller, Totals totals,
                                 Handlers handlers)
    : m_caller(new ComQuorvaneKestrin3QVHelperToolProtocolProgressInterface(
          caller, QString::fromLatin1(kProgressPath), bus, this)),
      m_handlers(std::move(handlers)),
      m_totals(totals) {
    m_caller->setTimeout(kAnswerMilliseconds);
    QObject::connect(&m_tick, &QTimer::timeout, this, &ProgressChannel::sendPending);
    m_tick.start(kTickMilliseconds);
}

ProgressChannel::~ProgressChannel() = default;

void ProgressChannel::add(const EntriesErased& erased) {
    for (const auto& [path, size] : erased.entries) {
        ++m_totals.count;
        m_totals.size += size;
        if (m_isGivenUp) continue;
        QString text = textOf(path);
        m_pendingBytes += kItemBytes + static_cast<std::size_t>(text.size());
        m_pending.push_back({m_totals.count, m_totals.size, size, std::move(text)});
    }
}

bool ProgressChannel::hasRoom() const {
    return m_pendingBytes < kMaximumPendingBytes;
}

bool ProgressChannel::isFlooded() const {
    return m_pendingBytes > kFloodBytes;
}

void ProgressChannel::sendPending() {
    if (mustWait()) return;
    if (!m_pending.isEmpty()) {
        watch(m_caller->itemsErased(std::exchange(m_pending, {})));
        m_pendingBytes = 0;
        m_handlers.hasRoom();
    }
    if (m_end && !mustWait()) sendEnd();
}

bool ProgressChannel::mustWait() const {
    return !m_isHurried && m_unanswered >= kMaximumUnanswered;
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
    if (m_end->nonErasedCount && !m_isGivenUp) {
        m_caller->finishedWithNonErasedCount(*m_end->nonErasedCount);
    } else {
        m_caller->interrupted(m_end->mayGoOn);
    }
    std::exchange(m_done, nullptr)();
}

void ProgressChannel::finish(End end, std::function<void()> done) {
    m_end = std::move(end);
    m_done = std::move(done);
    if (m_isGivenUp) return sendEnd();
    sendPending();
}

void ProgressChannel::hurry() {
    m_isHurried = true;
    if (m_end && !m_isGivenUp) sendPending();
}

void ProgressChannel::giveUp() {
    if (std::exchange(m_isGivenUp, true)) return;
    m_pending.clear();
    m_pendingBytes = 0;
    m_tick.stop();
    m_handlers.hasRoom();
    m_handlers.lost();
    if (m_done) sendEnd();
}

}  // namespace kestrin
