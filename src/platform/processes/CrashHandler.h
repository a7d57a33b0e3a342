// SPDX-License-Identifier: GPL-3.0-or-later
// What a process leaves when it dies of a fault of its own.
#pragma once

#include <string_view>

#include "base/FileUrl.h"

namespace kestrin {

/// The files of the handler in its folder are "Crash 0" and so on, this many.
inline constexpr int kRawCrashReports = 10;
inline constexpr std::string_view kRawCrashReportName = "Crash ";

/// From now on a fatal signal (a fault, an abort) or an uncaught exception writes one file into
/// `folder` before the process ends as it would without the handler, with the same status and core.
/// When the folder has kRawCrashReports of these files, the oldest gives way.
/// The file is text, one fact a line, and only its owner may read it: "version", "time" (seconds
/// since 1970), "signal" (number, code, address), "thread", "exception" (mangled type) and "what",
/// "register" (name, value), "module" (first address, end, build id or "-", path), "log", "frame"
/// (an address; the first is where it happened, the others are where calls return to), "end".
/// Values are hexadecimal. A process that dies again meanwhile leaves what there is, without "end".
/// The folder, and "Kestrin 3" above it, are made when they are missing, links at their names are
/// not followed, and where no file can be written there is none. A file system that does not answer
/// holds the end up for ten seconds. Nothing is written, and no descriptor open, before.
/// Called once, by main() and on the main thread. A thread whose stack is used up is heard only
/// when it has a SignalStack; the main thread gets one here.
void installCrashHandler(const FileUrl& folder, std::string_view version);

}  // namespace kestrin
