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

/// Raster images, by the image plug-ins of Qt that are installed: see decodeImageOf.
std::optional<Preview> decodeImage(InputFile& file, const DecodeRequest& request);

/// A drawing in SVG, packed or not, as large as the box allows; drawn without anything that it
/// refers to outside itself. Errors: TooLarge for a text or a number of elements out of bounds.
std::optional<Preview> decodeSvg(InputFile& file, const DecodeRequest& request);

/// The page asked for of a PDF file, as large as the box allows; the last page when there are
/// fewer. Its natural size is in points. What takes too long to draw is shown as far as it came, as
/// partial. Errors: Encrypted for a file that wants a password.
std::optional<Preview> decodePdf(InputFile& file, const DecodeRequest& request);

/// A thumbnail that a program left in the desktop's cache, with what it says it was made of. None
/// for anything but a PNG. Source: FreeDesktop.org thumbnail managing standard, "Thumbnail
/// attributes".
std::optional<Preview> decodeCachedThumbnail(InputFile& file, const DecodeRequest& request);

/// The names and sizes of what is in an archive, or of what a compressed file holds, by libarchive.
/// Nothing is unpacked.
/// Shapes: the first 1,000 entries in the order of the archive; entryCount and contentSize of all,
///         or of as many as were counted within the bounds (isPartial).
/// Errors: Encrypted when the names are; TooSlow; Damaged. What breaks off shows what there is.
std::optional<Preview> decodeArchive(InputFile& file, const DecodeRequest& request);

/// A sheet of samples drawn with a font's own glyphs, in the size of the box: black on white; two
/// letters where the box is small. Each face of a collection is a page. The title is the name of
/// the family and the style.
std::optional<Preview> decodeFont(InputFile& file, const DecodeRequest& request);

/// The picture that a document in a zip archive holds of itself, such as OpenDocument and Office
/// Open XML. Kind None without a fault for a document, by the type of the request, that has none.
std::optional<Preview> decodeOfficeThumbnail(InputFile& file, const DecodeRequest& request);

/// The first megabyte of a text, in whatever encoding its byte order mark, its validity as UTF-8 or
/// its statistics (ICU) tell. Whether it is text goes by the share of what no text has.
/// Shapes: lines end with line feeds; what does not appear by itself, such as controls and marks
///         that steer the direction of text, is replaced by what shows it; a line of more than
///         10,000 characters is cut and ends with "…" (isPartial).
std::optional<Preview> decodeText(InputFile& file, const DecodeRequest& request);

}  // namespace kestrin
