// SPDX-License-Identifier: GPL-3.0-or-later
// "kestrin show": the top-level entries of all trashes, or those of the volumes named.
#pragma once

namespace kestrin {

struct Arguments;
class Console;

/// Returns the exit status: 1 when a trash could not be read or a volume
/// does not answer, 2 when a volume is unknown.
int runShow(const Arguments& arguments, Console& console);

}  // namespace kestrin
