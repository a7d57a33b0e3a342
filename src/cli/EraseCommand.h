// SPDX-License-Identifier: GPL-3.0-or-later
// "kestrin erase": chosen entries of trashes, and nothing else.
#pragma once

#include "cli/EraseOptions.h"

namespace kestrin {

/// Returns the exit status.
int runErase(const Arguments& arguments, Console& console, const SessionMaker& makeSession);

}  // namespace kestrin
