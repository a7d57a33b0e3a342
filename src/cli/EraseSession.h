// SPDX-License-Identifier: GPL-3.0-or-later
// One run of the erase engine from a terminal, with its services, its event loop, and Ctrl-C as
// Stop.
#pragma once

#include <QEventLoop>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

#include "cli/StopSignals.h"
#include "cli/TerminalHelper.h"
#include "erase/QVDeleteItems.h"
#include "erase/QVErrorDelegate.h"

namespace kestrin {

class Console;

/// What an erase came to.
struct EraseResult {
    enum class End {
        Finished,    ///< ran to its end, or until it was stopped
        Declined,    ///< the user said no; nothing was touched
        NotStarted,  ///< could not begin; `startProblem` says why
    };
    End end = End::Finished;
    bool wasStopped = false;
    std::uint64_t erasedCount = 0;
    std::uint64_t erasedSize = 0;       ///< bytes
    std::vector<StayedEntry> stayed{};  ///< with the reasons that the engine found
    SharedItemsToErase itemsToErase{};  ///< those that the engine worked on; may be nullptr
    QString startProblem{};
    QStringList problems{};  ///< what else went wrong, a sentence each
    bool gaveUp = false;     ///< memory or a thread could not be had
};

/// Runs the engine in a terminal. Main thread. It must live until the process ends: the engine's
/// work in the background may still be coming to its end when the result is known.
class EraseSession {
 public:
    /// Begins to hear signals. Without `showsProgress` there is no progress line.
    EraseSession(Console& console, bool showsProgress);
    EraseSession(const EraseSession&) = delete;
    EraseSession& operator=(const EraseSession&) = delete;

    /// Runs `work` on a thread of its own and serves signals until it is done. False when the user
    /// stopped meanwhile; the token tells `work` of that. What `work` throws is thrown again.
    bool runInBackground(const std::function<void(std::stop_token)>& work);

    /// Asks, erases and waits for the end. `items` are those to erase; with nullptr the engine
    /// takes those that its own count gathers.
    EraseResult erase(const EraseRequest& request, const SharedItemsToErase& items);

 private:
    EraseServices services();
    Observation observeEnd();
    Observation observeResponse();
    bool isConfirmed(const EraseRequest& request);
    void waitForCount();
    void waitUntil(const std::function<bool()>& isTrue);
    EraseResult finished() const;
    void stop();

    Console& m_console;
    const bool m_showsProgress;
    QVErrorDelegate m_presenter;
    TerminalHelper m_helper;
    std::shared_ptr<QVDeleteItems> m_engine;
    std::stop_source m_backgroundStop;
    QEventLoop m_loop;
    bool m_countHasArrived = false;
    bool m_wasStopped = false;
    bool m_isErasing = false;
    bool m_hasEnded = false;
    std::optional<bool> m_canContinue;
    StopSignals m_signals;
};

}  // namespace kestrin
