// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// Ends the fuzzer with what it was given when that does not hold.
inline void require(bool condition) {
    if (!condition) std::abort();
}
