// SPDX-License-Identifier: GPL-3.0-or-later
// Writing to a descriptor to the last byte.
#pragma once

#include <string_view>

namespace kestrin {

/// Writes all of `bytes`, however many calls that takes. False with errno when the rest cannot be
/// written. Thread: any.
bool writeAll(int descriptor, std::string_view bytes);

}  // namespace kestrin
