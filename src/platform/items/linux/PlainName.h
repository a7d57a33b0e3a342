// SPDX-License-Identifier: GPL-3.0-or-later
// What may be handed to a system call as the name of an entry of an open folder.
#pragma once

#include <string_view>

namespace kestrin {

/// One component that names an entry: not empty, not "." or "..", without slash and NUL.
inline bool isPlainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == name.npos &&
           name.find('\0') == name.npos;
}

}  // namespace kestrin
