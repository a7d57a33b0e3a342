// SPDX-License-Identifier: GPL-3.0-or-later
// Archives made in memory.
#pragma once

#include <archive.h>
#include <archive_entry.h>

#include <string>
#include <vector>

namespace kestrin::test {

struct Content {
    std::string name;
    std::string bytes;
};

inline std::string archiveOf(const std::vector<Content>& contents, int (*format)(archive*),
                             int (*filter)(archive*) = archive_write_add_filter_none) {
    std::size_t size = 1 << 20;
    for (const auto& [name, bytes] : contents)
        size += 4096 + 2 * name.size() + bytes.size();
    std::string written(size, '\0');
    archive* const a = archive_write_new();
    format(a);
    filter(a);
    archive_write_set_bytes_in_last_block(a, 1);
    archive_write_open_memory(a, written.data(), written.size(), &size);
    archive_entry* const entry = archive_entry_new();
    for (const auto& [name, bytes] : contents) {
        archive_entry_clear(entry);
        archive_entry_copy_pathname(entry, name.c_str());
        archive_entry_set_filetype(entry, name.ends_with('/') ? AE_IFDIR : AE_IFREG);
        archive_entry_set_perm(entry, 0644);
        archive_entry_set_size(entry, static_cast<la_int64_t>(bytes.size()));
        archive_write_header(a, entry);
        archive_write_data(a, bytes.data(), bytes.size());
    }
    archive_entry_free(entry);
    archive_write_free(a);
    return written.substr(0, size);
}

}  // namespace kestrin::test
