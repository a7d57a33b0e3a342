// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/StopSignals.h"

#include <unistd.h>

#include <utility>

namespace kestrin {

namespace {

[[noreturn]] void endAtOnce(int) {
    // The shell's own prompt is to stand below the line of the progress or of a prompt.
    if (::isatty(STDERR_FILENO) == 1) {
        [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, "\n", 1);
    }
    ::_exit(kStatusStopped);
}

}  // namespace

StopSignals::StopSignals(std::function<void()> stop) : m_signals(std::move(stop), endAtOnce) {}

}  // namespace kestrin
