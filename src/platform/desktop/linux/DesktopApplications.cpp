// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/DesktopApplications.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <thread>

#include "platform/desktop/Places.h"
#include "platform/items/ItemAttributes.h"
#include "platform/items/KeyFile.h"

namespace kestrin {
namespace {

constexpr std::string_view kSuffix = ".desktop";

bool isPlainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

bool isFolder(const FileUrl& location) {
    const auto attributes = itemAttributes(location);
    return attributes && attributes->isDirectory();
}

/// Looks only into folders that are there, so that an id of many dashes costs nothing.
std::optional<FileUrl> findEntry(const FileUrl& folder, std::string_view id) {
    const FileUrl entry = folder.appending(std::string(id).append(kSuffix));
    if (pathExists(entry.path())) return entry;
    for (auto dash = id.find('-'); dash != std::string_view::npos; dash = id.find('-', dash + 1)) {
        const std::string_view name = id.substr(0, dash);
        const std::string_view rest = id.substr(dash + 1);
        if (!isPlainName(name) || !isPlainName(rest)) continue;
        const FileUrl subfolder = folder.appending(name);
        if (!isFolder(subfolder)) continue;
        if (auto found = findEntry(subfolder, rest)) return found;
    }
    return std::nullopt;
}

/// The opener's standard streams go nowhere, and it is in a session of its own: it outlives us.
class SpawnSettings {
 public:
    SpawnSettings() {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&m_actions, STDOUT_FILENO, STDERR_FILENO);
        posix_spawnattr_init(&m_attributes);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSID);
    }
    ~SpawnSettings() {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    const posix_spawn_file_actions_t* actions() const { return &m_actions; }
    const posix_spawnattr_t* attributes() const { return &m_attributes; }

 private:
    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
};

/// Waits for the process somewhere else, so that no zombie stays.
void forget(pid_t process) {
    std::thread([process] {
        while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
        }
    }).detach();
}

}  // namespace

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

std::optional<FileUrl> desktopEntryWithId(std::string_view identifier) {
    if (identifier.ends_with(kSuffix)) identifier.remove_suffix(kSuffix.size());
    if (!isPlainName(identifier)) return std::nullopt;
    for (const FileUrl& folder : dataFolders()) {
        auto entry = findEntry(folder.appending("applications"), identifier);
        if (!entry) continue;
        const auto content = KeyFile::read(*entry, LastLink::Follow);
        if (!content || content->flag("Desktop Entry", "Hidden")) return std::nullopt;
        return entry;
    }
    return std::nullopt;
}

bool openWithDesktop(const std::string& path) {
    if (!path.starts_with('/')) return false;
    std::string opener = "xdg-open";
    std::string argument = path;
    char* const arguments[] = {opener.data(), argument.data(), nullptr};
    const SpawnSettings settings;
    pid_t process = 0;
    if (posix_spawnp(&process, opener.c_str(), settings.actions(), settings.attributes(), arguments,
                     environ) != 0) {
        return false;
    }
    forget(process);
    return true;
}

}  // namespace kestrin
