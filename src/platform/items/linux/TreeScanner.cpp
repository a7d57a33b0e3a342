// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/TreeScanner.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <utility>

#include "platform/items/HostErrors.h"
#include "platform/items/linux/DescriptorCache.h"
#include "platform/items/linux/DirectoryStream.h"
#include "platform/items/linux/Identity.h"
#include "platform/items/linux/KnownStatus.h"
#include "platform/items/linux/QuietOpen.h"
#include "platform/items/linux/WorkStack.h"
#include "platform/items/linux/WorkerBudget.h"

namespace kestrin {
namespace {

using IsWanted = std::function<bool(const ScannedEntry&)>;

/// First-level entries examined by one task.
constexpr std::size_t kRange = 1024;

struct ScanFolder : FolderNode {
    std::atomic<std::uint32_t> pending = 1;  ///< its own listing and the folders below it
};

/// Either a folder to count, or a range of first-level entries to examine.
struct ScanTask {
    ScanFolder* parent = nullptr;  ///< nullptr: directly inside the scanned folder
    std::string name;
    std::size_t top =
        0;  ///< the first-level entry that the folder belongs to, or the range's begin
    std::size_t rangeEnd = 0;  ///< 0: a folder
};

std::uint64_t sizeFrom(const struct statx& status) {
    return S_ISREG(status.stx_mode) || S_ISLNK(status.stx_mode) ? status.stx_size : 0;
}

/// Bytes of a file or link; 0 for anything else and what cannot be examined. `isFolder` is set when
/// it turns out to be one.
std::uint64_t sizeOfEntry(int folder, const RawEntry& entry, bool& isFolder) {
    if (entry.type != DT_REG && entry.type != DT_LNK && entry.type != DT_UNKNOWN) return 0;
    struct statx status {};
    if (!knownStatus(folder, entry.name, STATX_TYPE | STATX_SIZE, status)) return 0;
    isFolder = S_ISDIR(status.stx_mode);
    return sizeFrom(status);
}

class Scanner {
 public:
    Scanner(int root, std::stop_token stop, const IsWanted& isWanted)
        : m_root(root), m_stop(std::move(stop)), m_isWanted(isWanted) {}

    MaybeError listFirstLevel() {
        DirectoryStream stream;
        std::vector<RawEntry> entries;
        while (stream.read(m_root, entries, false)) {
            for (const RawEntry& entry : entries)
                m_results.push_back({.name = entry.name, .mode = DTTOIF(entry.type)});
        }
        if (errno != 0) return errorFromErrno(errno, HostAccess::Read);
        return std::nullopt;
    }

    std::vector<ScannedEntry> scan() {
        std::vector<ScanTask> ranges;
        for (std::size_t begin = 0; begin < m_results.size(); begin += kRange) {
            ranges.push_back({nullptr, {}, begin, std::min(begin + kRange, m_results.size())});
        }
        if (ranges.empty()) return {};
        if (ranges.size() == 1) {  // nothing for others to do yet, and often nothing at all
            examineRange(0, m_results.size());
            workAlone();
        } else {
            std::reverse(ranges.begin(), ranges.end());  // the first range is taken first
            m_tasks.push(ranges);
        }
        if (!m_tasks.isEmpty()) runWorkers();
        if (m_isWanted && m_stop.stop_requested()) return {};  // not every one was asked about
        if (m_hasGaps)
            std::erase_if(m_results, [](const ScannedEntry& entry) { return entry.name.empty(); });
        return std::move(m_results);
    }

 private:
    struct Sums {
        std::uint64_t size = 0;
        std::uint64_t count = 0;
    };

    /// Works for as long as it would take others to get going: many trees are small.
    void workAlone() {
        constexpr auto kAlone = std::chrono::milliseconds(2);
        const auto start = std::chrono::steady_clock::now();
        while (m_tasks.workOnOne([this](ScanTask& task) { work(task); }) &&
               std::chrono::steady_clock::now() - start < kAlone) {
        }
    }

    void runWorkers() {
        // There are more workers than cores: a disk answers several questions at once faster than
        // one after the other.
        static const unsigned most =
            affordableWorkers(std::clamp(4 * std::thread::hardware_concurrency(), 8U, 16U));
        static WorkerBudget& budget = *new WorkerBudget(2 * (most - 1));  // outlives what hangs
        const WorkerBudget::Share others(budget, most - 1);
        m_tasks.run(
            1 + others.threads(), [](ScanTask&) { return false; },
            [this](ScanTask& task) { work(task); });
    }

    void work(ScanTask& task) {
        thread_local DirectoryStream stream;
        if (m_stop.stop_requested()) {
            finish(task.parent);
        } else if (task.rangeEnd != 0) {
            examineRange(task.top, task.rangeEnd);
        } else {
            countFolder(task, stream);
        }
    }

    void examineRange(std::size_t begin, std::size_t end) {
        std::vector<ScanTask> folders;
        for (std::size_t i = begin; i < end && !m_stop.stop_requested(); ++i) {
            ScannedEntry& result = m_results[i];
            if (!completeFirst(result) || (m_isWanted && !m_isWanted(result))) {
                result.name.clear();
                m_hasGaps = true;
            } else if (result.isDirectory()) {
                folders.push_back({nullptr, result.name, i, 0});
            }
        }
        std::reverse(folders.begin(), folders.end());
        m_tasks.push(folders);
    }

    /// Adds what one look tells of a first-level entry. False when it went after the listing.
    bool completeFirst(ScannedEntry& entry) const {
        struct statx status {};
        if (!knownStatus(m_root, entry.name.c_str(), kIdentityMask | STATX_SIZE, status)) {
            return errno != ENOENT;
        }
        entry.mode = status.stx_mode & S_IFMT;
        entry.size = sizeFrom(status);
        entry.identity = identityFrom(status, m_inodesLast);
        return true;
    }

    void countFolder(ScanTask& task, DirectoryStream& stream) {
        UniqueFd fd = openFolder(task);
        if (!fd) {
            finish(task.parent);
            return;
        }
        auto* folder = new ScanFolder;
        folder->parent = task.parent;
        folder->rootParent = m_root;
        folder->name = std::move(task.name);
        const int descriptor = fd.get();
        if (!m_descriptors.adopt(*folder, std::move(fd))) {
            delete folder;
            finish(task.parent);
            return;
        }
        listFolder(*folder, descriptor, task.top, stream);
        m_descriptors.unpin(*folder);
        finish(folder);
    }

    UniqueFd openFolder(const ScanTask& task) {
        if (!task.parent) return UniqueFd(openFolderQuietlyAt(m_root, task.name.c_str()));
        const int parent = m_descriptors.pin(*task.parent);
        if (parent < 0) return {};
        UniqueFd fd(openFolderQuietlyAt(parent, task.name.c_str()));
        if (!fd && errno == EMFILE) {
            m_descriptors.closeIdle();
            fd.reset(openFolderQuietlyAt(parent, task.name.c_str()));
        }
        m_descriptors.unpin(*task.parent);
        return fd;
    }

    void listFolder(ScanFolder& folder, int descriptor, std::size_t top, DirectoryStream& stream) {
        std::vector<RawEntry> entries;
        std::vector<ScanTask> folders;
        Sums sums;
        while (!m_stop.stop_requested() && stream.read(descriptor, entries)) {
            for (const RawEntry& entry : entries) {
                bool isFolder = entry.type == DT_DIR;
                sums.size += sizeOfEntry(descriptor, entry, isFolder);
                if (isFolder) folders.push_back({&folder, entry.name, top, 0});
                if (m_stop.stop_requested()) break;
            }
            sums.count += entries.size();
        }
        add(top, sums);
        folder.pending += static_cast<std::uint32_t>(folders.size());
        m_tasks.push(folders);
    }

    void add(std::size_t top, const Sums& sums) {
        std::atomic_ref(m_results[top].size).fetch_add(sums.size, std::memory_order_relaxed);
        std::atomic_ref(m_results[top].count).fetch_add(sums.count, std::memory_order_relaxed);
    }

    /// One folder below `folder`, or its own listing, is done.
    void finish(ScanFolder* folder) {
        while (folder && folder->pending.fetch_sub(1) == 1) {
            m_descriptors.close(*folder);
            auto* parent = static_cast<ScanFolder*>(folder->parent);
            delete folder;
            folder = parent;
        }
    }

    const int m_root;
    const bool m_inodesLast = hasLastingInodes(m_root);
    const std::stop_token m_stop;
    const IsWanted& m_isWanted;
    DescriptorCache m_descriptors;
    WorkStack<ScanTask> m_tasks;
    std::vector<ScannedEntry> m_results;
    std::atomic<bool> m_hasGaps = false;  ///< some results have lost their names
};

}  // namespace

bool ScannedEntry::isDirectory() const {
    return S_ISDIR(mode);
}

Result<std::vector<ScannedEntry>> scanTree(const FileUrl& folder, std::stop_token stop,
                                           const IsWanted& isWanted) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
    UniqueFd root(openQuietly(AT_FDCWD, folder.path().c_str(), kFlags));
    if (!root) return errorFromErrno(errno, HostAccess::Read);
    Scanner scanner(root.get(), std::move(stop), isWanted);
    if (auto error = scanner.listFirstLevel()) return *std::move(error);
    return scanner.scan();
}

}  // namespace kestrin
