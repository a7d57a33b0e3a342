// SPDX-License-Identifier: GPL-3.0-or-later
// The pictures that the programs of the desktop keep of files. The program reads them through the
// preview decoder, writes none, and removes those of what it erased.
// Source: FreeDesktop.org Thumbnail Managing Standard 0.9.
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/FileUrl.h"

namespace kestrin {

/// A file that the cache would have.
struct CachedThumbnail {
    FileUrl file;
    int side = 0;  ///< pixels of the square that it fits into
};

/// The location as thumbnailers spell it, who escape fewer bytes than FileUrl does; "Thumb::URI" of
/// a picture is that spelling, and its file's name is made of it.
std::string thumbnailUri(const FileUrl& item);

/// The cache's folder, which need not be there.
FileUrl thumbnailCacheFolder();

/// Where the cache keeps the pictures of an item, the smallest first. Asks no disk.
std::vector<CachedThumbnail> cachedThumbnailsOf(const FileUrl& item);

/// The cached pictures of entries of trashes that were erased. An erased file must not live on as a
/// picture of it, and who deletes a file is asked to remove these, too. Thread: any.
class ErasedThumbnails {
 public:
    ErasedThumbnails() = default;
    /// Removes what is left to remove.
    ~ErasedThumbnails() { remove(); }
    ErasedThumbnails(const ErasedThumbnails&) = delete;
    ErasedThumbnails& operator=(const ErasedThumbnails&) = delete;

    /// The entry has gone from its trash folder `files`. Its pictures go soon after, or with
    /// `remove`, whether they were made of its path or of its location in "trash:///".
    void add(const FileUrl& files, std::string_view name);
    /// Removes the pictures of all that were added, of every size, and the notes of thumbnailers
    /// that failed. No link in the cache is followed. What cannot be removed stays.
    void remove();

 private:
    const std::string m_homeTrash = homeTrashFiles();
    static std::string homeTrashFiles();
    std::mutex m_lock;
    std::unordered_set<std::string> m_names;  ///< of files in the cache's folders, under the lock
};

}  // namespace kestrin
