// SPDX-License-Identifier: GPL-3.0-or-later
#include <QString>
#include <QStringDecoder>
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

#include "base/SystemLog.h"
#include "fsutil/QVFilesUtilities.h"
#include "inventory/TrashListing.h"
#include "platform/disks/Volumes.h"
#include "platform/items/FolderWalk.h"
#include "platform/items/HostErrors.h"
#include "platform/items/ItemAttributes.h"
#include "platform/processes/AnswerWithin.h"
#include "platform/trash/TrashFolders.h"

namespace kestrin {

namespace {

/// How long a volume may take to answer before a listing goes on without it.
constexpr std::chrono::seconds kVolumePatience{2};
/// How many volumes are asked at the same time, so that one that hangs does not hold up the others.
constexpr std::size_t kVolumesAskedAtOnce = 8;

/// The answers of the volumes to `question`, in their order, with none for a volume that does not
/// answer in time. A question may go on after this returned, so it uses only the location that it
/// is given and what lives as long as the process.
template <class Answer>
std::vector<std::optional<Answer>> askVolumes(const std::vector<FileUrl>& volumes,
                                              Answer (*question)(const FileUrl&)) {
    std::vector<std::optional<Answer>> answers(volumes.size());
    std::atomic<std::size_t> next = 0;
    const auto askInTurn = [&] {
        for (std::size_t i = next++; i < volumes.size(); i = next++) {
            answers[i] = answerWithin<Answer>(
                kVolumePatience, [question, volume = volumes[i]] { return question(volume); });
        }
    };
    std::vector<std::jthread> askers;
    try {
        while (askers.size() + 1 < std::min(volumes.size(), kVolumesAskedAtOnce)) {
            askers.emplace_back(askInTurn);
        }
    } catch (const std::system_error&) {  // no thread to be had: those there are ask in turn
    }
    askInTurn();
    askers.clear();
    return answers;
}

/// Where the location is on this host.
FileUrl placeOf(const FileUrl& url) {
    return FileUrl::fromPath(hostPath(url));
}

std::optional<VolumeRecord> recordOfVolume(const FileUrl& volume) {
    return QVFilesUtilities::sharedControl().directoryInfoForURL(volume);
}

void logTrashFailure(const HostError& error) {
    qCInfo(lcInventory, "NSTrashDirectory error: %s", error.localizedDescription().c_str());
}

/// The trash folders on the volume of `item`. A read-only volume has none.
Result<std::vector<TrashFolder>> trashFoldersForItem(const FileUrl& item) {
    if (QVFilesUtilities::sharedControl().isVolumeLockedWithURL(item)) {
        return std::vector<TrashFolder>();
    }
    const FileUrl place = placeOf(item);
    return trashFoldersOfVolume(volumeOfItem(place).value_or(place));
}

/// Whether the error means that the user may make no trash there, which is nothing to worry about,
/// or that the volume just went.
bool meansNoTrash(const HostError& error) {
    return error.systemError == EACCES || error.systemError == EPERM ||
           error.systemError == EROFS || error.systemError == ENOENT;
}

/// Whether a trash holds nothing that counts: no name that begins without a full stop.
Result<bool> isEmptyTrash(const FileUrl& trash) {
    bool isEmpty = true;
    const auto look = [&](std::string_view name, EntryType) {
        isEmpty = name.starts_with('.');
        return isEmpty;
    };
    MaybeError error = visitFolder(trash, look);
    if (!error || error->systemError == ENOENT) return isEmpty;
    error->userInfo["reason"] = error->localizedDescription();
    error->userInfo["errorString"] = trash.path() + ": " + error->localizedDescription();
    return *std::move(error);
}

/// Adds the trashes that can be read. The error of the first one that cannot be read becomes the
/// volume's problem.
void addTrashes(ListedVolume& volume, const std::vector<TrashFolder>& folders) {
    const std::uint64_t mountId = mountIdAt(volume.url);
    for (const TrashFolder& folder : folders) {
        const Result<bool> isEmpty = folder.exists ? isEmptyTrash(folder.files) : true;
        if (isEmpty) {
            volume.trashes.push_back(
                {folder.files, volume.url, volume.name, volume.url.path(), *isEmpty, mountId});
        } else if (!volume.problem) {
            volume.problem = isEmpty.error();
        }
    }
}

EntryType typeOfEntry(const FileUrl& entry, EntryType listed) {
    if (listed != EntryType::Unknown) return listed;
    const auto attributes = itemAttributes(entry);
    return attributes && attributes->isDirectory() ? EntryType::Directory : EntryType::Other;
}

bool nameHoldsIcon(std::string_view name) {
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()))
        .contains(QLatin1String("icon"), Qt::CaseInsensitive);
}

/// Whether nothing directly inside `folder`, apart from its subfolders, makes it count as filled.
/// The subfolders are added to `subfolders`. A folder that holds only dot-files counts as filled;
/// beside a subfolder or a hidden icon file they do not matter.
bool isEmptyBesidesSubfolders(const QVFilesUtilities& files, const FileUrl& folder,
                              std::vector<FileUrl>& subfolders) {
    bool isFilled = false;
    bool hasEntries = false;
    bool isExcused = false;
    const auto look = [&](std::string_view name, EntryType listed) {
        hasEntries = true;
        FileUrl entry = folder.appending(name);
        if (typeOfEntry(entry, listed) == EntryType::Directory) {
            isExcused = true;
            subfolders.push_back(std::move(entry));
        } else if (!name.starts_with('.')) {
            isFilled = !nameHoldsIcon(name) || !files.isHiddenWithURL(entry);
            isExcused = true;
        }
        return !isFilled;
    };
    const bool isReadable = !visitFolder(folder, look);
    return isReadable && !isFilled && (isExcused || !hasEntries);
}

/// Compares text without regard to case. A `part` that is not UTF-8 is compared byte by byte, since
/// decoding would make different names equal.
bool containsPath(const std::string& path, const std::string& part) {
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(QByteArrayView(part.data(), std::ssize(part)));
    if (decoder.hasError()) return path.find(part) != std::string::npos;
    return QString::fromStdString(path).contains(text, Qt::CaseInsensitive);
}

}  // namespace

std::vector<VolumeRecord> QVFilesUtilities::volumesLocationArray(
    const std::optional<std::vector<FileUrl>>& volumes) const {
    std::vector<VolumeRecord> records;
    for (auto& answer : askVolumes(volumes ? *volumes : mountedVolumes(), recordOfVolume)) {
        if (answer && *answer) records.push_back(*std::move(*answer));
    }
    return records;
}

std::optional<VolumeRecord> QVFilesUtilities::directoryInfoForURL(const FileUrl& url) const {
    if (!url.hasScheme()) return std::nullopt;
    const auto path = pathWithURL(url);
    if (!path) return std::nullopt;
    VolumeRecord record;
    record.url = url;
    record.path = *path;
    if (isAliasWithURL(url)) {
        const auto destination = symbolicLinkDestination(placeOf(url));
        if (!destination) return std::nullopt;
        record.url = destination->starts_with('/') ? FileUrl::fromPath(*destination)
                                                   : url.parent().appending(*destination);
    }
    if (isPackageWithURL(record.url) && !isASupportedPackage(record.url)) return std::nullopt;

    record.isDisk = isVolumeWithURL(record.url);
    record.name = itemDisplayNameWithURL(record.url);
    if (record.name.isEmpty()) return std::nullopt;
    if (record.isDisk) {
        record.isLocked = isVolumeLockedWithURL(record.url);
        record.totSize = volumeCapacityWithURL(record.url);
        record.freeSize = volumeFreeCapacityWithURL(record.url);
    } else {
        record.isPhotosLib = false;
    }
    return record;
}

std::optional<FileUrl> QVFilesUtilities::trashURLForItemURL(const FileUrl& url) const {
    const auto folders = trashFoldersForItem(url);
    if (!folders) {
        logTrashFailure(folders.error());
        return std::nullopt;
    }
    if (folders->empty()) return std::nullopt;
    return folders->front().files;
}

std::optional<FileUrl> QVFilesUtilities::startupTrashURL() const {
    return trashURLForItemURL(FileUrl::fromPath("/"));
}

ListedVolume askForTrashes(const FileUrl& url) {
    ListedVolume volume{.url = url, .name = {}, .problem = {}};
    const auto record = recordOfVolume(url);
    // When the volume went meanwhile, a plain folder is left in its place. A trash there is that of
    // another volume.
    volume.state = ListedVolume::State::NoTrash;
    if (!record || !record->isDisk) {
        volume.problem = errorFromErrno(ENOENT, HostAccess::Read);
        return volume;
    }
    volume.name = record->name;

    auto folders = trashFoldersOfVolume(url);
    if (record->isLocked.value_or(true)) {
        volume.state = ListedVolume::State::ReadOnly;
        if (!folders) return volume;
        std::erase_if(*folders, [](const TrashFolder& folder) { return !folder.exists; });
        addTrashes(volume, *folders);
        return volume;
    }
    volume.problem = unusableTrashOfVolume(url);
    if (folders) addTrashes(volume, *folders);
    const bool mayHaveNone = !folders && !volume.problem && meansNoTrash(folders.error());
    if (!folders && !volume.problem) volume.problem = folders.error();
    if (!volume.trashes.empty()) {
        volume.state = ListedVolume::State::Usable;
    } else {
        if (!mayHaveNone) volume.state = ListedVolume::State::Unusable;
        logTrashFailure(*volume.problem);
    }
    return volume;
}

bool ListedVolume::hasFailedForGood() const {
    constexpr std::array kLasting{EACCES, EPERM, EROFS, ELOOP, ENOTDIR};
    return (state == State::NoTrash || state == State::Unusable) && problem &&
           std::ranges::find(kLasting, problem->systemError) != kLasting.end();
}

std::vector<TrashLocation> QVFilesUtilities::trashesAndVolumesLocations() {
    std::vector<FileUrl> volumes = mountedVolumes();
    std::erase_if(volumes, [&](const FileUrl& volume) {
        return std::ranges::find(m_trashErrors, volume) != m_trashErrors.end();
    });
    std::vector<TrashLocation> locations;
    for (const auto& volume : askVolumes(volumes, askForTrashes)) {
        if (!volume) continue;
        if (volume->hasFailedForGood()) m_trashErrors.push_back(volume->url);
        if (volume->mayBeErased())
            std::ranges::copy(volume->trashes, std::back_inserter(locations));
    }
    return locations;
}

bool QVFilesUtilities::trashAtURLIsEmpty(const FileUrl& trash) const {
    const Result<bool> isEmpty = isEmptyTrash(trash);
    return !isEmpty || *isEmpty;  // a trash that cannot be listed shows as empty
}

bool QVFilesUtilities::isAnEmptyFolder(const FileUrl& folder) const {
    std::vector<FileUrl> folders{folder};
    while (!folders.empty()) {
        const FileUrl next = std::move(folders.back());
        folders.pop_back();
        if (!isEmptyBesidesSubfolders(*this, next, folders)) return false;
    }
    return true;
}

bool QVFilesUtilities::itemURLIsInTheTrash(const FileUrl& item) const {
    const auto folders = trashFoldersForItem(item);
    if (!folders) {
        logTrashFailure(folders.error());
        return false;
    }
    const std::string path = hostPath(item);
    return std::any_of(folders->begin(), folders->end(), [&](const TrashFolder& folder) {
        return containsPath(path, folder.files.path());
    });
}

bool QVFilesUtilities::volumeOfPathIsMounted(const std::string& path) const {
    const auto records = volumesLocationArray();
    return std::any_of(records.begin(), records.end(), [&](const VolumeRecord& record) {
        return path.starts_with(setAbsolutePath(record.path));
    });
}

FileUrl QVFilesUtilities::volumeURLOfPath(const std::string& path) const {
    FileUrl url;
    for (std::string current = setAbsolutePath(path); !current.empty();) {
        url = FileUrl::fromPath(current);
        if (isVolumeWithURL(url)) break;
        const std::size_t slash = current.rfind('/');
        current.resize(slash == std::string::npos ? 0 : slash);
    }
    return url;
}

bool QVFilesUtilities::urlIsStartupDisk(const FileUrl& url) const {
    return url == FileUrl::fromPath("/") ||
           url.path().starts_with("/Volumes/" + DefaultVolumeName().toStdString());
}

std::size_t QVFilesUtilities::indexOfNewMountedDiskInArray(const std::vector<TrashLocation>& array,
                                                           const std::string& matchWith) const {
    const auto found = std::find_if(array.begin(), array.end(), [&](const TrashLocation& location) {
        return location.volumePath == matchWith;
    });
    return found == array.end() ? kNotFound : static_cast<std::size_t>(found - array.begin());
}

}  // namespace kestrin
