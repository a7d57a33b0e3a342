// SPDX-License-Identifier: GPL-3.0-or-later
// What "empty" and "erase" have in common before the engine's run.
#pragma once

#include <functional>

#include "erase/QVDeleteItems.h"

namespace kestrin {

struct Arguments;
class Console;
class EraseSession;

inline constexpr int kStatusUsageError = 2;

/// Gives the session of this process; called once everything typed has proved right.
using SessionMaker = std::function<EraseSession&()>;

/// Whether the command may begin: confirmed, harmless, or there is a terminal to ask on. False
/// after a complaint.
bool mayBegin(const Arguments& arguments, Console& console);

/// A request with the options typed; what is to be erased is still to be filled in. Without a
/// terminal what should be asked about is skipped.
EraseRequest requestWithOptions(const Arguments& arguments, const Console& console);

}  // namespace kestrin
