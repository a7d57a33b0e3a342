// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/WorkerConnection.h"

#include <sys/epoll.h>

#include <cerrno>
#include <utility>

#include "base/SystemLog.h"
#include "helper/Patience.h"

namespace kestrin {
namespace {

/// How many messages are taken before others have their turn.
constexpr int kMostAtOnce = 32;
/// More than there is room for in a socket.
constexpr int kAllThereIs = 1024;
/// How soon the parent is told again to kill a worker when it could not be told, and how often.
constexpr std::chrono::milliseconds kKillAgain{50};
constexpr int kMaximumKills = kKillRequestPatience / kKillAgain;

/// What was sent before the end is still to be read then.
UniqueFd watchHangUp(int socket) {
    UniqueFd watch(::epoll_create1(EPOLL_CLOEXEC));
    epoll_event wanted{};  // the end is told unasked
    if (::epoll_ctl(watch.get(), EPOLL_CTL_ADD, socket, &wanted) != 0) return {};
    return watch;
}

}  // namespace

WorkerConnection::WorkerConnection(int parent, const StartWorker& worker, UniqueFd socket,
                                   Handlers handlers, UnlockedItems unlocked)
    : m_parent(parent),
      m_worker(worker),
      m_handlers(std::move(handlers)),
      m_messages(worker.kind, std::move(socket), std::move(unlocked)),
      m_readable(m_messages.socket(), QSocketNotifier::Read),
      m_hangUp(watchHangUp(m_messages.socket())),
      m_closed(m_hangUp.get(), QSocketNotifier::Read) {
    QObject::connect(&m_readable, &QSocketNotifier::activated, this, [this] { read(kMostAtOnce); });
    QObject::connect(&m_closed, &QSocketNotifier::activated, this, [this] {
        m_closed.setEnabled(false);
        m_isStopped = true;
        hearOut();
    });
    m_patience.setSingleShot(true);
    QObject::connect(&m_patience, &QTimer::timeout, this, &WorkerConnection::losePatience);
}

void WorkerConnection::read(int most) {
    for (int count = 0; count < most && m_readable.isEnabled(); ++count) {
        const auto message = m_messages.receive();
        if (!message) {
            if (message.error().systemError == EAGAIN) return;
            if (message.error().systemError != EPROTO) return lose();
            loseTrust();
            continue;
        }
        if (m_end) continue;  // told by what was left behind
        m_handlers.told(*message);
        if (!m_messages.hasFinished()) continue;
        m_patience.start(kStopPatience);
        end(End::Finished);
    }
}

/// Whether the process has ended or just its socket: it is of no more use.
void WorkerConnection::lose() {
    m_isLost = true;
    m_readable.setEnabled(false);
    m_closed.setEnabled(false);
    kill();
    end(End::Died);
    leaveWhenKilled();
}

void WorkerConnection::leaveWhenKilled() {
    if (!m_isKilled || !m_isLost) return;
    m_patience.stop();
    Q_EMIT gone();
}

/// What it unlocked before it is killed is still to be heard.
void WorkerConnection::loseTrust() {
    if (!std::exchange(m_isTrusted, false)) return;
    qCWarning(lcHelper, "A worker for user %u said what no worker says", m_worker.user);
    kill();
}

void WorkerConnection::end(End end) {
    if (m_end) return;
    m_end = end;
    m_isStopped = true;
    m_handlers.ended(end);
}

void WorkerConnection::stop() {
    if (std::exchange(m_isStopped, true)) return;
    setPaused(false);
    m_patience.start(kStopPatience);
    // A worker that cannot be told has gone, which is heard as well.
    if (sendStop(m_messages.socket())) qCInfo(lcHelper, "A worker could not be told to stop");
}

void WorkerConnection::kill() {
    if (m_isKilled) return;
    m_isStopped = true;
    if (!m_isLost) hearOut();
    const MaybeError error = sendKillWorker(m_parent, m_worker.number);
    if (error && error->systemError == EAGAIN && ++m_kills < kMaximumKills) {
        return m_patience.start(kKillAgain);  // the parent is busy
    }
    m_isKilled = true;
    m_patience.start(kKillPatience);
    if (error) {
        qCWarning(lcHelper, "A worker cannot be killed: %s", error->localizedDescription().c_str());
    }
}

void WorkerConnection::losePatience() {
    if (!m_isKilled) {
        kill();
        return leaveWhenKilled();
    }
    read(kAllThereIs);  // what it unlocked is to be known
    if (m_isLost) return;
    m_isLeftBehind = true;
    qCWarning(lcHelper, "A worker for user %u cannot be ended", m_worker.user);
    end(End::LeftBehind);
}

void WorkerConnection::setPaused(bool paused) {
    m_readable.setEnabled(!paused || m_isHeardOut);
}

void WorkerConnection::hearOut() {
    m_isHeardOut = true;
    setPaused(false);
}

}  // namespace kestrin
