// SPDX-License-Identifier: GPL-3.0-or-later
// How the kernel and fstab(5) write tables of mounts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrin {

/// The pieces of `text` between single separators; empty pieces count.
std::vector<std::string_view> splitAt(char separator, std::string_view text);

/// The bytes behind `\040` and the like; a backslash without three octal digits stays.
std::string unescapeOctal(std::string_view text);

}  // namespace kestrin
