// SPDX-License-Identifier: GPL-3.0-or-later
// Work that must not hold up what the user is doing.
#pragma once

#include <functional>

namespace kestrin {

/// Runs `work` and returns when it is over. It runs on a thread of its own that gets the processor
/// when hardly anything else wants it, as do the threads that `work` starts: a thread that lowered
/// its priority may not raise it again. Where no thread can be had, `work` runs on this one.
/// What it throws is thrown here. Thread: any.
void runAtBackgroundPriority(const std::function<void()>& work);

}  // namespace kestrin
