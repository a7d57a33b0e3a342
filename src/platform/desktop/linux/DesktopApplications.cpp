// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/DesktopApplications.h"

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

}  // namespace

std::optional<FileUrl> desktopEntryWithId(std::string_view identifier) {
    if (identifier.ends_with(kSuffix)) identifier.remove_suffix(kSuffix.size());
    if (!isPlainName(identifier)) return std::nullopt;
    for (const FileUrl& folder : applicationFolders()) {
        auto entry = findEntry(folder, identifier);
        if (!entry) continue;
        const auto content = KeyFile::read(*entry, LastLink::Follow);
        if (!content || content->flag("Desktop Entry", "Hidden")) return std::nullopt;
        return entry;
    }
    return std::nullopt;
}

}  // namespace kestrin
