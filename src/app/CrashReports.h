// SPDX-License-Identifier: GPL-3.0-or-later
// What an earlier run of the program left when it crashed, made readable. Nothing is ever sent.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/FileUrl.h"

namespace kestrin {

/// How many readable reports are kept.
inline constexpr std::size_t kKeptCrashReports = 10;

/// A file of the crash handler as a text for developers: what happened, the calls with their names,
/// the registers, the modules, the last lines of the log. It holds no path and no name of a user's
/// file. Lines that the handler does not write are dropped. Thread: any, one at a time.
std::string crashReportText(std::string_view raw);

/// Makes a readable report ("Report DATE.txt") of each file that the crash handler left in
/// `folder`, and removes that file; keeps the newest kKeptCrashReports. A file that is still being
/// written waits for another time, and so does one whose report cannot be written. Gives the newest
/// report that it made. Thread: any, one at a time.
std::optional<FileUrl> finishCrashReports(const FileUrl& folder);

/// The same in the background. Calls `found` with the report, if there is one. Main thread; `found`
/// is called there.
void findCrashReport(const FileUrl& folder, std::function<void(const FileUrl& report)> found);

}  // namespace kestrin
