// SPDX-License-Identifier: GPL-3.0-or-later
// Owns the progress view of one erase, whose Stop button is the erase's Stop. It decides nothing:
// the engine says when the view shows, what it says and when it closes.
#pragma once

#include <memory>
#include <stop_token>
#include <utility>

#include "erase/ProgressView.h"

namespace kestrin {

/// Main thread only, but for `wasStopped` and `stopAction`.
class QVGenericProgressWindowCntrl {
 public:
    /// A controller with a view that does not show yet, and `stop` as what its button requests;
    /// nullptr when the view cannot be made.
    static std::unique_ptr<QVGenericProgressWindowCntrl> create(const ProgressViewFactory& makeView,
                                                                std::stop_source stop);

    QVGenericProgressWindowCntrl(const QVGenericProgressWindowCntrl&) = delete;
    QVGenericProgressWindowCntrl& operator=(const QVGenericProgressWindowCntrl&) = delete;

    /// The erase was stopped, by the button or in another way. Never goes back to false.
    bool wasStopped() const { return m_stop.stop_requested(); }
    /// What the Stop button does. Further calls do nothing.
    void stopAction() { m_stop.request_stop(); }

    ProgressView& window() { return *m_window; }

 private:
    explicit QVGenericProgressWindowCntrl(std::stop_source stop) : m_stop(std::move(stop)) {}

    std::stop_source m_stop;
    std::unique_ptr<ProgressView> m_window;
};

}  // namespace kestrin
