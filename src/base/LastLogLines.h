// SPDX-License-Identifier: GPL-3.0-or-later
// The last lines of the diagnostic log, kept in memory for the report of a crash.
#pragma once

#include <string>
#include <string_view>

namespace kestrin {

/// From now on every line of the log goes into a ring of fixed size as well, without names of files
/// (see withoutNames). Called once, by main().
void keepLastLogLines();

/// Writes the lines that are kept, each with its line feed and behind `prefix`, the oldest first. A
/// line that another thread is just writing is left out. Thread: any; does only what
/// signal-safety(7) allows.
void writeLastLogLines(int descriptor, std::string_view prefix);

/// A line up to the first thing that may begin the name of a file: a path, or a name in quotes or
/// brackets. Whatever follows is replaced by "…", for a name may hold anything, also an end quote.
/// What logs a bare name has to put quotes around it. Control characters become spaces.
std::string withoutNames(std::string_view line);

}  // namespace kestrin
