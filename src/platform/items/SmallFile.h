// SPDX-License-Identifier: GPL-3.0-or-later
// Whole small files, read without trusting what they are, and taken away.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "base/FileUrl.h"
#include "base/Result.h"

namespace kestrin {

enum class LastLink {
    Refuse,  ///< a link at the last component is not read: for files that strangers may have put
             ///< there
    Follow,  ///< for files of the system and of the user's own settings
};

/// The bytes of a regular file of at most `maximumBytes`. None for anything else (a FIFO or device
/// is neither waited for nor touched), a larger file, and one that cannot be read.
std::optional<std::string> readSmallFile(const FileUrl& file, std::size_t maximumBytes,
                                         LastLink link);

/// Removes a file, or a link itself; never a folder. Errors: those of unlink(2), by errorFromErrno.
MaybeError removeFile(const FileUrl& file);

}  // namespace kestrin
