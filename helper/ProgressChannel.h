// SPDX-License-Identifier: GPL-3.0-or-later
// What a running command tells the program that gave it.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QTimer>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "helper/EraseCommand.h"
#include "helper/HelperProtocol.h"

class ComQuorvaneKestrin3QVHelperToolProtocolProgressInterface;

namespace kestrin {

/// Gathers the entries that went and sends them in calls, each with all that came in 20 ms, so that
/// the bus carries at most some fifty calls a second. When several calls are unanswered, those who
/// erase wait. A caller that does not answer for 30 seconds, or answers with an error, is given up.
/// Thread: the main thread, except for `itemErased` and `isHeard`.
class ProgressChannel final : public QObject, public EraseProgress {
 public:
    struct Totals {
        std::uint64_t count = 0;
        std::uint64_t size = 0;
    };
    /// Counts on from `totals`. `lost` is called once when the caller is given up.
    ProgressChannel(const QDBusConnection& bus, const QString& caller, Totals totals,
                    std::function<void()> lost);
    ~ProgressChannel() override;

    /// Thread: any. Waits while too much is unsent. Entries of a caller that is given up are
    /// dropped.
    void itemErased(std::string path, std::uint64_t size) override;
    bool isHeard() const override;

    /// Sends what is left and then the end. `done` is called when the end is sent, or the caller
    /// given up.
    void finish(std::uint64_t nonErasedCount, std::function<void()> done);
    /// Gives the caller up, because nobody listens any more.
    void giveUp();

    Totals totals() const;

 private:
    void sendPending();
    void sendEnd();
    void watch(const QDBusPendingCall& call);

    ComQuorvaneKestrin3QVHelperToolProtocolProgressInterface* m_caller;
    std::function<void()> m_lost;
    QTimer m_tick;
    int m_unanswered = 0;
    std::optional<std::uint64_t> m_nonErasedCount;  ///< set once the command is over
    std::function<void()> m_done;

    mutable std::mutex m_mutex;  ///< guards what follows
    std::condition_variable m_hasRoom;
    Totals m_totals;
    ErasedItems m_pending;
    std::size_t m_pendingBytes = 0;
    bool m_isGivenUp = false;
};

}  // namespace kestrin
