// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/SoftwareCenter.h"

#include <algorithm>
#include <string>

#include "platform/desktop/DesktopApplications.h"
#include "platform/desktop/Places.h"
#include "platform/items/ItemAttributes.h"
#include "platform/items/KeyFile.h"

namespace kestrin {
namespace {

/// Whether one of the desktop entries of a list such as "a.desktop;b.desktop;" is there.
bool hasEntry(std::string_view list) {
    while (!list.empty()) {
        const std::string_view entry = list.substr(0, list.find(';'));
        if (desktopEntryWithId(entry)) return true;
        list.remove_prefix(std::min(entry.size() + 1, list.size()));
    }
    return false;
}

bool opensSoftware(const FileUrl& dataFolder) {
    const auto cache =
        KeyFile::read(dataFolder.appending("applications/mimeinfo.cache"), LastLink::Follow);
    return cache &&
           hasEntry(cache->rawValue("MIME Cache", "x-scheme-handler/appstream").value_or(""));
}

}  // namespace

bool softwareCenterKnows(std::string_view identifier) {
    const std::string description = "metainfo/" + std::string(identifier) + ".metainfo.xml";
    const std::vector<FileUrl> folders = dataFolders();
    const bool isDescribed = std::ranges::any_of(folders, [&](const FileUrl& folder) {
        return pathExists(folder.appending(description).path());
    });
    return isDescribed && std::ranges::any_of(folders, opensSoftware);
}

}  // namespace kestrin
