// SPDX-License-Identifier: GPL-3.0-or-later
// Makes locations of what the user typed as paths, byte for byte.
#pragma once

#include <optional>
#include <string>

#include "base/FileUrl.h"

namespace kestrin {

/// The location of a path. A relative path begins at the working directory. Nothing is resolved:
/// links, "." and ".." stay. None for a relative path when there is no working directory.
std::optional<FileUrl> locationOfPath(const std::string& path);

/// The same for a path, and for a location as JSON has it, "file:///…". None for a location that
/// cannot be understood.
std::optional<FileUrl> locationOfOperand(const std::string& operand);

/// The location with every link resolved; none when nothing is there.
std::optional<FileUrl> resolved(const FileUrl& location);

}  // namespace kestrin
