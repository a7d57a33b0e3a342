// SPDX-License-Identifier: GPL-3.0-or-later
// One worker, as the service sees it.
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

#include "helper/WorkerProtocol.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// Hears what a worker tells. One that is stopped and does not end is killed, and one that even the
/// kernel cannot end is left behind: nobody waits for it any more. Waits for nothing. Main thread.
class WorkerConnection final : public QObject {
    Q_OBJECT
 public:
    enum class End {
        Finished,    ///< as it told, by CommandFinished or CommandRefused
        Died,        ///< without having told its end, or it told what no worker tells
        LeftBehind,  ///< it does not end; what it is at may still happen
    };
    struct Handlers {
        std::function<void(const WorkerMessage&)> told;
        /// Called once. Nothing is told afterwards.
        std::function<void(End)> ended;
    };

    /// Of a worker that was started, and whose socket has this end. `parent` is the socket to the
    /// parent; `unlocked` is what a PutBack worker is to put back.
    WorkerConnection(int parent, const StartWorker& worker, UniqueFd socket, Handlers handlers,
                     UnlockedItems unlocked = {});

    /// Stops the worker, which has 5 s to end; further calls change nothing.
    void stop();
    /// Ends it at once.
    void kill();
    /// Ends it when it has not told its end by then.
    void killAfter(std::chrono::milliseconds time) { m_patience.start(time); }
    /// Takes no messages for a while; the worker waits meanwhile, and when it was stopped that is a
    /// part of its 5 s. One that is killed or has gone is always heard to its end.
    void setPaused(bool paused);

    /// As of WorkerMessages.
    const UnlockedItems& outstanding() const { return m_messages.outstanding(); }
    std::uint32_t user() const { return m_worker.user; }
    /// Whether even the kernel cannot end it.
    bool isLeftBehind() const { return m_isLeftBehind; }

 Q_SIGNALS:
    /// The process has gone, or is of no more use. Emitted once, after the end.
    void gone();

 private:
    void read(int most);
    void hearOut();
    void lose();
    void leaveWhenKilled();
    void loseTrust();
    void losePatience();
    void end(End end);

    const int m_parent;
    const StartWorker m_worker;
    const Handlers m_handlers;
    WorkerMessages m_messages;
    QSocketNotifier m_readable;
    const UniqueFd m_hangUp;  ///< readable when the worker's end is closed; see epoll(7)
    QSocketNotifier m_closed;
    QTimer m_patience;
    bool m_isStopped = false;
    bool m_isTrusted = true;
    bool m_isHeardOut = false;
    bool m_isLost = false;
    bool m_isKilled = false;
    int m_kills = 0;  ///< how often the parent was to be told
    bool m_isLeftBehind = false;
    std::optional<End> m_end;
};

}  // namespace kestrin
