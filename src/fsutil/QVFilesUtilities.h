// SPDX-License-Identifier: GPL-3.0-or-later
// The program's questions about files, folders, volumes and trashes. One class, one source file a
// subject: attributes, lists, bookmarks, paths, images and applications here; volumes, trash locations
// and folder sizes in inventory/. Every query answers false, none, 0 or an empty text when the file
// system refuses; none reports to the user. Thread: any, but for trashesAndVolumesLocations.
#pragma once

#include <QImage>
#include <QSize>
#include <QStringList>
#include <QVariant>
#include <any>
#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"

class QMimeData;

namespace kestrin {

/// What directoryInfo tells of a folder or volume.
struct VolumeRecord {
    FileUrl url;       ///< after an alias was followed
    QString name;      ///< display name
    std::string path;  ///< of the location as given
    bool isDisk = false;
    // Volumes only:
    std::optional<bool> isLocked;  ///< read-only
    std::optional<std::uint64_t> totSize;
    std::optional<std::uint64_t> freeSize;
    // Other folders only:
    std::optional<bool> isPhotosLib;
};

/// One trash of the user.
struct TrashLocation {
    FileUrl trashURL;   ///< the folder that holds the entries
    FileUrl volumeURL;
    QString volumeName;
    std::string volumePath;  ///< the key by which volumes are matched across refreshes
    bool trashIsEmpty = true;
};

/// Sums of a folder's items: total file sizes (data and resource fork) and file sizes (data fork).
/// The same on a host without resource forks.
struct SizePair {
    std::uint64_t totalFileSize = 0;
    std::uint64_t fileSize = 0;
    friend bool operator==(const SizePair&, const SizePair&) = default;
};

struct ItemPermissions {
    std::uint32_t userId = 0;
    std::uint32_t groupId = 0;
    std::uint16_t mode = 0;
};

/// Resource keys of attributeWithURL.
enum class ResourceKey {
    Name,                     ///< std::string
    Path,                     ///< std::string
    IsDirectory,              ///< bool
    IsPackage,                ///< bool
    IsAliasFile,              ///< bool
    IsApplication,            ///< bool
    IsHidden,                 ///< bool
    IsVolume,                 ///< bool
    VolumeIsReadOnly,         ///< bool
    VolumeTotalCapacity,      ///< std::uint64_t
    VolumeAvailableCapacity,  ///< std::uint64_t
    VolumeResourceCount,      ///< std::uint64_t
    VolumeIdentifier,         ///< std::string
    VolumeUUIDString,         ///< std::string
    VolumeURL,                ///< FileUrl
    FileSize,                 ///< std::uint64_t
    TotalFileSize,            ///< std::uint64_t
    CreationDate,             ///< double, seconds since 1 January 2001 UTC
    ContentModificationDate,  ///< double, the same
    AddedToDirectoryDate,     ///< double, the same; for entries of a trash
    LocalizedTypeDescription, ///< std::string, UTF-8
    TypeIdentifier,           ///< std::string, a MIME type name
};

/// Asked by the stoppable size iterator before and after every entry; may change at any time.
class SizeIterationDelegate {
   public:
    virtual ~SizeIterationDelegate() = default;
    /// none: the delegate does not decide, gatheringSizeIsWorking does.
    virtual std::optional<bool> wasStopped() const = 0;
};

class QVFilesUtilities {
   public:
    static constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);

    QVFilesUtilities() = default;
    QVFilesUtilities(const QVFilesUtilities&) = delete;
    QVFilesUtilities& operator=(const QVFilesUtilities&) = delete;
    static QVFilesUtilities& sharedControl();

    // --- Attributes of one item (QVFilesUtilities_attributes.cpp) ---

    /// The value of a resource key, of the type that the key names; an empty any for none.
    std::any attributeWithURL(const FileUrl& url, ResourceKey ofType) const;
    bool isDirectoryWithURL(const FileUrl& url) const;
    bool isPackageWithURL(const FileUrl& url) const;
    bool isAliasWithURL(const FileUrl& url) const;
    bool isApplicationWithURL(const FileUrl& url) const;
    bool isHiddenWithURL(const FileUrl& url) const;
    /// Exact bytes; none when the item cannot be read.
    std::optional<std::string> itemNameWithURL(const FileUrl& url) const;
    QString itemDisplayNameWithURL(const FileUrl& url) const;
    std::optional<FileUrl> parentDirectoryWithURL(const FileUrl& url) const;
    /// The path when the item exists. Errors: POSIX domain, errno, user info "errorString".
    Result<std::string> pathWithURL(const FileUrl& url) const;
    bool itemAtPathExists(const std::string& path) const;
    /// 0 and the permissions; the failure result of the status call (-1); 1 when there is no path.
    int itemPermission(const FileUrl& url, ItemPermissions& permissions) const;
    /// False when writing to the item is denied and its mode cannot be changed; true in every other
    /// case, also for an absent or empty path. Opens nothing and changes nothing.
    bool hasPrivileges(const std::string& path) const;
    /// True when the package is treated like a folder where other packages are not.
    bool isASupportedPackage(const FileUrl& url) const;
    bool isLockedWithURL(const FileUrl& url) const;
    bool unlockWithURL(const FileUrl& url) const;

    // --- Lists and filters (QVFilesUtilities_lists.cpp) ---

    static const std::vector<std::string>& invisibleSystemItems();
    static const std::vector<std::string>& visibleSystemItems();
    static const std::vector<std::string>& visibleSystemPaths();
    std::vector<FileUrl> urlsWithFoldersName(const std::vector<std::string>& names) const;
    std::vector<FileUrl> invisibleSystemURLs() const;
    std::vector<FileUrl> visibleSystemURLs() const;
    std::vector<FileUrl> suitableURLsWithArray(const std::vector<FileUrl>& locations) const;
    std::vector<FileUrl> foldersWithItemsArray(const std::vector<FileUrl>& locations) const;
    std::size_t indexOfStringInArray(const std::vector<std::string>& array,
                                     std::string_view matchingString) const;
    /// An entry is a location, or anything else that a list may hold.
    std::vector<std::any> urlsToPaths(const std::vector<std::any>& list) const;
    std::any urlsToPaths(const std::any& value) const;
    std::vector<FileUrl> pasteboardItemsWithPasteboard(const QMimeData& pasteboard) const;
    std::vector<std::string> followTheAliasOfPathsIfNeeded(
        const std::vector<std::string>& paths) const;

    // --- Aliases and bookmarks (QVFilesUtilities_bookmarks.cpp) ---

    /// Bookmark data: a small property list. None on error.
    std::optional<std::string> bookmarkWithURL(
        const FileUrl& url, const std::vector<ResourceKey>& includePathValueKey = {}) const;
    std::optional<FileUrl> urlWithDataAlias(const std::string& bookmark) const;
    /// `updateIfNeeded`: set to true when the data was stale and fresh data could be made.
    std::optional<FileUrl> urlWithDataAlias(const std::string& bookmark,
                                            bool& updateIfNeeded) const;
    std::vector<FileUrl> urlsWithAliases(std::vector<std::string>& bookmarks, bool& updated) const;
    FileUrl secureScopedForURL(const FileUrl& url) const;

    // --- Paths (QVFilesUtilities_paths.cpp) ---

    std::string setAbsolutePath(const std::string& path) const;
    std::vector<std::string> setAbsolutePathToPathArray(const std::vector<std::string>& paths) const;
    FileUrl setAbsoluteURL(const FileUrl& url) const;
    FileUrl setAbsoluteURL(const FileUrl& url, const FileUrl& ifContainedIn) const;
    std::string removeLastSlash(const std::string& text) const;
    std::string removeSlashesFromFileSystemName(const std::string& name,
                                                std::uint16_t& foundCount) const;
    /// `thatMatch` none means "/Volumes/".
    std::string removeFirstPathComponent(const std::string& path,
                                         const std::optional<std::string>& thatMatch) const;
    FileUrl removeFirstPathComponentWithURL(const FileUrl& url,
                                            const std::optional<std::string>& thatMatch) const;

    // --- Icons and images; sizes in points (QVFilesUtilities_images.cpp) ---

    QImage iconOfItemWithURL(const FileUrl& url, QSize forSize) const;
    QImage iconForItemPath(const std::string& path) const;
    QImage placeholderImageWithSize(QSize size) const;
    QImage ghostIconWithIcon(const QImage& icon, QSize forSize) const;
    QImage composedImageMainImage(const QImage& mainImage, const QImage& addingImage) const;

    // --- Applications by identifier, a desktop entry's id (QVFilesUtilities_applications.cpp) ---

    std::optional<FileUrl> appURLWithIdentifier(const std::string& identifier) const;
    QImage appIconWithIdentifier(const std::string& identifier) const;
    QString originalAppNameWithIdentifier(const std::string& identifier) const;
    QString appNameWithIdentifier(const std::string& identifier) const;
    bool appWithIdentifierExists(const std::string& identifier) const;
    QString appVersionWithURL(const FileUrl& url) const;
    /// True when every path could be handed to the desktop's opener.
    bool launchItems(const std::vector<std::string>& paths) const;

    // --- Volumes and trash locations (inventory/QVFilesUtilities_volumes.cpp) ---

    /// nullopt: all mounted volumes.
    std::vector<VolumeRecord> volumesLocationArray(
        const std::optional<std::vector<FileUrl>>& volumes = std::nullopt) const;
    std::optional<VolumeRecord> directoryInfoForURL(const FileUrl& url) const;
    std::optional<FileUrl> trashURLForItemURL(const FileUrl& url) const;
    std::optional<FileUrl> startupTrashURL() const;
    /// Requires: one thread at a time (it keeps the list of volumes whose trash could not be had).
    std::vector<TrashLocation> trashesAndVolumesLocations();
    bool trashAtURLIsEmpty(const FileUrl& trash) const;
    bool isAnEmptyFolder(const FileUrl& folder) const;
    bool itemURLIsInTheTrash(const FileUrl& item) const;
    bool volumeOfPathIsMounted(const std::string& path) const;
    FileUrl volumeURLOfPath(const std::string& path) const;
    bool urlIsStartupDisk(const FileUrl& url) const;
    std::size_t indexOfNewMountedDiskInArray(const std::vector<TrashLocation>& array,
                                             const std::string& matchWith) const;

    bool isVolumeWithURL(const FileUrl& url) const;
    bool isVolumeLockedWithURL(const FileUrl& url) const;
    std::uint64_t volumeCapacityWithURL(const FileUrl& url) const;
    std::uint64_t volumeFreeCapacityWithURL(const FileUrl& url) const;
    std::uint64_t volumeItemsCountWithURL(const FileUrl& url) const;
    std::optional<std::string> volumeIDWithItemURL(const FileUrl& url) const;
    std::optional<std::string> volumeUUIDWithItemURL(const FileUrl& url) const;

    // --- Sizes of folders (inventory/QVFilesUtilities_sizes.cpp) ---

    /// Adds to `itemsFound` every entry at any depth. (0, 0) for none, the counter left alone.
    SizePair iterateFolderForSize(const FileUrl& folder, std::uint64_t& itemsFound) const;
    /// `itemsFound`: folders, then files and packages.
    SizePair iterateFolderForSize(const FileUrl& folder, const SizeIterationDelegate* withDelegate,
                                  std::array<std::uint64_t, 2>& itemsFound, bool incrementCount,
                                  bool searchIsForEmptyFiles, bool searchIsForEmptyFolders) const;
    bool cantBeCalculated(std::string_view itemName) const;

    /// While false, the stoppable size iterator stops at its next item.
    std::atomic<bool> gatheringSizeIsWorking = false;

   private:
    std::vector<FileUrl> m_trashErrors;  ///< volumes whose trash could not be had; only grows
};

/// The display name of the volume mounted at "/", found once.
QString DefaultVolumeName();

/// "/Volumes/" and the start-up volume's name is the same place as "/": the path on this host that a
/// location in that form means; any other path unchanged.
std::string hostPath(const FileUrl& url);

}  // namespace kestrin
