// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kestrin {

/// Whether this build reserves terabytes of address space for a sanitizer, so that no limit on
/// memory can hold.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kIsSanitizedBuild = true;
#elif defined(__has_feature)
inline constexpr bool kIsSanitizedBuild = __has_feature(address_sanitizer) ||
                                          __has_feature(thread_sanitizer) ||
                                          __has_feature(memory_sanitizer);
#else
inline constexpr bool kIsSanitizedBuild = false;
#endif

}  // namespace kestrin
