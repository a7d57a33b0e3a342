// SPDX-License-Identifier: GPL-3.0-or-later
// What all trashes hold together, for who looks at the icon without opening its menu.
#pragma once

#include <QObject>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/FileUrl.h"
#include "inventory/TrashCount.h"

namespace kestrin {

/// Starts a one-shot timer. Destroying the result cancels it, which its own call may do as well.
using TimerFactory =
    std::function<std::unique_ptr<QObject>(std::chrono::milliseconds, std::function<void()>)>;

/// Counts in the background, a moment after the last change, so that a file manager that throws
/// away a thousand files is not followed file by file. Main thread; needs the main thread's
/// mailbox.
class TrashTotals {
 public:
    TrashTotals(TrashCount::Counter counter, TimerFactory startTimer);
    ~TrashTotals();
    TrashTotals(const TrashTotals&) = delete;
    TrashTotals& operator=(const TrashTotals&) = delete;

    /// Sets what is called when figures have arrived.
    void setChangeHandler(std::function<void()> changed) { m_changed = std::move(changed); }

    /// Begins to count these trashes. Does nothing when their figures are known or being counted.
    void want(std::vector<FileUrl> trashes);
    /// Forgets what is known and calls off what is under way, since the trashes changed. They are
    /// counted again when they are wanted again.
    void forget();

    /// None until the count is over.
    std::optional<TrashFigures> figures() const;

 private:
    void count();

    const TrashCount::Counter m_counter;
    const TimerFactory m_startTimer;
    std::function<void()> m_changed;
    std::optional<std::vector<FileUrl>> m_trashes;  ///< none when nothing is wanted
    std::unique_ptr<QObject> m_delay;
    std::shared_ptr<TrashCount> m_count;
};

}  // namespace kestrin
