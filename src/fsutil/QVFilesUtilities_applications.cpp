// SPDX-License-Identifier: GPL-3.0-or-later
// Programs that the desktop knows.
#include <QDesktopServices>
#include <QUrl>

#include "fsutil/HostLocation.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/desktop/DesktopApplications.h"
#include "platform/desktop/SafeToOpen.h"
#include "platform/items/KeyFile.h"

namespace kestrin {
namespace {

constexpr std::string_view kGroup = "Desktop Entry";
constexpr std::string_view kNameKey = "Name";

/// The key "Version" is that of the file format; these are what packagers write.
constexpr std::string_view kVersionKeys[] = {"X-AppVersion", "X-AppImage-Version",
                                             "X-GNOME-Bugzilla-Version"};

/// The file name of an entry without its extension.
QString fileNameOf(const FileUrl& entry) {
    std::string_view name = entry.lastPathComponent();
    name.remove_suffix(entry.pathExtension().size() + 1);
    return displayText(name);
}

LaunchResult launch(const std::string& path) {
    if (!path.starts_with('/')) return LaunchResult::Unreadable;
    const FileUrl item = FileUrl::fromPath(path);
    const auto isSafe = isSafeToOpen(item);
    if (!isSafe) return LaunchResult::Unreadable;
    if (!*isSafe) return LaunchResult::Refused;
    // Percent-encoded, which keeps every byte of the name.
    const QUrl url = QUrl::fromEncoded(QByteArray::fromStdString(item.toString()));
    return QDesktopServices::openUrl(url) ? LaunchResult::Opened : LaunchResult::NoOpener;
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
    const auto entry = appURLWithIdentifier(identifier);
    return entry ? fileNameOf(*entry) : QString();
}

QString QVFilesUtilities::appNameWithIdentifier(const std::string& identifier) const {
    const auto entry = appURLWithIdentifier(identifier);
    if (!entry) return {};
    const auto content = KeyFile::read(*entry, LastLink::Follow);
    const std::string name = content ? content->localizedText(kGroup, kNameKey) : std::string();
    return name.empty() ? fileNameOf(*entry) : displayText(name);
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

std::vector<LaunchResult> QVFilesUtilities::launchItems(
    const std::vector<std::string>& paths) const {
    std::vector<LaunchResult> results;
    for (const std::string& path : paths)
        results.push_back(launch(hostPath(FileUrl::fromPath(path))));
    return results;
}

}  // namespace kestrin
