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

/// Gives the session of this process. It is called once everything typed has proved right.
using SessionMaker = std::function<EraseSession&()>;

/// Whether the command may begin, because it is confirmed or harmless, or there is a terminal to
/// ask on. False after a complaint.
bool mayBegin(const Arguments& arguments, Console& console);

/// A request with the options that were typed; the caller fills in what is to be erased. Without a
/// terminal, entries that should be asked about are skipped.
EraseRequest requestWithOptions(const Arguments& arguments, const Console& console);

}  // namespace kestrin
