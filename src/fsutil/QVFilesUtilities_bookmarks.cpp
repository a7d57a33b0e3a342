// SPDX-License-Identifier: GPL-3.0-or-later
// Bookmarks: data that finds an item again after it was renamed or its folder was moved. A property
// list of where the item was and what it was; nothing is ever mounted for it.
#include <array>
#include <cmath>

#include "base/PropertyList.h"
#include "fsutil/HostLocation.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/disks/Volumes.h"
#include "platform/items/FolderWalk.h"
#include "platform/items/ItemAttributes.h"

namespace kestrin {
namespace {

constexpr std::string_view kPath = "path";
constexpr std::string_view kVolume = "volume";
constexpr std::string_view kInode = "inode";
constexpr std::string_view kCreated = "created";
constexpr std::string_view kValues = "values";

/// How many entries the search for a moved item looks at, in all folders together.
constexpr std::size_t kMaximumLookups = 10'000;
/// Bookmarks are small; anything larger is none.
constexpr PropertyListLimits kLimits{1 << 20, 8, 1000};

/// Names of the values that a bookmark can carry, in the order of ResourceKey.
constexpr std::array<std::string_view, 22> kKeyNames = {
    "Name",
    "Path",
    "IsDirectory",
    "IsPackage",
    "IsAliasFile",
    "IsApplication",
    "IsHidden",
    "IsVolume",
    "VolumeIsReadOnly",
    "VolumeTotalCapacity",
    "VolumeAvailableCapacity",
    "VolumeResourceCount",
    "VolumeIdentifier",
    "VolumeUUIDString",
    "VolumeURL",
    "FileSize",
    "TotalFileSize",
    "CreationDate",
    "ContentModificationDate",
    "AddedToDirectoryDate",
    "LocalizedTypeDescription",
    "TypeIdentifier",
};
static_assert(static_cast<std::size_t>(ResourceKey::TypeIdentifier) + 1 == kKeyNames.size());

struct Resolution {
    FileUrl url;
    bool isStale = false;
};

/// What a bookmark knows of its item.
struct Bookmark {
    FileUrl url;
    std::optional<std::string> volume;
    std::optional<std::uint64_t> inode;
    std::optional<double> created;

    bool canIdentify() const { return volume && inode; }
};

template <class T>
std::optional<T> entry(const PropertyList& list, std::string_view key) {
    const PropertyList* found = list.find(key);
    const T* value = found ? found->get<T>() : nullptr;
    return value ? std::optional<T>(*value) : std::nullopt;
}

/// Texts percent-encoded, since XML cannot hold every byte.
std::optional<PropertyList> propertyListValue(const std::any& value) {
    if (const auto* flag = std::any_cast<bool>(&value)) return *flag;
    if (const auto* number = std::any_cast<std::uint64_t>(&value)) return *number;
    if (const auto* date = std::any_cast<double>(&value)) return *date;
    if (const auto* text = std::any_cast<std::string>(&value)) return percentEncode(*text, true);
    if (const auto* url = std::any_cast<FileUrl>(&value)) return url->toString();
    return std::nullopt;
}

std::optional<Bookmark> parseBookmark(const std::string& data) {
    const auto list = fromXml(data, kLimits);
    if (!list) return std::nullopt;
    const auto path = percentDecode(entry<std::string>(*list, kPath).value_or(std::string()));
    if (!path || !path->starts_with('/') || path->find('\0') != std::string::npos) {
        return std::nullopt;
    }
    Bookmark bookmark;
    bookmark.url = FileUrl::fromPath(*path);
    bookmark.volume = entry<std::string>(*list, kVolume);
    if (bookmark.volume) bookmark.volume = percentDecode(*bookmark.volume);
    bookmark.inode = entry<std::uint64_t>(*list, kInode);
    bookmark.created = entry<double>(*list, kCreated);
    return bookmark;
}

/// The cheap questions first: this is asked of every entry that the search passes.
bool isItem(const FileUrl& candidate, const Bookmark& bookmark) {
    if (!bookmark.canIdentify()) return false;
    const auto attributes = itemAttributes(candidate);
    if (!attributes || attributes->inode != *bookmark.inode) return false;
    // A number given away again after a removal: the creation time tells, where there is one.
    if (bookmark.created && attributes->dateCreated &&
        std::abs(*bookmark.created - *attributes->dateCreated) > 1e-3) {
        return false;
    }
    return lastingVolumeIdentifier(candidate) == bookmark.volume;
}

/// Looks for the item among the entries of `folder`; counts down what may still be looked at.
std::optional<FileUrl> findInFolder(const FileUrl& folder, const Bookmark& bookmark,
                                    std::size_t& lookupsLeft) {
    std::optional<FileUrl> found;
    const auto look = [&](std::string_view name, EntryType) {
        if (lookupsLeft == 0) return false;
        --lookupsLeft;
        FileUrl url = folder.appending(name);
        if (isItem(url, bookmark)) found = std::move(url);
        return !found;
    };
    static_cast<void>(visitFolder(folder, look));  // it cannot be in a folder that says nothing
    return found;
}

/// The item under another name in its last known folder, or moved to one of the folders above.
std::optional<FileUrl> findMovedItem(const FileUrl& lastKnown, const Bookmark& bookmark) {
    if (!bookmark.canIdentify()) return std::nullopt;
    std::size_t lookupsLeft = kMaximumLookups;
    FileUrl folder = lastKnown;
    while (folder.path().size() > 1 && lookupsLeft > 0) {
        folder = folder.parent();
        if (auto found = findInFolder(folder, bookmark, lookupsLeft)) return found;
    }
    return std::nullopt;
}

/// None for data that is no bookmark, and when nothing is found.
std::optional<Resolution> resolve(const std::string& data) {
    const auto bookmark = parseBookmark(data);
    if (!bookmark) return std::nullopt;
    const FileUrl lastKnown = hostLocation(bookmark->url);
    if (isItem(lastKnown, *bookmark)) return Resolution{bookmark->url, false};
    if (auto moved = findMovedItem(lastKnown, *bookmark)) return Resolution{*moved, true};
    // Something else took its place, as when a program saves by replacing.
    if (itemAttributes(lastKnown)) return Resolution{bookmark->url, true};
    return std::nullopt;
}

}  // namespace

std::optional<std::string> QVFilesUtilities::bookmarkWithURL(
    const FileUrl& url, const std::vector<ResourceKey>& includePathValueKey) const {
    const FileUrl item = hostLocation(url);
    const auto attributes = itemAttributes(item);
    if (item.isEmpty() || !attributes) return std::nullopt;

    PropertyList::Dictionary bookmark;
    bookmark.emplace(kPath, percentEncode(url.path(), true));
    bookmark.emplace(kInode, attributes->inode);
    if (attributes->dateCreated) bookmark.emplace(kCreated, *attributes->dateCreated);
    if (const auto volume = lastingVolumeIdentifier(item)) {
        bookmark.emplace(kVolume, percentEncode(*volume, true));
    }
    PropertyList::Dictionary values;
    for (const ResourceKey key : includePathValueKey) {
        auto value = propertyListValue(attributeWithURL(url, key));
        if (value) values.emplace(kKeyNames[static_cast<std::size_t>(key)], *std::move(value));
    }
    if (!values.empty()) bookmark.emplace(kValues, std::move(values));
    return toXml(bookmark);
}

std::optional<FileUrl> QVFilesUtilities::urlWithDataAlias(const std::string& bookmark) const {
    auto resolution = resolve(bookmark);
    if (!resolution) return std::nullopt;
    return std::move(resolution->url);
}

std::optional<FileUrl> QVFilesUtilities::urlWithDataAlias(const std::string& bookmark,
                                                          bool& updateIfNeeded) const {
    auto resolution = resolve(bookmark);
    if (!resolution) return std::nullopt;
    if (!resolution->isStale) {
        updateIfNeeded = false;
    } else if (bookmarkWithURL(resolution->url, {ResourceKey::Path})) {
        updateIfNeeded = true;
    }
    return std::move(resolution->url);
}

std::vector<FileUrl> QVFilesUtilities::urlsWithAliases(std::vector<std::string>& bookmarks,
                                                       bool& updated) const {
    std::vector<FileUrl> urls;
    updated = false;
    // A stale entry is written again with the data it has: the list stays as it is.
    for (const std::string& bookmark : bookmarks) {
        updated = false;
        if (auto url = urlWithDataAlias(bookmark, updated)) urls.push_back(std::move(*url));
    }
    return urls;
}

FileUrl QVFilesUtilities::secureScopedForURL(const FileUrl& url) const {
    const auto bookmark = bookmarkWithURL(url, {ResourceKey::Path});
    return bookmark ? urlWithDataAlias(*bookmark).value_or(url) : url;
}

}  // namespace kestrin
