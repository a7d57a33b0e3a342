// SPDX-License-Identifier: GPL-3.0-or-later
// Memory files that came over the bus.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/Result.h"

namespace kestrin {

/// The size of a memory file (memfd_create(2)) that nobody can write, grow or shrink any more.
/// Errors: EINVAL for anything else; EFBIG above `maximum`.
Result<std::uint64_t> sizeOfSealedFile(int fd, std::size_t maximum);

/// The bytes of such a file, read from its beginning wherever its position is. Errors: as
/// sizeOfSealedFile, and of reading.
Result<std::string> readSealedFile(int fd, std::size_t maximum);

}  // namespace kestrin
