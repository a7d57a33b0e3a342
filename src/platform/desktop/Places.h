// SPDX-License-Identifier: GPL-3.0-or-later
// Where the program keeps its files on this host: one table with a column for each host.
#pragma once

#include <string>
#include <vector>

#include "base/FileUrl.h"
#include "base/HomeFolder.h"

namespace kestrin {

/// $XDG_DATA_HOME when it is an absolute path, else "~/.local/share".
std::string dataHomeFolder();
/// The folders of shared data, the user's own first: dataHomeFolder(), then those of $XDG_DATA_DIRS
/// (default /usr/local/share and /usr/share).
std::vector<FileUrl> dataFolders();
/// The folders that hold installed applications, in the order in which they are looked through.
/// Linux: "applications" in each of the data folders. macOS: "/Applications",
/// "/Developer/Applications" and "/Network/Applications".
std::vector<FileUrl> applicationFolders();

enum class Place {
    Logs,          ///< root of the erase logs: $XDG_STATE_HOME/Kestrin 3, else ~/.local/state/…
    CrashReports,  ///< "Crash Reports" in that folder
    ShownVersion,  ///< "version" in that folder
    HelperTool,    ///< /usr/libexec/com.quorvane.Kestrin3Helper
    PreferencesFile,  ///< $XDG_CONFIG_HOME/com.quorvane.kestrin-3.conf, else ~/.config/…
};
FileUrl location(Place place);

/// The helper's program that belongs to this installation and is copied to Place::HelperTool when
/// the helper is installed. It stands beside the program's own library, or in the build folder.
/// None when it is in neither.
FileUrl ownHelperTool();
/// The program of the preview decoder, likewise.
FileUrl ownPreviewDecoder();
/// That of the decoder for audio and video, which may be left out.
FileUrl ownMediaDecoder();

/// The file of the running program, or the place where it was when an update has replaced it. Empty
/// when the system does not tell it.
FileUrl ownProgram();

/// How the system lets a program read all files of the user.
struct FullDiskAccess {
    /// A path below the home folder, of a file that only a program with that access can read. Empty
    /// where programs need no consent of the system, as on Linux.
    std::string probe;
    std::string settingsUrl;  ///< opens the system's settings where the user gives the access
};
FullDiskAccess fullDiskAccess();
/// The home folder that the user database has for the real user, whatever the environment says;
/// empty when the database has none.
std::string homeOfRealUser();

}  // namespace kestrin
