// SPDX-License-Identifier: GPL-3.0-or-later
// What is said of a preview in words. Thread: any.
#pragma once

#include <QString>

namespace kestrin {

class QVNumberUtilities;
class StringTable;
enum class PreviewFault : std::uint32_t;
struct Preview;

/// The line under the content: pixels of a picture, page of a document, title, artist and duration
/// of music, encoding of a text, how many of the entries are shown. It is empty where nothing is to
/// be told, and fit to be read whatever the file says of itself.
QString previewCaption(const Preview& preview, const StringTable& texts,
                       const QVNumberUtilities& numbers);

/// How many entries a folder or an archive holds, and what they take together; "at least" so much
/// where the count was ended before all were seen.
QString previewTotals(const Preview& preview, const StringTable& texts,
                      const QVNumberUtilities& numbers);

/// One sentence that says why there is no preview; empty for an item of a kind that has none.
QString previewFaultText(PreviewFault fault, bool isFolder, const StringTable& texts);

}  // namespace kestrin
