// SPDX-License-Identifier: GPL-3.0-or-later
// The eight classic labels, by which people colour their files, and which of them an item has.
// Thread: any.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "base/FileUrl.h"
#include "platform/items/FinderInformation.h"

namespace kestrin {

struct FileLabel {
    std::string_view name;    ///< the tag in English, small letters, that gives it
    std::uint32_t color = 0;  ///< 0xRRGGBB; black for no label
};

/// By number: 0 is no label, 1 to 7 are the colours.
inline constexpr std::array<FileLabel, 8> kFileLabels{{{"none", 0x000000},
                                                       {"grey", 0x8b8f94},
                                                       {"green", 0x57b34f},
                                                       {"purple", 0xa161c9},
                                                       {"blue", 0x3d8fe0},
                                                       {"yellow", 0xe9bd14},
                                                       {"red", 0xe0483f},
                                                       {"orange", 0xf08a24}}};

/// The label of the item at the path; 0 when it has none or cannot be read. No link is followed:
/// links have no label.
/// Source: the freedesktop.org common extended attributes ("user.xdg.tags"), whose first tag with
/// the name of a label counts; without one, the Finder information that file servers keep.
std::int8_t fileLabelOf(const FileUrl& item);

/// The label that a list of tags, joined by commas, gives: that of the first tag which names one,
/// whatever its case. None when no tag does.
std::optional<std::int8_t> fileLabelFromTags(std::string_view tags);
/// The label that three bits of the flags number.
std::int8_t fileLabelFromFinderInformation(const FinderInformation& information);

}  // namespace kestrin
