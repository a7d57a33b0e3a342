// SPDX-License-Identifier: GPL-3.0-or-later
// Names that are never offered, and what is left of a list when they and others are taken out.
#include <QMimeData>
#include <QUrl>
#include <algorithm>
#include <sstream>

#include "fsutil/HostLocation.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/items/ItemAttributes.h"

namespace kestrin {
namespace {

constexpr std::string_view kPhotosLibrary = "photoslibrary";
constexpr std::string_view kPhotoCatalog = "lrcat";

bool isOffered(const QVFilesUtilities& utilities, const FileUrl& location) {
    if (location.pathExtension() == kPhotoCatalog) return false;
    if (location.pathExtension() == kPhotosLibrary) return true;
    return utilities.isDirectoryWithURL(location) && !utilities.isVolumeWithURL(location);
}

bool isSystemName(std::string_view name) {
    const auto contains = [name](const std::vector<std::string>& names) {
        return std::ranges::find(names, name) != names.end();
    };
    return contains(QVFilesUtilities::invisibleSystemItems()) ||
           contains(QVFilesUtilities::visibleSystemItems());
}

std::string_view withoutCarriageReturn(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

}  // namespace

const std::vector<std::string>& QVFilesUtilities::invisibleSystemItems() {
    // The line feeds and the question mark belong to the names.
    static const std::vector<std::string> names = {
        "home",
        "net",
        "bin",
        "dev",
        "etc",
        "mach",
        "mach.sym",
        "mach_kernel.ctfsys",
        "mach_kernel",
        "sbin",
        "tmp",
        "usr",
        "var",
        ".Archived_Directories\n",
        ".fseventsd",
        ".HFS+ Private Directory Data\n",
        ".Metadata",
        ".Spotlight-V100",
        ".Trashes",
        ".vol",
        ".TemporaryItems",
        "cores",
        "Cleanup At Startup",
        "Desktop Folder",
        "Network Trash Folder",
        "Network",
        "private",
        "Temporary Items",
        "TheVolumeSettingsFolder",
        "Volumes",
        "automount",
        ".Archived_Directories?",
    };
    return names;
}

const std::vector<std::string>& QVFilesUtilities::visibleSystemItems() {
    static const std::vector<std::string> names = {"Library", "System", "System Folder"};
    return names;
}

const std::vector<std::string>& QVFilesUtilities::visibleSystemPaths() {
    static const std::vector<std::string> paths = {"/Library", "/System", "/System Folder"};
    return paths;
}

std::vector<FileUrl> QVFilesUtilities::urlsWithFoldersName(
    const std::vector<std::string>& names) const {
    std::vector<FileUrl> urls;
    urls.reserve(names.size());
    for (const std::string& name : names)
        urls.push_back(FileUrl::fromPath("/" + name));
    return urls;
}

std::vector<FileUrl> QVFilesUtilities::invisibleSystemURLs() const {
    return urlsWithFoldersName(invisibleSystemItems());
}

std::vector<FileUrl> QVFilesUtilities::visibleSystemURLs() const {
    return urlsWithFoldersName(visibleSystemItems());
}

std::vector<FileUrl> QVFilesUtilities::suitableURLsWithArray(
    const std::vector<FileUrl>& locations) const {
    std::vector<FileUrl> suitable;
    std::ranges::copy_if(locations, std::back_inserter(suitable), [this](const FileUrl& location) {
        return isOffered(*this, location) && !isSystemName(location.lastPathComponent());
    });
    return suitable;
}

std::vector<FileUrl> QVFilesUtilities::foldersWithItemsArray(
    const std::vector<FileUrl>& locations) const {
    std::vector<FileUrl> folders;
    for (const FileUrl& location : locations) {
        const FileUrl folder = aliasDestination(location).value_or(location);
        if (isOffered(*this, folder)) folders.push_back(folder);
    }
    return folders;
}

std::size_t QVFilesUtilities::indexOfStringInArray(const std::vector<std::string>& array,
                                                   std::string_view matchingString) const {
    const auto found = std::ranges::find(array, matchingString);
    return found == array.end() ? kNotFound : static_cast<std::size_t>(found - array.begin());
}

std::vector<std::any> QVFilesUtilities::URLsToPaths(const std::vector<std::any>& list) const {
    std::vector<std::any> paths;
    for (const std::any& entry : list) {
        const FileUrl* url = std::any_cast<FileUrl>(&entry);
        paths.push_back(url ? URLsToPaths(entry) : entry);
    }
    return paths;
}

std::any QVFilesUtilities::URLsToPaths(const std::any& value) const {
    if (const auto* list = std::any_cast<std::vector<std::any>>(&value)) return URLsToPaths(*list);
    const FileUrl* url = std::any_cast<FileUrl>(&value);
    if (!url) return value;
    const auto path = pathWithURL(*url);
    return path ? std::any(*path) : value;
}

std::vector<std::any> QVFilesUtilities::pasteboardItemsWithPasteboard(
    const QMimeData& pasteboard) const {
    // The list's own bytes: a QUrl would change names that are not UTF-8.
    std::istringstream lines(pasteboard.data(QStringLiteral("text/uri-list")).toStdString());
    std::vector<std::any> locations;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('#')) continue;
        const std::string_view text = withoutCarriageReturn(line);
        const QUrl other = QUrl::fromEncoded(
            QByteArray(text.data(), static_cast<qsizetype>(text.size())), QUrl::StrictMode);
        if (auto file = FileUrl::fromString(text)) {
            locations.emplace_back(std::move(*file));
        } else if (other.isValid() && !other.isRelative() && !other.isLocalFile()) {
            locations.emplace_back(other);
        }
    }
    return locations;
}

std::vector<std::string> QVFilesUtilities::followTheAliasOfPathsIfNeeded(
    const std::vector<std::string>& paths) const {
    std::vector<std::string> followed;
    for (const std::string& path : paths) {
        const FileUrl url = FileUrl::fromPath(path);
        if (!isAliasWithURL(url)) {
            followed.push_back(path);
        } else if (const auto destination = aliasDestination(url)) {
            followed.push_back(destination->path());
        }
    }
    return followed;
}

std::optional<FileUrl> aliasDestination(const FileUrl& alias) {
    const FileUrl item = hostLocation(alias);
    if (item.isEmpty()) return std::nullopt;
    const auto destination = symbolicLinkDestination(item);
    if (!destination || destination->empty()) return std::nullopt;
    if (destination->starts_with('/')) return FileUrl::fromPath(*destination);
    return item.parent().appending(*destination);
}

}  // namespace kestrin
