// SPDX-License-Identifier: GPL-3.0-or-later
// What can be said of a path by its bytes alone. The disk is asked elsewhere, by descriptors.
#pragma once

#include <string_view>

namespace kestrin {

/// Whether nothing in the path needs interpreting: it is absolute, and every component is a name of
/// 1 to 255 bytes, not "." or "..", without NUL. No slash at the end. Any length.
bool isPlainPath(std::string_view path);

/// What stands below `folder` in `path`, without a slash at either end; empty when `path` is not
/// below it. Both are plain paths.
std::string_view partBelow(std::string_view path, std::string_view folder);

/// Takes the first component, and the slash behind it, off a part of a plain path.
std::string_view takeComponent(std::string_view& part);

/// The path up to its last slash, and the name behind it.
struct SplitPath {
    std::string_view folder;
    std::string_view name;
};
SplitPath splitPath(std::string_view path);

/// How many components a plain path has.
std::size_t depthOf(std::string_view path);

}  // namespace kestrin
