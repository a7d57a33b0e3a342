// SPDX-License-Identifier: GPL-3.0-or-later
// One command that has its turn: what its worker does, and what its caller is told.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "helper/ProgressChannel.h"
#include "helper/Workers.h"

namespace kestrin {

/// Carries a command out by a worker. The call is answered when the worker has accepted or refused
/// the list; then its caller hears of the progress, and at last of the end. When the worker ended
/// with items unlocked, another one locks them again before that. Main thread.
class CommandRun final {
 public:
    struct Command {
        std::string name;      ///< as the interface description names it
        QDBusMessage message;  ///< the call
        std::uint32_t user = 0;
        WorkerKind kind{};
        QStringList unlockItems{};  ///< those of the call, for a worker that unlocks
    };

    /// `over` is called once, when the caller has been told everything, or given up; this object is
    /// on the stack then. `workers` must outlive it.
    CommandRun(const QDBusConnection& bus, Workers& workers, Command command,
               std::function<void()> over);
    ~CommandRun();
    CommandRun(const CommandRun&) = delete;
    CommandRun& operator=(const CommandRun&) = delete;

    /// Starts the worker; to be called once. `list` stays the caller's. Errors: of Workers::start.
    MaybeError begin(int list);
    /// Ends the command at its next entry. It is over within some seconds, whatever the worker
    /// does.
    void stop();
    /// The same, and waits for no answer of the caller's either, because this process ends. Unless
    /// all was erased the caller is told so, as of an interrupted command.
    void hurry();
    /// The same as stop, and tells the caller nothing any more.
    void callerLeft();
    /// Whether the first call of Stop, this one, is answered here: right after the command's own
    /// call, so that the caller knows by then whether anything was begun.
    bool answersStop(const QDBusMessage& call);
    bool isAnswered() const { return m_isAnswered; }

 private:
    void told(const WorkerMessage& message);
    void accept(const CommandAccepted& command);
    void ended(WorkerConnection::End end);
    void putBack(UnlockedItems unlocked);
    void tellEnd();
    void answer(const QDBusMessage& reply);
    QDBusMessage lastReply() const;
    void logEnd() const;
    void nameLost();

    QDBusConnection m_bus;
    Workers& m_workers;
    Command m_command;
    const QString m_caller;  ///< the bus name
    const std::function<void()> m_over;
    WorkerConnection* m_worker = nullptr;         ///< the command's, then the one that puts back
    std::unique_ptr<ProgressChannel> m_progress;  ///< once the list is accepted
    std::uint64_t m_erasedBefore = 0;
    bool m_isAnswered = false;
    std::optional<QDBusMessage> m_stopCall;
    bool m_isStopped = false;
    bool m_hasCallerLeft = false;
    bool m_isHurried = false;
    bool m_isCutOff = false;  ///< stopped because this process ends, by nobody's wish
    std::string m_refusal;    ///< why the worker refused the list
    std::vector<bool> m_isUnlocked;
    std::optional<CommandFinished> m_finished;
    std::optional<WorkerConnection::End> m_end;  ///< of the command's worker
    UnlockedItems m_lost;                        ///< what could not be locked again
};

}  // namespace kestrin
