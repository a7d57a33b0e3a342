// SPDX-License-Identifier: GPL-3.0-or-later
// Questions about one item.
#include <cerrno>

#include "fsutil/HostLocation.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/disks/Volumes.h"
#include "platform/items/FileLabels.h"
#include "platform/items/HostErrors.h"
#include "platform/items/ItemAccess.h"
#include "platform/items/ItemAttributes.h"
#include "platform/items/ItemKinds.h"
#include "platform/items/LockAttributes.h"
#include "platform/trash/TrashFolders.h"

namespace kestrin {
namespace {

/// 1 January 2001 00:00 UTC in seconds since 1970.
constexpr double kReferenceDate = 978307200;

constexpr std::string_view kApplicationBundle = "app";
constexpr std::string_view kDesktopEntry = "desktop";
constexpr std::string_view kSupportedPackage = "photoslibrary";

template <class T>
std::any anyFrom(const std::optional<T>& value) {
    return value ? std::any(*value) : std::any();
}

bool isPackage(const FileUrl& item, const ItemAttributes& attributes) {
    return attributes.isDirectory() && isBundleExtension(item.pathExtension());
}

bool isApplication(const FileUrl& item, const ItemAttributes& attributes) {
    return (attributes.isRegularFile() && item.pathExtension() == kDesktopEntry) ||
           (attributes.isDirectory() && item.pathExtension() == kApplicationBundle);
}

std::any sizeOf(const ItemAttributes& attributes) {
    return attributes.isDirectory() ? std::any() : std::any(attributes.size);
}

/// What the trash noted when the item was put there: a file system keeps no such date.
std::optional<double> dateAddedToTrash(const FileUrl& item) {
    const auto folder = trashFolderOfEntry(item);
    if (!folder) return std::nullopt;
    const auto trash = OpenTrash::open(folder->files);
    if (!trash) return std::nullopt;
    const auto record = trash->recordOf(item.lastPathComponent(), folder->topFolder);
    if (!record || !record->deletionDate) return std::nullopt;
    return static_cast<double>(*record->deletionDate) - kReferenceDate;
}

std::any volumeAttribute(const FileUrl& item, ResourceKey key) {
    switch (key) {
        case ResourceKey::IsVolume:
            return isMountPoint(item);
        case ResourceKey::VolumeIsReadOnly:
            return anyFrom(isVolumeReadOnly(item));
        case ResourceKey::VolumeIdentifier:
            return anyFrom(volumeIdentifier(item));
        case ResourceKey::VolumeUUIDString:
            return anyFrom(volumeUUID(item));
        case ResourceKey::VolumeURL:
            return anyFrom(volumeOfItem(item));
        default:
            break;
    }
    const auto capacity = volumeCapacity(item);
    if (!capacity) return {};
    switch (key) {
        case ResourceKey::VolumeTotalCapacity:
            return capacity->totalBytes;
        case ResourceKey::VolumeAvailableCapacity:
            return capacity->availableBytes;
        case ResourceKey::VolumeResourceCount:
            return capacity->itemCount;
        default:
            return {};
    }
}

std::any kindAttribute(const FileUrl& item, const ItemAttributes& attributes, ResourceKey key) {
    ItemKind kind = kindOfItem(item.lastPathComponent(), attributes.mode);
    return key == ResourceKey::TypeIdentifier ? std::move(kind.typeIdentifier)
                                              : std::move(kind.description);
}

std::any itemAttribute(const FileUrl& item, const ItemAttributes& attributes, ResourceKey key) {
    switch (key) {
        case ResourceKey::Name:
            return std::string(item.lastPathComponent());
        case ResourceKey::IsDirectory:
            return attributes.isDirectory();
        case ResourceKey::IsPackage:
            return isPackage(item, attributes);
        case ResourceKey::IsAliasFile:
            return attributes.isSymbolicLink();
        case ResourceKey::IsApplication:
            return isApplication(item, attributes);
        case ResourceKey::IsHidden:
            return item.lastPathComponent().starts_with('.') || isListedAsHidden(item);
        case ResourceKey::FileSize:
        case ResourceKey::TotalFileSize:
            return sizeOf(attributes);
        case ResourceKey::CreationDate:
            return anyFrom(attributes.dateCreated);
        case ResourceKey::ContentModificationDate:
            return attributes.dateModified;
        case ResourceKey::AddedToDirectoryDate:
            return anyFrom(dateAddedToTrash(item));
        case ResourceKey::LocalizedTypeDescription:
        case ResourceKey::TypeIdentifier:
            return kindAttribute(item, attributes, key);
        case ResourceKey::LabelNumber:
            return std::int16_t{fileLabelOf(item)};
        default:
            return volumeAttribute(item, key);
    }
}

template <class T>
std::optional<T> valueOf(const std::any& value) {
    const T* found = std::any_cast<T>(&value);
    return found ? std::optional<T>(*found) : std::nullopt;
}

}  // namespace

QVFilesUtilities& QVFilesUtilities::sharedControl() {
    static QVFilesUtilities shared;
    return shared;
}

std::any QVFilesUtilities::attributeWithURL(const FileUrl& url, ResourceKey ofType) const {
    const FileUrl item = hostLocation(url);
    if (item.isEmpty()) return {};
    const auto attributes = itemAttributes(item);
    if (!attributes) return {};
    if (ofType == ResourceKey::Path) return url.path();  // as given, like pathWithURL's
    return itemAttribute(item, *attributes, ofType);
}

bool QVFilesUtilities::isDirectoryWithURL(const FileUrl& url) const {
    return valueOf<bool>(attributeWithURL(url, ResourceKey::IsDirectory)).value_or(false);
}

bool QVFilesUtilities::isPackageWithURL(const FileUrl& url) const {
    return valueOf<bool>(attributeWithURL(url, ResourceKey::IsPackage)).value_or(false);
}

bool QVFilesUtilities::isAliasWithURL(const FileUrl& url) const {
    return valueOf<bool>(attributeWithURL(url, ResourceKey::IsAliasFile)).value_or(false);
}

bool QVFilesUtilities::isApplicationWithURL(const FileUrl& url) const {
    return valueOf<bool>(attributeWithURL(url, ResourceKey::IsApplication)).value_or(false);
}

bool QVFilesUtilities::isHiddenWithURL(const FileUrl& url) const {
    if (!url.hasScheme()) return false;
    // The name decides without a question to the disk, also for an item that has just gone.
    if (url.lastPathComponent().starts_with('.')) return true;
    return valueOf<bool>(attributeWithURL(url, ResourceKey::IsHidden)).value_or(false);
}

std::optional<std::string> QVFilesUtilities::itemNameWithURL(const FileUrl& url) const {
    return valueOf<std::string>(attributeWithURL(url, ResourceKey::Name));
}

QString QVFilesUtilities::itemDisplayNameWithURL(const FileUrl& url) const {
    const FileUrl item = FileUrl::fromPath(hostPath(url));
    if (item.isEmpty()) return {};
    if (item.path() == "/") return DefaultVolumeName();
    if (isMountPoint(item)) {
        const std::string label = volumeLabel(item).value_or(std::string());
        if (!label.empty()) return displayText(label);
    }
    return displayText(item.lastPathComponent());
}

std::optional<FileUrl> QVFilesUtilities::parentDirectoryWithURL(const FileUrl& url) const {
    const FileUrl item = hostLocation(url);
    if (item.isEmpty() || item.path() == "/" || !itemAttributes(item)) return std::nullopt;
    return url.parent();
}

Result<std::string> QVFilesUtilities::pathWithURL(const FileUrl& url) const {
    const FileUrl item = hostLocation(url);
    const int systemError = item.isEmpty() ? ENOENT : existenceError(item.path());
    if (systemError == 0) return url.path();
    HostError error = errorFromErrno(systemError, HostAccess::Read);
    error.domain = kPOSIXErrorDomain;
    error.code = systemError;
    return error;
}

bool QVFilesUtilities::itemAtPathExists(const std::string& path) const {
    return !path.empty() && pathExists(hostPath(FileUrl::fromPath(path)));
}

int QVFilesUtilities::itemPermission(const FileUrl& url, ItemPermissions& permissions) const {
    const FileUrl item = hostLocation(url);
    if (item.isEmpty()) return 1;
    const auto attributes = itemAttributes(item);
    if (!attributes) return -1;
    permissions = {attributes->userId, attributes->groupId,
                   static_cast<std::uint16_t>(attributes->mode)};
    return 0;
}

bool QVFilesUtilities::hasPrivileges(const std::string& path) const {
    if (path.empty()) return true;
    return !isWritingDeniedForGood(FileUrl::fromPath(hostPath(FileUrl::fromPath(path))));
}

bool QVFilesUtilities::isASupportedPackage(const FileUrl& url) const {
    return url.pathExtension() == kSupportedPackage && isPackageWithURL(url);
}

std::int16_t QVFilesUtilities::finderTagWithURL(const FileUrl& url) const {
    return valueOf<std::int16_t>(attributeWithURL(url, ResourceKey::LabelNumber)).value_or(0);
}

std::int16_t QVFilesUtilities::systemLabelNumberWithURL(const FileUrl& url) const {
    return finderTagWithURL(url);
}

bool QVFilesUtilities::isLockedWithURL(const FileUrl& url) const {
    const FileUrl item = hostLocation(url);
    if (item.isEmpty()) return false;
    const auto attributes = itemAttributes(item);
    return attributes && attributes->isImmutable;
}

bool QVFilesUtilities::unlockWithURL(const FileUrl& url) const {
    const FileUrl item = hostLocation(url);
    return !item.isEmpty() && !clearLocks(item);
}

bool QVFilesUtilities::isVolumeWithURL(const FileUrl& url) const {
    const FileUrl item = hostLocation(url);
    return !item.isEmpty() && isMountPoint(item);
}

bool QVFilesUtilities::isVolumeLockedWithURL(const FileUrl& url) const {
    return valueOf<bool>(attributeWithURL(url, ResourceKey::VolumeIsReadOnly)).value_or(true);
}

std::uint64_t QVFilesUtilities::volumeCapacityWithURL(const FileUrl& url) const {
    const std::any capacity = attributeWithURL(url, ResourceKey::VolumeTotalCapacity);
    return valueOf<std::uint64_t>(capacity).value_or(0);
}

std::uint64_t QVFilesUtilities::volumeFreeCapacityWithURL(const FileUrl& url) const {
    const std::any capacity = attributeWithURL(url, ResourceKey::VolumeAvailableCapacity);
    return valueOf<std::uint64_t>(capacity).value_or(0);
}

std::uint64_t QVFilesUtilities::volumeItemsCountWithURL(const FileUrl& url) const {
    const std::any count = attributeWithURL(url, ResourceKey::VolumeResourceCount);
    return valueOf<std::uint64_t>(count).value_or(0);
}

std::optional<std::string> QVFilesUtilities::volumeIDWithItemURL(const FileUrl& url) const {
    return valueOf<std::string>(attributeWithURL(url, ResourceKey::VolumeIdentifier));
}

std::optional<std::string> QVFilesUtilities::volumeUUIDWithItemURL(const FileUrl& url) const {
    return valueOf<std::string>(attributeWithURL(url, ResourceKey::VolumeUUIDString));
}

}  // namespace kestrin
