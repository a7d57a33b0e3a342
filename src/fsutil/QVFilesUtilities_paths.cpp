// SPDX-License-Identifier: GPL-3.0-or-later
// Paths in the absolute form, in which the start-up volume too is a folder of "/Volumes".
#include <algorithm>

#include "base/StringTable.h"
#include "fsutil/HostLocation.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/disks/Volumes.h"

namespace kestrin {
namespace {

constexpr std::string_view kVolumesFolder = "/Volumes";
constexpr std::string_view kVolumesPrefix = "/Volumes/";

bool namesVolume(const std::string& path) {
    return path.find(kVolumesFolder) != std::string::npos;
}

QString findDefaultVolumeName() {
    const std::string label = volumeLabel(FileUrl::fromPath("/")).value_or(std::string());
    if (!label.empty()) return displayText(label);
    return StringTable::sharedControl().text("start_up_disk_name"_key);
}

}  // namespace

QString DefaultVolumeName() {
    static const QString name = findDefaultVolumeName();
    return name;
}

const std::string& startupVolumePath() {
    static const std::string path = [] {
        std::uint16_t replaced = 0;
        const std::string name = DefaultVolumeName().toStdString();
        const auto& utilities = QVFilesUtilities::sharedControl();
        return std::string(kVolumesPrefix) +
               utilities.removeSlashesFromFileSystemName(name, replaced);
    }();
    return path;
}

std::string hostPath(const FileUrl& url) {
    const std::string& path = url.path();
    // Most paths are none of these, and the volume's name need not be known for them.
    if (!path.starts_with(kVolumesPrefix)) return path;
    const std::string& startup = startupVolumePath();
    if (!path.starts_with(startup)) return path;
    if (path.size() == startup.size()) return "/";
    return path[startup.size()] == '/' ? path.substr(startup.size()) : path;
}

std::string QVFilesUtilities::setAbsolutePath(const std::string& path) const {
    if (path.empty() || namesVolume(path)) return path;
    return path.size() < 2 ? startupVolumePath() : startupVolumePath() + path;
}

std::vector<std::string> QVFilesUtilities::setAbsolutePathToPathArray(
    const std::vector<std::string>& paths) const {
    std::vector<std::string> absolute;
    absolute.reserve(paths.size());
    for (const std::string& path : paths)
        absolute.push_back(setAbsolutePath(path));
    return absolute;
}

FileUrl QVFilesUtilities::setAbsoluteURL(const FileUrl& url) const {
    return FileUrl::fromPath(setAbsolutePath(url.path()));
}

FileUrl QVFilesUtilities::setAbsoluteURL(const FileUrl& url, const FileUrl& ifContainedIn) const {
    if (!url.hasScheme() || !ifContainedIn.hasScheme()) return url;
    const bool isWanted = namesVolume(ifContainedIn.path()) && !namesVolume(url.path());
    return isWanted ? setAbsoluteURL(url) : url;
}

std::string QVFilesUtilities::removeLastSlash(const std::string& text) const {
    std::string shorter = text;
    const std::size_t slash = shorter.rfind('/');
    if (slash != std::string::npos) shorter.erase(slash, 1);
    return shorter;
}

std::string QVFilesUtilities::removeSlashesFromFileSystemName(const std::string& name,
                                                              std::uint16_t& foundCount) const {
    foundCount = static_cast<std::uint16_t>(std::ranges::count(name, '/'));
    std::string replaced = name;
    std::ranges::replace(replaced, '/', ':');
    return replaced;
}

std::string QVFilesUtilities::removeFirstPathComponent(
    const std::string& path, const std::optional<std::string>& thatMatch) const {
    const std::string match = thatMatch.value_or(std::string(kVolumesPrefix));
    if (match.empty() || path.find(match) == std::string::npos) return path;
    // By the text's length and not by where it stands: callers count on it.
    return path.substr(match.size() - 1);
}

FileUrl QVFilesUtilities::removeFirstPathComponentWithURL(
    const FileUrl& url, const std::optional<std::string>& thatMatch) const {
    if (!url.hasScheme()) return url;
    return FileUrl::fromPath(removeFirstPathComponent(url.path(), thatMatch));
}

}  // namespace kestrin
