// SPDX-License-Identifier: GPL-3.0-or-later
// An archive that is read and never unpacked, within bounds of time. No other file is opened and no
// program started, whatever the archive says.
#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <locale.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>

#include "viewer/InputFile.h"

namespace kestrin {

inline constexpr std::size_t kLongestEntryName = 4096;  ///< bytes

enum class ArchiveKinds {
    Any,  ///< every format that needs no other file, also compressed, and single compressed files
    SingleFile,  ///< a compressed one alone
    Zip,
    ZipFromItsStart,  ///< without its directory, which may be too long to read
};

/// The entries of an archive, one after the other. Thread: one.
class BoundedArchive {
 public:
    /// `file` must outlive it. What comes later than `time` from now counts as unreadable. While it
    /// lives the thread's characters are those of UTF-8, as the names that it converts need.
    BoundedArchive(InputFile& file, ArchiveKinds kinds, std::chrono::milliseconds time);
    ~BoundedArchive();
    BoundedArchive(const BoundedArchive&) = delete;
    BoundedArchive& operator=(const BoundedArchive&) = delete;

    /// Goes to the next entry. False at the end and when nothing more can be read.
    bool next();
    /// Whether next() came to the end, rather than to something unreadable.
    bool isAtEnd() const { return m_isAtEnd; }
    bool isOutOfTime() const;
    /// Whether next() could not read on because the names are encrypted.
    bool hasHiddenNames() const;
    /// Whether it is one compressed file and no archive.
    bool isSingleFile() const;
    /// Whether the file as a whole is compressed, so that passing over an entry decompresses it.
    bool isCompressed() const;
    /// Whether it is, and by a signature that nothing else has by chance.
    bool isSurelyCompressed() const;

    // The entry that next() went to:

    /// Exact bytes as the archive has them, or UTF-8 made of its own encoding; cut after
    /// kLongestEntryName bytes.
    std::string name() const;
    bool isFolder() const;
    std::uint64_t size() const;  ///< bytes; 0 when the archive does not tell
    bool hasSize() const;
    /// Reads the content up to `most` bytes, and keeps it in `content` unless that is nullptr.
    /// Gives the number of bytes read: fewer than there are at the limits and when it is damaged.
    std::uint64_t readContent(std::uint64_t most, std::string* content = nullptr);

 private:
    void support(ArchiveKinds kinds);
    static la_ssize_t readBlock(archive* a, void* self, const void** block);
    static la_int64_t skipBytes(archive* a, void* self, la_int64_t bytes);
    static la_int64_t seekTo(archive* a, void* self, la_int64_t offset, int whence);

    InputFile& m_file;
    const std::chrono::steady_clock::time_point m_end;
    const locale_t m_utf8;
    const locale_t m_localeBefore;
    archive* const m_archive;
    archive_entry* m_entry = nullptr;
    std::uint64_t m_offset = 0;  ///< of the file's byte to be read next
    std::array<char, 16 << 10> m_block{};
    bool m_isOpen = false;  ///< false: of the library's object hardly anything may be asked
    bool m_isAtEnd = false;
};

}  // namespace kestrin
