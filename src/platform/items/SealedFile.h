// SPDX-License-Identifier: GPL-3.0-or-later
// Bytes in a file that exists in memory alone, handed from one process to another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Result.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// A memory file (memfd_create(2)) that holds `bytes` and is sealed against writing, growing and
/// shrinking: whoever gets the descriptor may read it without it changing. Errors: errorFromErrno
/// with Write, such as ENOMEM.
Result<UniqueFd> sealedFile(std::string_view bytes);

/// The size of a memory file of another process that nobody can write, grow or shrink any more.
/// Errors: EINVAL for anything else; EFBIG above `maximum`.
Result<std::uint64_t> sizeOfSealedFile(int fd, std::size_t maximum);

/// The bytes of such a file, read from its beginning wherever its position is. Errors: as
/// sizeOfSealedFile, and of reading.
Result<std::string> readSealedFile(int fd, std::size_t maximum);

}  // namespace kestrin
