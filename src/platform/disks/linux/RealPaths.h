// SPDX-License-Identifier: GPL-3.0-or-later
// Paths as the disk resolves them. Every question here can hang with the volume asked about.
#pragma once

#include <optional>
#include <string>

#include "base/FileUrl.h"

namespace kestrin {

/// The path with every link resolved; none when it does not lead to something that exists.
std::optional<std::string> realPath(const std::string& path);

/// The path of the item itself with every link above it resolved. The item is not resolved when it
/// is a link. None when it is absent.
std::optional<std::string> realPathOfItem(const FileUrl& item);

/// The real path of `path`, or of the nearest folder above it that exists.
std::string realPathOfNearestExisting(const std::string& path);

}  // namespace kestrin
