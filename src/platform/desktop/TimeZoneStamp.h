// SPDX-License-Identifier: GPL-3.0-or-later
// Noticing that the host has been given another time zone.
#pragma once

#include <array>
#include <cstdint>

namespace kestrin {

/// What identifies the file of the host's time zone: two stamps differ when the zone was set anew
/// between them. All zeros while there is no such file. Asks for the status of one file. Thread:
/// any.
std::array<std::int64_t, 4> timeZoneStamp();

}  // namespace kestrin
