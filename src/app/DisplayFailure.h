// SPDX-License-Identifier: GPL-3.0-or-later
// A start without a display that can be reached, told to the user.
#pragma once

#include <QtGlobal>

namespace kestrin {

/// The exit status when no window can be opened. It is that of a command that cannot be understood,
/// and nothing was touched either.
inline constexpr int kStatusNoDisplay = 2;

/// Lives while QApplication is made. When the toolkit finds no display, it aborts the process;
/// while this lives the process ends with kStatusNoDisplay instead, after one line on standard
/// error that says how to go on. What the toolkit says meanwhile about the displays that it tried
/// is dropped, and the rest is passed on when this goes. There is one at a time. Main thread.
class DisplayFailure {
 public:
    DisplayFailure();
    /// Lets the toolkit's messages go where they went before.
    ~DisplayFailure();
    DisplayFailure(const DisplayFailure&) = delete;
    DisplayFailure& operator=(const DisplayFailure&) = delete;

 private:
    const QtMessageHandler m_previous;
};

}  // namespace kestrin
