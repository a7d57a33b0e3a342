// SPDX-License-Identifier: GPL-3.0-or-later
// "kestrin empty": all trashes, or those of the volumes named, or what they hold of one kind.
#pragma once

#include "cli/EraseOptions.h"

namespace kestrin {

/// Returns the exit status.
int runEmpty(const Arguments& arguments, Console& console, const SessionMaker& makeSession);

}  // namespace kestrin
