// SPDX-License-Identifier: GPL-3.0-or-later
// Whether the privileged helper may be used.
#pragma once

#include <atomic>

namespace kestrin {

/// The outcome of installing the privileged helper; set once, at launch.
extern std::atomic<bool> gIsHelperAuthorized;

/// Thread: any.
bool IsHelperAuthorized();

}  // namespace kestrin
