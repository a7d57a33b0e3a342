// SPDX-License-Identifier: GPL-3.0-or-later
// What another system's file manager notes of a file: its four-character type and creator codes and
// its flags. They reach a Linux disk by the file servers that keep them in an extended attribute.
// Thread: any.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/FileUrl.h"

namespace kestrin {

/// A code of four characters, the first in the highest byte: "JPEG" is 0x4A504547. 0 is no code.
using OSType = std::uint32_t;

/// The code that the characters write; 0 when they are not exactly four.
constexpr OSType typeCodeOf(std::string_view characters) {
    OSType code = 0;
    if (characters.size() != sizeof(OSType)) return code;
    for (const char character : characters)
        code = code << 8 | static_cast<unsigned char>(character);
    return code;
}

/// The first 16 of the 32 bytes, in the byte order of this host.
struct FinderInformation {
    OSType fileType = 0;
    OSType fileCreator = 0;
    std::uint16_t finderFlags = 0;
    std::int16_t verticalLocation = 0;
    std::int16_t horizontalLocation = 0;
    std::uint16_t reserved = 0;
    friend bool operator==(const FinderInformation&, const FinderInformation&) = default;
};
static_assert(sizeof(FinderInformation) == 16);

/// What is noted of the item at the path; all zero when nothing is, for links too, which are not
/// followed. None when the item cannot be asked, or has bytes that are no such information.
std::optional<FinderInformation> finderInformationOf(const FileUrl& item);

/// Reads the 32 bytes, which are big endian. None for any other number of bytes.
std::optional<FinderInformation> finderInformationFrom(std::string_view bytes);

}  // namespace kestrin
