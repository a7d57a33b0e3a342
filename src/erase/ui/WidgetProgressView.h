// SPDX-License-Identifier: GPL-3.0-or-later
// The progress of an erase as a window. Main thread only.
#pragma once

#include <functional>
#include <memory>

#include "erase/ProgressView.h"

namespace kestrin {

class QVNumberUtilities;
class QVProgressWindow;
class StringTable;

/// A window handle of this view is a QWidget*.
class WidgetProgressView : public ProgressView {
 public:
    /// `stop` is what the Stop button calls. `texts` and `numbers` must outlive the view.
    WidgetProgressView(const StringTable& texts, const QVNumberUtilities& numbers,
                       std::function<void()> stop);
    /// Closes the window.
    ~WidgetProgressView() override;

    void show(const ProgressState& state) override;
    /// Opens the window as soon as no alert is open, unless the erase is over by then.
    void open(WindowHandle parent) override;
    void close() override;

    /// The window, for whoever asks whether it is in front.
    QVProgressWindow& window() { return *m_window; }

 private:
    std::unique_ptr<QVProgressWindow> m_window;
    bool m_isOver = false;
};

}  // namespace kestrin
