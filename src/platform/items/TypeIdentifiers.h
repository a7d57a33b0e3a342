// SPDX-License-Identifier: GPL-3.0-or-later
// The three questions that the system answers about types. A type identifier is a MIME type name of
// the shared MIME database. Thread: any.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestrin {

enum class TagClass : std::uint8_t {
    Extension = 0,  ///< of a file name, without the full stop; any case
    TypeCode = 1,   ///< the four characters of a classic file type, "PDF " with its blank
};

/// The type of files that have the tag; none when nothing tells.
std::optional<std::string> typeForTag(TagClass tagClass, std::string_view tag);

/// What such files are called, in the user's language and in UTF-8. None when the database has no
/// description of the type.
std::optional<std::string> descriptionOfType(std::string_view type);

/// The extension that names of such files are usually given ("jpg", "tar.gz"); none when the
/// database has none.
std::optional<std::string> preferredExtensionOfType(std::string_view type);

}  // namespace kestrin
