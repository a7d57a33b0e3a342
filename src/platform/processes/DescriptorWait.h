// SPDX-License-Identifier: GPL-3.0-or-later
// The wait of a thread that serves several descriptors and the requests of other threads.
#pragma once

#include <chrono>
#include <optional>
#include <span>

#include "platform/items/UniqueFd.h"

namespace kestrin {

class DescriptorWait {
 public:
    /// Where the system has no descriptor left, `wake` does nothing, and a wait lasts 100 ms at
    /// most.
    DescriptorWait();

    /// Ends the wait of the other thread, or the next one when it does not wait now. Thread: any.
    void wake();
    /// Returns when something can be read from one of the descriptors, or its other end was closed,
    /// after `wake`, or at `until` (none: no limit). Thread: one.
    void wait(std::span<const int> descriptors,
              std::optional<std::chrono::steady_clock::time_point> until);

 private:
    UniqueFd m_wakes;
};

}  // namespace kestrin
