// SPDX-License-Identifier: GPL-3.0-or-later
// The pictures that the programs of the desktop keep of files. The program reads them through the
// preview decoder, writes none, and removes those of what it erased.
// Source: FreeDesktop.org Thumbnail Managing Standard 0.9.
#pragma once

#include <array>
#include <string>
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

}  // namespace kestrin
