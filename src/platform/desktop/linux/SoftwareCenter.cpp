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

bool opensSoftware(const FileUrl& dataFolder) {
    const auto cache =
        KeyFile::read(dataFolder.appending("applications/mimeinfo.cache"), LastLink::Follow);
    return cache && std::ranges::any_of(cache->list("MIME Cache", "x-scheme-handler/appstream"),
                                        [](const std::string& entry) {
                                            return desktopEntryWithId(entry).has_value();
                                        });
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
