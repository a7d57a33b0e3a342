// SPDX-License-Identifier: GPL-3.0-or-later
// What kind of thing an item is. Its name and type alone tell it: nothing is opened.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kestrin {

/// True when a folder with this extension (any case, without the full stop) is a package: shown and
/// counted as one thing.
bool isBundleExtension(std::string_view extension);

struct ItemKind {
    std::string typeIdentifier;          ///< a MIME type name; "inode/…" for what is no file
    std::string description;             ///< in the user's language, UTF-8
    std::vector<std::string> iconNames;  ///< of theme icons, the best first
};

/// The kind of an item with the exact name `name` and the type bits of `mode` (stat(2)), by the
/// shared MIME database. A file whose name tells nothing is "application/octet-stream". Thread:
/// any.
ItemKind kindOfItem(std::string_view name, std::uint32_t mode);
/// Its type identifier alone, which costs microseconds.
std::string typeOfItem(std::string_view name, std::uint32_t mode);
/// The other names of a type in the MIME database; databases differ in which of them is the name.
/// Thread: any.
std::vector<std::string> aliasesOfType(const std::string& typeIdentifier);
/// Whether a type is plain text with a meaning of its own (source code, XML, settings): the MIME
/// database derives it from "text/plain". Thread: any.
bool isPlainTextType(const std::string& typeIdentifier);

}  // namespace kestrin
