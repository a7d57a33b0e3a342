// SPDX-License-Identifier: GPL-3.0-or-later
// What the user typed as a path, made a location. Exact bytes.
#pragma once

#include <optional>
#include <string>

#include "base/FileUrl.h"

namespace kestrin {

/// The location of a path, a relative one beginning at the working directory. Nothing is resolved:
/// links, "." and ".." stay. None when there is no working directory to begin at.
std::optional<FileUrl> locationOfPath(const std::string& path);

/// The same of a path, or of a location as JSON has it, "file:///…"; none for a location that
/// cannot be read.
std::optional<FileUrl> locationOfOperand(const std::string& operand);

/// The location with every link resolved; none when nothing is there.
std::optional<FileUrl> resolved(const FileUrl& location);

}  // namespace kestrin
