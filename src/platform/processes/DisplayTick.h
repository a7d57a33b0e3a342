// SPDX-License-Identifier: GPL-3.0-or-later
// A callback at about the rate of a display.
#pragma once

#include <functional>
#include <memory>

#include "base/Result.h"

namespace kestrin {

/// Calls back 60 times a second on a thread of its own, until the callback answers false.
class DisplayTick {
 public:
    /// Starts at once. Errors: no thread can be had (kPOSIXErrorDomain).
    static Result<std::unique_ptr<DisplayTick>> start(std::function<bool()> callback);

    /// Waits for a callback that is running. Called from inside the callback it only ends the
    /// ticking.
    ~DisplayTick();
    DisplayTick(const DisplayTick&) = delete;
    DisplayTick& operator=(const DisplayTick&) = delete;

 private:
    DisplayTick() = default;
    struct State;
    std::shared_ptr<State> m_state;
};

}  // namespace kestrin
