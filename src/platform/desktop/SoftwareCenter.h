// SPDX-License-Identifier: GPL-3.0-or-later
// The desktop's own program that shows, installs and updates others.
#pragma once

#include <string_view>

namespace kestrin {

/// Whether the address "appstream://`identifier`" leads somewhere: a program for such addresses is
/// installed, and so is the description of `identifier` from which it knows it. Thread: any.
/// Source: AppStream specification 1.0, upstream metadata; FreeDesktop.org MIME applications
/// associations, the MIME cache.
bool softwareCenterKnows(std::string_view identifier);

}  // namespace kestrin
