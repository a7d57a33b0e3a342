// SPDX-License-Identifier: GPL-3.0-or-later
// Root's powers, one by one.
#pragma once

#include <cstdint>

namespace kestrin {

/// Takes every capability but those of `kept` (bits by the numbers of capabilities(7)) from this
/// thread and from whatever it executes. False with errno when the kernel refuses. To be called
/// while there is one thread.
bool keepCapabilities(std::uint64_t kept);

/// Whether this thread has the capability of that number in effect.
bool hasCapability(unsigned number);

}  // namespace kestrin
