// SPDX-License-Identifier: GPL-3.0-or-later
// The progress of an erase as the terminal's status line. Where there is no status line, nothing is
// shown.
#pragma once

#include <QStringList>
#include <QTimer>

#include "cli/ProgressLine.h"
#include "erase/ProgressView.h"

namespace kestrin {

class Console;

/// Main thread.
class TerminalProgressView : public ProgressView {
 public:
    /// Without `isVisible` nothing is ever shown.
    TerminalProgressView(Console& console, bool isVisible);

    void show(const ProgressState& state) override;
    void open(WindowHandle parent) override;
    void close() override;

 private:
    void drawSoon();
    void draw();
    QStringList figures() const;

    Console& m_console;
    const bool m_isVisible;
    bool m_isOpen = false;
    ProgressState m_state;
    RateMeter m_rate;
    QTimer m_drawing;  ///< makes one drawing of the changes that come together
};

}  // namespace kestrin
