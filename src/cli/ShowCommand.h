// SPDX-License-Identifier: GPL-3.0-or-later
// "kestrin show": the top-level entries of one or all trashes.
#pragma once

namespace kestrin {

struct Arguments;
class Console;

/// Returns the exit status: 1 when a trash could not be read or a volume
/// does not answer, 2 when the volume is unknown.
int runShow(const Arguments& arguments, Console& console);

}  // namespace kestrin
