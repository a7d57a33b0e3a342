// SPDX-License-Identifier: GPL-3.0-or-later
// What the user may do with an item, asked without opening or changing anything.
#pragma once

#include <string>

#include "base/FileUrl.h"

namespace kestrin {

/// 0 when something exists at `path`, links followed; else the errno of access(2) with F_OK.
int existenceError(const std::string& path);

/// True for a regular file that this process may not write to and whose mode it cannot change,
/// being neither its owner nor root. False for everything else: folders, links, FIFOs, sockets,
/// devices, absent items, and files whose writing is refused for another reason than their
/// permissions.
bool isWritingDeniedForGood(const FileUrl& item);

}  // namespace kestrin
