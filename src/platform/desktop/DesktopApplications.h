// SPDX-License-Identifier: GPL-3.0-or-later
// The programs that the desktop knows, by the id of their desktop entries.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/FileUrl.h"

namespace kestrin {

/// The desktop entry with the id `identifier`, with or without ".desktop": the first in the
/// `applications` folders. A "-" in the id may stand for a subfolder, after the FreeDesktop.org
/// desktop entry specification. The answer is none when there is no such entry, and when the first
/// one is marked Hidden, which is how a user hides an entry of the system.
std::optional<FileUrl> desktopEntryWithId(std::string_view identifier);

}  // namespace kestrin
