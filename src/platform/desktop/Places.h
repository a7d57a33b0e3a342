// SPDX-License-Identifier: GPL-3.0-or-later
// Where the program keeps its files on this host: one table with a column for each host.
#pragma once

#include <string>

#include "base/FileUrl.h"

namespace kestrin {

/// The home folder: $HOME when it is an absolute path, else the user database's. No trailing slash.
std::string homeFolder();
/// $XDG_DATA_HOME when it is an absolute path, else "~/.local/share".
std::string dataHomeFolder();

enum class Place {
    Logs,          ///< root of the erase logs: $XDG_STATE_HOME/Kestrin 3, else ~/.local/state/…
    CrashReports,  ///< "Crash Reports" in that folder
    HelperTool,    ///< /usr/libexec/com.quorvane.Kestrin3Helper
    PreferencesFile,  ///< $XDG_CONFIG_HOME/com.quorvane.kestrin-3.conf, else ~/.config/…
};
FileUrl location(Place place);

/// The helper's program that belongs to this installation and is copied to Place::HelperTool when
/// the helper is installed. It stands beside the program's own library, or in the build folder.
/// None when it is in neither.
FileUrl ownHelperTool();

/// The file of the running program. Empty when the system does not tell it.
FileUrl ownProgram();

/// True when the program's full access to files needs no consent of the system: always on Linux.
constexpr bool hasFullDiskAccess() {
    return true;
}

}  // namespace kestrin
