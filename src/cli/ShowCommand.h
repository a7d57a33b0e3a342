// SPDX-License-Identifier: GPL-3.0-or-later
// "kestrin show": the top-level entries of one or all trashes.
#pragma once

namespace kestrin {

struct Arguments;
class Console;
class QVFilesUtilities;

/// Returns the exit status: 1 when a trash could not be read, 2 when the volume is unknown.
int runShow(const Arguments& arguments, QVFilesUtilities& files, Console& console);

}  // namespace kestrin
