// SPDX-License-Identifier: GPL-3.0-or-later
// A start without a display that can be reached, told to the user.
#pragma once

#include <QtGlobal>

namespace kestrin {

/// The exit status when no window can be opened: as of a command that cannot be understood where it
/// was given. Nothing was touched.
inline constexpr int kStatusNoDisplay = 2;

/// To live while QApplication is made. A toolkit that finds nothing to draw on then ends the
/// process with kStatusNoDisplay and one line on standard error that says how to go on; left to
/// itself it would abort. What it says about displays that it tried is kept back, the rest until
/// this goes. One at a time; main thread.
class DisplayFailure {
 public:
    DisplayFailure();
    /// What the toolkit says goes where it went before.
    ~DisplayFailure();
    DisplayFailure(const DisplayFailure&) = delete;
    DisplayFailure& operator=(const DisplayFailure&) = delete;

 private:
    const QtMessageHandler m_previous;
};

}  // namespace kestrin
