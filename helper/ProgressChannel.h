// SPDX-License-Identifier: GPL-3.0-or-later
// What a running command tells the program that gave it.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <optional>

#include "helper/HelperProtocol.h"
#include "helper/WorkerProtocol.h"

class ComQuorvaneKestrin3QVHelperToolProtocolProgressInterface;

namespace kestrin {

/// Gathers the entries that went and sends them in calls, each with all that came in 20 ms, so that
/// the bus carries at most some fifty calls a second. When several calls are unanswered there is no
/// room for more. A caller that does not answer for 30 seconds, or answers with an error, is given
/// up: of what follows it is told the end alone, as one that it has to look into, should it hear
/// again (a program that its user had put to sleep). Main thread.
class ProgressChannel final : public QObject {
 public:
    struct Totals {
        std::uint64_t count = 0;
        std::uint64_t size = 0;
    };
    /// How a command ended.
    struct End {
        std::optional<std::uint64_t> nonErasedCount;  ///< none: nobody knows
        bool mayGoOn = false;                         ///< what was under way may yet go
    };
    struct Handlers {
        std::function<void()> hasRoom;  ///< called whenever there may be room again
        std::function<void()> lost;     ///< called once when the caller is given up
    };
    /// Counts on from `totals`.
    ProgressChannel(const QDBusConnection& bus, const QString& caller, Totals totals,
                    Handlers handlers);
    ~ProgressChannel() override;

    /// Entries of a caller that is given up are only counted.
    void add(const EntriesErased& erased);
    /// Whether few enough entries wait. What is added without room is kept all the same.
    bool hasRoom() const;
    /// Whether far more waits than an honest worker tells without room.
    bool isFlooded() const;

    /// Sends what is left and then the end. `done` is called when the end is sent.
    void finish(End end, std::function<void()> done);
    /// Waits for no answer any more, because this process ends: what is left and the end go to the
    /// bus, which keeps them for the caller.
    void hurry();
    /// Gives the caller up, because nobody listens any more.
    void giveUp();

    Totals totals() const { return m_totals; }

 private:
    void sendPending();
    bool mustWait() const;
    void sendEnd();
    void watch(const QDBusPendingCall& call);

    ComQuorvaneKestrin3QVHelperToolProtocolProgressInterface* m_caller;
    Handlers m_handlers;
    QTimer m_tick;
    int m_unanswered = 0;
    Totals m_totals;
    ErasedItems m_pending;
    std::size_t m_pendingBytes = 0;
    bool m_isGivenUp = false;
    bool m_isHurried = false;
    std::optional<End> m_end;  ///< set once the command is over
    std::function<void()> m_done;
};

}  // namespace kestrin
