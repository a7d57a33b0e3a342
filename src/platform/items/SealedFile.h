// SPDX-License-Identifier: GPL-3.0-or-later
// Bytes in a file that exists in memory alone, to be handed to another process.
#pragma once

#include <string_view>

#include "base/Result.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// A memory file (memfd_create(2)) that holds `bytes` and is sealed against writing, growing and
/// shrinking: whoever gets the descriptor may read it without it changing. Errors: errorFromErrno
/// with Write, such as ENOMEM.
Result<UniqueFd> sealedFile(std::string_view bytes);

}  // namespace kestrin
