// SPDX-License-Identifier: GPL-3.0-or-later
// Decides what is shown of one erase while it works, and when.
#pragma once

#include <QString>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

#include "erase/EraseRequest.h"
#include "erase/QVGenericProgressWindowCntrl.h"

namespace kestrin {

class EraseCount;
class EraseRun;

/// The progress of one erase. Thread: any, but for `create` and `close`; the view itself is used on
/// the main thread.
class EraseProgress : public std::enable_shared_from_this<EraseProgress> {
 public:
    /// What it shows: the figures of `run` and `count`, and where they come from.
    struct Subject {
        EraseServices services;
        std::shared_ptr<EraseCount> count;
        std::shared_ptr<EraseRun> run;
        bool isSmartErase = false;
        bool isAllDisks = false;
        WindowHandle smartWindow = nullptr;  ///< smart erase: the parent of the sheet
        QString volumeName;                  ///< a single disk that was named; else empty
    };

    /// Nothing shows yet. `stop` is what the Stop button requests. nullptr when the view cannot be
    /// made.
    static std::shared_ptr<EraseProgress> create(Subject subject, const std::stop_source& stop);
    EraseProgress(const EraseProgress&) = delete;
    EraseProgress& operator=(const EraseProgress&) = delete;

    /// Begins to tick: `tick` is called at the rate of a display until it answers false. False:
    /// there are no ticks to be had, which the system log tells.
    bool startTicks(std::function<bool()> tick);

    /// Shows that the items are still being counted.
    void showGathering();
    /// Shows that they are known and being erased.
    void showErasing();
    /// Called at the rate of a display while the erase works: makes the view visible when that has
    /// lasted for a while, and brings the figures up to date now and then. Always one thread.
    void tick();
    /// The erase works no more: shows the last figures, takes Stop away, and does not make the view
    /// visible any more.
    void workIsOver();
    /// Closes the view and lets it go.
    void close();

 private:
    using Clock = std::chrono::steady_clock;

    explicit EraseProgress(Subject subject) : m_subject(std::move(subject)) {}

    void onMainThread(std::function<void(EraseProgress&)> change);
    void open();
    void update();
    ProgressState state() const;
    QString mainText() const;
    QString erasingText() const;

    const Subject m_subject;
    std::unique_ptr<QVGenericProgressWindowCntrl> m_window;  ///< main thread
    std::atomic<bool> m_isGathering = false;
    std::atomic<bool> m_isShown = false;
    std::atomic<bool> m_isOver = false;
    Clock::time_point m_latest = Clock::now();  ///< the ticks' own
    std::unique_ptr<DisplayTick> m_tick;        ///< last: it stops before anything else goes
};

}  // namespace kestrin
