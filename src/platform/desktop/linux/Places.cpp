// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Places.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>

namespace kestrin {
namespace {

/// The XDG base directory specification has relative paths ignored.
std::optional<FileUrl> folderFromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    if (!value || value[0] != '/') return std::nullopt;
    return FileUrl::fromPath(value);
}

FileUrl folderOrBelowHome(const char* variable, std::string_view belowHome) {
    if (const auto folder = folderFromEnvironment(variable)) return *folder;
    return FileUrl::fromPath(homeFolder()).appending(belowHome);
}

/// A program beside this one: installed with its libraries, or in its own folder of the build.
FileUrl ownTool(std::string_view buildFolder, std::string_view name) {
    const FileUrl folder = ownProgram().parent();
    for (const FileUrl& place :
         {folder.appending("../lib/kestrin"), folder.appending("../..").appending(buildFolder)}) {
        FileUrl tool = place.appending(name);
        if (::access(tool.path().c_str(), F_OK) == 0) return tool;
    }
    return {};
}

}  // namespace

std::string dataHomeFolder() {
    return folderOrBelowHome("XDG_DATA_HOME", ".local/share").path();
}

std::vector<FileUrl> dataFolders() {
    std::vector<FileUrl> folders{FileUrl::fromPath(dataHomeFolder())};
    const char* variable = std::getenv("XDG_DATA_DIRS");
    std::string_view list = variable && *variable ? variable : "/usr/local/share:/usr/share";
    while (!list.empty()) {
        const std::size_t colon = list.find(':');
        const std::string_view folder = list.substr(0, colon);
        if (folder.starts_with('/')) folders.push_back(FileUrl::fromPath(std::string(folder)));
        list.remove_prefix(colon == std::string_view::npos ? list.size() : colon + 1);
    }
    return folders;
}

std::vector<FileUrl> applicationFolders() {
    std::vector<FileUrl> folders;
    for (const FileUrl& folder : dataFolders())
        folders.push_back(folder.appending("applications"));
    return folders;
}

FileUrl location(Place place) {
    switch (place) {
        case Place::Logs:
            return folderOrBelowHome("XDG_STATE_HOME", ".local/state").appending("Kestrin 3");
        case Place::CrashReports:
            return location(Place::Logs).appending("Crash Reports");
        case Place::ShownVersion:
            return location(Place::Logs).appending("version");
        case Place::HelperTool:
            return FileUrl::fromPath("/usr/libexec/com.quorvane.Kestrin3Helper");
        case Place::PreferencesFile:
            return folderOrBelowHome("XDG_CONFIG_HOME", ".config")
                .appending("com.quorvane.kestrin-3.conf");
    }
    return {};
}

FileUrl ownProgram() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return {};
    std::string path = program.string();
    // An update puts another file in the place of the one that runs, and the kernel marks the name.
    constexpr std::string_view kMark = " (deleted)";
    if (path.ends_with(kMark) && ::access(path.c_str(), F_OK) != 0)
        path.resize(path.size() - kMark.size());
    return FileUrl::fromPath(path);
}

FileUrl ownHelperTool() {
    return ownTool("helper", location(Place::HelperTool).lastPathComponent());
}

FileUrl ownPreviewDecoder() {
    return ownTool("viewer", "com.quorvane.Kestrin3Viewer");
}

FileUrl ownMediaDecoder() {
    return ownTool("viewer", "com.quorvane.Kestrin3MediaViewer");
}

FullDiskAccess fullDiskAccess() {
    return {};
}

std::string homeOfRealUser() {
    return homeFromUserDatabase(::getuid());
}

}  // namespace kestrin
