// SPDX-License-Identifier: GPL-3.0-or-later
// What a signal interrupted: the processor's registers, and the calls that led there. Does only
// what signal-safety(7) allows.
#pragma once

#include <cstdint>

namespace kestrin {

/// Calls `take` with the name and the value of each register. `context` is the third argument of
/// the signal's handler.
void forEachRegister(const void* context, void (*take)(const char* name, std::uintptr_t value));

/// Calls `take` with the address of the instruction that was interrupted, and then with those that
/// its calls return to. Called by the signal's handler, on its thread. A destroyed stack may make
/// it fault.
void forEachFrame(void* context, void (*take)(std::uintptr_t));

}  // namespace kestrin
