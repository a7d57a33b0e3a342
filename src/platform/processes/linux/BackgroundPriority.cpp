// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/BackgroundPriority.h"

#include <sched.h>

#include <future>
#include <system_error>

namespace kestrin {
namespace {

/// Not a mere nice value: many such threads together would still outweigh the one that draws.
void leaveTheProcessorToOthers() {
    const sched_param noPriority{};
    sched_setscheduler(0, SCHED_IDLE, &noPriority);
}

}  // namespace

void runAtBackgroundPriority(const std::function<void()>& work) {
    std::future<void> done;
    try {
        done = std::async(std::launch::async, [&work] {
            leaveTheProcessorToOthers();
            work();
        });
    } catch (const std::system_error&) {
        return work();
    }
    done.get();
}

}  // namespace kestrin
