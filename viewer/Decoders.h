// SPDX-License-Identifier: GPL-3.0-or-later
// What files look like: one function a kind, each in a file of its own. Nothing here opens, writes
// or asks for anything but the file it was handed; everything here is bounded in memory, and in
// time by whoever runs it.
#pragma once

#include "viewer/InputFile.h"
#include "viewer/ViewerProtocol.h"

namespace kestrin {

/// The preview of a file of any kind. The kinds that the type of the request hints at come first,
/// then all others by the file's content. A file that nothing knows has kind None and no fault.
/// Thread: main; one at a time.
Preview decode(InputFile& file, const DecodeRequest& request);

// Each of these returns none when the file is not of its kind, and kind None with a fault when it
// is, but cannot be shown.

/// The names and sizes of what is in an archive, or of what a compressed file holds, by libarchive.
/// Nothing is unpacked.
/// Shapes: the first 1,000 entries in the order of the archive; entryCount and contentSize of all
///         that were counted within the bounds, isPartial when there is more.
/// Errors: Encrypted when the names are; TooSlow; Damaged. What breaks off shows what there is.
std::optional<Preview> decodeArchive(InputFile& file, const DecodeRequest& request);

/// The first megabyte of a text, in whatever encoding its byte order mark, its validity as UTF-8 or
/// its statistics (ICU) tell. Whether it is text goes by the share of what no text has.
/// Shapes: lines end with line feeds; what does not appear by itself, such as controls and marks
///         that steer the direction of text, is replaced by what shows it; a line of more than
///         10,000 characters is cut and ends with "…" (isPartial).
std::optional<Preview> decodeText(InputFile& file, const DecodeRequest& request);

}  // namespace kestrin
