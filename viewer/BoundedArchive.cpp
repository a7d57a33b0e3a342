// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/BoundedArchive.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace kestrin {
namespace {

/// Compressed files that are known by a signature, so that nothing else is taken for one.
constexpr std::array kSureFilters = {
    ARCHIVE_FILTER_GZIP, ARCHIVE_FILTER_BZIP2, ARCHIVE_FILTER_XZ,      ARCHIVE_FILTER_ZSTD,
    ARCHIVE_FILTER_LZ4,  ARCHIVE_FILTER_LZIP,  ARCHIVE_FILTER_COMPRESS};

}  // namespace

BoundedArchive::BoundedArchive(InputFile& file, ArchiveKinds kinds, std::chrono::milliseconds time)
    : m_file(file),
      m_end(std::chrono::steady_clock::now() + time),
      m_utf8(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)),
      m_localeBefore(m_utf8 ? uselocale(m_utf8) : nullptr),
      m_archive(archive_read_new()) {
    support(kinds);
    archive_read_set_callback_data(m_archive, this);
    archive_read_set_read_callback(m_archive, readBlock);
    archive_read_set_skip_callback(m_archive, skipBytes);
    archive_read_set_seek_callback(m_archive, seekTo);
    m_isOpen = archive_read_open1(m_archive) == ARCHIVE_OK;
}

BoundedArchive::~BoundedArchive() {
    archive_read_free(m_archive);
    if (!m_utf8) return;
    uselocale(m_localeBefore);
    freelocale(m_utf8);
}

void BoundedArchive::support(ArchiveKinds kinds) {
    if (kinds == ArchiveKinds::Zip) {
        archive_read_support_format_zip_seekable(m_archive);
        return;
    }
    if (kinds == ArchiveKinds::ZipFromItsStart) {
        archive_read_support_format_zip_streamable(m_archive);
        return;
    }
    archive_read_support_format_raw(m_archive);
    // Not among these: the filters that are programs, and uuencoded data, which any text may hold.
    for (const auto filter :
         {archive_read_support_filter_bzip2, archive_read_support_filter_compress,
          archive_read_support_filter_gzip, archive_read_support_filter_lz4,
          archive_read_support_filter_lzip, archive_read_support_filter_lzma,
          archive_read_support_filter_rpm, archive_read_support_filter_xz,
          archive_read_support_filter_zstd}) {
        filter(m_archive);
    }
    if (kinds == ArchiveKinds::SingleFile) return;
    // Nor is mtree, which describes other files.
    for (const auto format : {archive_read_support_format_7zip, archive_read_support_format_ar,
                              archive_read_support_format_cab, archive_read_support_format_cpio,
                              archive_read_support_format_iso9660, archive_read_support_format_lha,
                              archive_read_support_format_rar, archive_read_support_format_rar5,
                              archive_read_support_format_tar, archive_read_support_format_warc,
                              archive_read_support_format_xar, archive_read_support_format_zip}) {
        format(m_archive);
    }
}

la_ssize_t BoundedArchive::readBlock(archive* a, void* self, const void** block) {
    auto& me = *static_cast<BoundedArchive*>(self);
    if (me.isOutOfTime()) {
        archive_set_error(a, ETIMEDOUT, "Out of time");
        return -1;
    }
    const std::size_t length = me.m_file.readAt(me.m_offset, me.m_block);
    me.m_offset += length;
    *block = me.m_block.data();
    return static_cast<la_ssize_t>(length);
}

la_int64_t BoundedArchive::skipBytes(archive* /*a*/, void* self, la_int64_t bytes) {
    auto& me = *static_cast<BoundedArchive*>(self);
    const std::uint64_t rest = me.m_file.size() - std::min(me.m_offset, me.m_file.size());
    const auto skipped = std::min(static_cast<std::uint64_t>(std::max<la_int64_t>(bytes, 0)), rest);
    me.m_offset += skipped;
    return static_cast<la_int64_t>(skipped);
}

la_int64_t BoundedArchive::seekTo(archive* /*a*/, void* self, la_int64_t offset, int whence) {
    auto& me = *static_cast<BoundedArchive*>(self);
    const auto size = static_cast<la_int64_t>(me.m_file.size());
    la_int64_t base = 0;
    if (whence == SEEK_CUR) base = static_cast<la_int64_t>(me.m_offset);
    if (whence == SEEK_END) base = size;
    if (offset < -base || offset > size - base) return ARCHIVE_FATAL;
    me.m_offset = static_cast<std::uint64_t>(base + offset);
    return base + offset;
}

bool BoundedArchive::next() {
    if (!m_isOpen || isOutOfTime()) return false;
    const int status = archive_read_next_header(m_archive, &m_entry);
    m_isAtEnd = status == ARCHIVE_EOF;
    // A warning is about what lists do not show.
    return status == ARCHIVE_OK || status == ARCHIVE_WARN;
}

bool BoundedArchive::isOutOfTime() const {
    return std::chrono::steady_clock::now() >= m_end;
}

bool BoundedArchive::hasHiddenNames() const {
    if (!m_isOpen) return false;
    // The names of a zip are in the clear, also when the entries are encrypted.
    const bool isZip = (archive_format(m_archive) & ARCHIVE_FORMAT_BASE_MASK) == ARCHIVE_FORMAT_ZIP;
    return !isZip && archive_read_has_encrypted_entries(m_archive) > 0;
}

bool BoundedArchive::isSingleFile() const {
    return m_isOpen && archive_format(m_archive) == ARCHIVE_FORMAT_RAW;
}

bool BoundedArchive::isCompressed() const {
    return m_isOpen && archive_filter_count(m_archive) > 1;
}

bool BoundedArchive::isSurelyCompressed() const {
    return isCompressed() &&
           std::ranges::find(kSureFilters, archive_filter_code(m_archive, 0)) != kSureFilters.end();
}

std::string BoundedArchive::name() const {
    const char* name = archive_entry_pathname(m_entry);
    if (!name) name = archive_entry_pathname_utf8(m_entry);
    return std::string(std::string_view(name ? name : "\xEF\xBF\xBD").substr(0, kLongestEntryName));
}

bool BoundedArchive::isFolder() const {
    return archive_entry_filetype(m_entry) == AE_IFDIR;
}

bool BoundedArchive::hasSize() const {
    return archive_entry_size_is_set(m_entry) != 0;
}

std::uint64_t BoundedArchive::size() const {
    return static_cast<std::uint64_t>(std::max<la_int64_t>(archive_entry_size(m_entry), 0));
}

std::uint64_t BoundedArchive::readContent(std::uint64_t most, std::string* content) {
    std::uint64_t total = 0;
    while (total < most && !isOutOfTime()) {
        const void* block = nullptr;
        std::size_t length = 0;
        la_int64_t offset = 0;  // not used: a hole in a sparse file is left out
        const int status = archive_read_data_block(m_archive, &block, &length, &offset);
        if (status != ARCHIVE_OK && status != ARCHIVE_WARN) break;
        const auto taken = std::min<std::uint64_t>(length, most - total);
        if (content) content->append(static_cast<const char*>(block), taken);
        total += taken;
    }
    return total;
}

}  // namespace kestrin
