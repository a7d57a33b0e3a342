// SPDX-License-Identifier: GPL-3.0-or-later
// Work inside a trash folder that is held open: everything here goes by descriptor.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>

#include "base/WriteAll.h"
#include "platform/items/FolderDescent.h"
#include "platform/items/HostErrors.h"
#include "platform/items/linux/KnownStatus.h"
#include "platform/items/linux/PlainName.h"
#include "platform/items/linux/RegularFile.h"
#include "platform/trash/TrashFolders.h"

namespace kestrin {
namespace {

constexpr std::string_view kRecordSuffix = ".trashinfo";
constexpr const char* kDirectorySizes = "directorysizes";
constexpr std::size_t kRecordLimit = std::size_t{64} << 10;
constexpr std::size_t kDirectorySizesLimit = std::size_t{64} << 20;

/// With O_PATH one can work in a folder of one's own without the permission to read it.
UniqueFd openFolderIn(int parent, const std::string& name) {
    constexpr int kFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    return UniqueFd(openat(parent, name.c_str(), kFlags));
}

/// Opens the trash folder itself. Links are followed above it only. In `.Trash/UID` its parent
/// belongs to the trash, too.
UniqueFd openTrashFolder(const FileUrl& trash) {
    const FileUrl parent = trash.parent();
    const bool isShared = parent.lastPathComponent() == ".Trash";
    const FileUrl above = isShared ? parent.parent() : parent;
    UniqueFd folder(open(above.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (folder && isShared) folder = openFolderIn(folder.get(), ".Trash");
    if (!folder) return {};
    return openFolderIn(folder.get(), std::string(trash.lastPathComponent()));
}

std::string recordName(std::string_view name) {
    return std::string(name) += kRecordSuffix;
}

/// Takes a run of digits and the blank behind it from `line`.
bool takeNumber(std::string_view& line) {
    const auto end = line.find_first_not_of("0123456789");
    if (end == 0 || end == line.npos || line[end] != ' ') return false;
    line.remove_prefix(end + 1);
    return true;
}

/// The entry that a line "size mtime percent-encoded-name" is about; none for any other text.
std::optional<std::string> entryOfLine(std::string_view line) {
    if (line.ends_with('\n')) line.remove_suffix(1);
    if (!takeNumber(line) || !takeNumber(line)) return std::nullopt;
    auto name = percentDecode(line);
    return name && isPlainName(*name) ? name : std::nullopt;
}

std::string withoutAbsentEntries(std::string_view text, int files,
                                 const std::function<bool()>& shouldEnd) {
    std::string kept;
    while (!text.empty()) {
        if (shouldEnd && shouldEnd()) return kept.append(text);
        const auto newline = text.find('\n');
        const std::string_view line =
            text.substr(0, newline == text.npos ? text.size() : newline + 1);
        const auto entry = entryOfLine(line);
        if (!entry || !isCertainlyAbsent(files, *entry)) kept += line;
        text.remove_prefix(line.size());
    }
    return kept;
}

/// Whether the open folder belongs to that user. When it does not, or cannot be examined, errno
/// says why.
bool isOwnedBy(int folder, std::uint32_t owner) {
    FolderFacts facts;
    if (!examineFolder(folder, facts)) return false;
    errno = EPERM;
    return facts.userId == owner;
}

/// Root's helper works in the trash of another user, who must keep the file.
bool giveTo(int fd, const ReadFile& former) {
    return (former.userId == geteuid() || fchown(fd, former.userId, former.groupId) == 0) &&
           fchmod(fd, former.mode & 0777) == 0;
}

/// Replaces the file `name` of `folder`, whose owner and mode are those of `former`, in one step,
/// or leaves it as it is.
void replaceFile(int folder, const char* name, const ReadFile& former, std::string_view content) {
    static std::atomic<unsigned> s_counter = 0;
    const std::string temporary = std::string(name) + ".kestrin-" + std::to_string(getpid()) + "-" +
                                  std::to_string(s_counter++);
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    UniqueFd file(openat(folder, temporary.c_str(), kFlags, 0600));
    if (!file) return;
    const bool isReady = writeAll(file.get(), content) && giveTo(file.get(), former);
    // A network file system may tell of a full disk only now.
    const bool isWritten = ::close(file.release()) == 0 && isReady;
    if (!isWritten || renameat(folder, temporary.c_str(), folder, name) != 0) {
        unlinkat(folder, temporary.c_str(), 0);
    }
}

/// Records stay while their file's data may still be on its way into the trash.
bool isOldRecord(int info, const char* name, std::chrono::seconds age) {
    struct statx status {};
    if (!knownStatus(info, name, STATX_TYPE | STATX_MTIME, status) || !S_ISREG(status.stx_mode)) {
        return false;
    }
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec - status.stx_mtime.tv_sec > age.count();
}

std::vector<std::string> orphanRecords(DIR* info, int files, std::chrono::seconds age) {
    std::vector<std::string> orphans;
    while (const dirent* record = readdir(info)) {
        const std::string_view name = record->d_name;
        if (!name.ends_with(kRecordSuffix) || name == kRecordSuffix) continue;
        const std::string entry(name.substr(0, name.size() - kRecordSuffix.size()));
        if (isCertainlyAbsent(files, entry) && isOldRecord(dirfd(info), record->d_name, age)) {
            orphans.emplace_back(name);
        }
    }
    return orphans;
}

}  // namespace

Result<OpenTrash> OpenTrash::open(const FileUrl& filesFolder) {
    const std::string& path = filesFolder.path();
    if (!path.starts_with('/') || path.find('\0') != path.npos) {
        return errorFromErrno(EINVAL, HostAccess::Read);
    }
    OpenTrash trash;
    trash.m_trash = openTrashFolder(filesFolder.parent());
    if (!trash.m_trash) return errorFromErrno(errno, HostAccess::Read);
    trash.m_files = openFolderIn(trash.m_trash.get(), std::string(filesFolder.lastPathComponent()));
    if (!trash.m_files) return errorFromErrno(errno, HostAccess::Read);
    trash.m_info = openFolderIn(trash.m_trash.get(), "info");
    return trash;
}

Result<OpenTrash> OpenTrash::ofUser(UniqueFd trashFolder, std::uint32_t owner) {
    OpenTrash trash;
    trash.m_owner = owner;
    trash.m_files = holdFolder(trashFolder.get(), "files");
    if (!trash.m_files || !isOwnedBy(trashFolder.get(), owner) ||
        !isOwnedBy(trash.m_files.get(), owner)) {
        return errorFromErrno(errno, HostAccess::Read);
    }
    trash.m_info = holdFolder(trashFolder.get(), "info");
    if (trash.m_info && !isOwnedBy(trash.m_info.get(), owner)) trash.m_info.reset();
    trash.m_trash = std::move(trashFolder);
    return trash;
}

std::optional<TrashRecord> OpenTrash::recordOf(std::string_view name,
                                               const FileUrl& topFolder) const {
    if (!m_info || !isPlainName(name)) return std::nullopt;
    const auto text = readRegularFile(m_info.get(), recordName(name).c_str(), kRecordLimit);
    if (!text) return std::nullopt;
    return parseTrashRecord(*text, topFolder);
}

MaybeError OpenTrash::removeRecord(std::string_view name) {
    if (!m_info || !isPlainName(name)) return std::nullopt;
    if (unlinkat(m_info.get(), recordName(name).c_str(), 0) == 0) return std::nullopt;
    // A name that has no room for the suffix never had a record.
    if (errno == ENOENT || errno == ENAMETOOLONG) return std::nullopt;
    return errorFromErrno(errno, HostAccess::Write);
}

void OpenTrash::tidyDirectorySizes(const std::function<bool()>& shouldEnd) {
    const auto sizes = readRegularFileOfMount(m_trash.get(), kDirectorySizes, kDirectorySizesLimit);
    // What root could read of a stranger's file must not get into one of the user's.
    if (!sizes || (m_owner && sizes->userId != *m_owner)) return;
    const std::string kept = withoutAbsentEntries(sizes->content, m_files.get(), shouldEnd);
    if (kept.size() != sizes->content.size())
        replaceFile(m_trash.get(), kDirectorySizes, *sizes, kept);
}

std::size_t OpenTrash::removeOrphanRecords(std::chrono::seconds age) {
    if (!m_info) return 0;
    UniqueFd readable(openat(m_info.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    DIR* info = readable ? fdopendir(readable.get()) : nullptr;
    if (!info) return 0;
    readable.release();
    const auto orphans = orphanRecords(info, m_files.get(), age);
    closedir(info);
    std::size_t removed = 0;
    for (const std::string& record : orphans) {
        if (unlinkat(m_info.get(), record.c_str(), 0) == 0) ++removed;
    }
    return removed;
}

}  // namespace kestrin
