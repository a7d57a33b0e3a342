// SPDX-License-Identifier: GPL-3.0-or-later
// Programs that the desktop knows.
#include "fsutil/HostLocation.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/desktop/DesktopApplications.h"
#include "platform/items/KeyFile.h"

namespace kestrin {
namespace {

constexpr std::string_view kGroup = "Desktop Entry";
constexpr std::string_view kNameKey = "Name";

/// The key "Version" is that of the file format; these are what packagers write.
constexpr std::string_view kVersionKeys[] = {"X-AppVersion", "X-AppImage-Version",
                                             "X-GNOME-Bugzilla-Version"};

enum class NameForm { Original, Localized };

/// The name in the entry, else the entry's file name without extension.
QString applicationName(const std::optional<FileUrl>& entry, NameForm form) {
    if (!entry) return {};
    std::string name;
    if (const auto content = KeyFile::read(*entry, LastLink::Follow)) {
        name = form == NameForm::Localized ? content->localizedText(kGroup, kNameKey)
                                           : content->text(kGroup, kNameKey);
    }
    if (!name.empty()) return displayText(name);
    std::string_view fileName = entry->lastPathComponent();
    fileName.remove_suffix(entry->pathExtension().size() + 1);
    return displayText(fileName);
}

}  // namespace

std::optional<FileUrl> QVFilesUtilities::appURLWithIdentifier(const std::string& identifier) const {
    return desktopEntryWithId(identifier);
}

QImage QVFilesUtilities::appIconWithIdentifier(const std::string& identifier) const {
    const auto entry = appURLWithIdentifier(identifier);
    return iconForItemPath(entry ? entry->path() : std::string());
}

QString QVFilesUtilities::originalAppNameWithIdentifier(const std::string& identifier) const {
    return applicationName(appURLWithIdentifier(identifier), NameForm::Original);
}

QString QVFilesUtilities::appNameWithIdentifier(const std::string& identifier) const {
    return applicationName(appURLWithIdentifier(identifier), NameForm::Localized);
}

bool QVFilesUtilities::appWithIdentifierExists(const std::string& identifier) const {
    return appURLWithIdentifier(identifier).has_value();
}

QString QVFilesUtilities::appVersionWithURL(const FileUrl& url) const {
    const FileUrl item = hostLocation(url);
    const auto content = KeyFile::read(item, LastLink::Follow);
    if (item.isEmpty() || !content) return {};
    for (const std::string_view key : kVersionKeys) {
        const std::string version = content->text(kGroup, key);
        if (!version.empty()) return displayText(version);
    }
    return {};
}

bool QVFilesUtilities::launchItems(const std::vector<std::string>& paths) const {
    bool allStarted = true;
    for (const std::string& path : paths) {
        const bool isStarted = openWithDesktop(hostPath(FileUrl::fromPath(path)));
        allStarted = allStarted && isStarted;
    }
    return allStarted;
}

}  // namespace kestrin
