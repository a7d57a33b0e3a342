// SPDX-License-Identifier: GPL-3.0-or-later
// The entries of an open folder in large pieces, straight from getdents64(2).
#pragma once

#include <dirent.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace kestrin {

/// One entry inside a DirectoryStream's buffer; valid until the next piece is read.
struct RawEntry {
    std::uint64_t inode;
    unsigned char type;  ///< DT_…; DT_UNKNOWN on file systems that do not tell
    const char* name;
};

/// Reads folders piece by piece into one buffer that is used again; a folder of a million entries
/// takes no more memory than one of a thousand. One thread at a time.
class DirectoryStream {
 public:
    static constexpr std::size_t kBufferSize = 256 * 1024;

    /// Fills `entries` with the next piece of the folder, without "." and "..", ordered by inode
    /// (the order in which a disk likes to be asked about them) when `sorted`. False with errno 0
    /// at the end, with another errno on failure.
    bool read(int folder, std::vector<RawEntry>& entries, bool sorted = true) {
        entries.clear();
        while (entries.empty()) {
            const ssize_t length = getdents64(folder, m_buffer.get(), kBufferSize);
            if (length <= 0) {
                if (length == 0) errno = 0;
                return false;
            }
            collect(length, entries);
        }
        if (sorted) {
            std::sort(entries.begin(), entries.end(),
                      [](const RawEntry& a, const RawEntry& b) { return a.inode < b.inode; });
        }
        return true;
    }

 private:
    void collect(ssize_t length, std::vector<RawEntry>& entries) const {
        for (ssize_t at = 0; at < length;) {
            const auto* entry = reinterpret_cast<const dirent64*>(m_buffer.get() + at);
            at += entry->d_reclen;
            if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0) continue;
            entries.push_back({entry->d_ino, entry->d_type, entry->d_name});
        }
    }

    std::unique_ptr<char[]> m_buffer = std::make_unique<char[]>(kBufferSize);
};

}  // namespace kestrin
