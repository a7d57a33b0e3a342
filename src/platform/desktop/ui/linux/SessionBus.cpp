// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdlib>

#include "platform/desktop/ui/SingleInstance.h"
#include "platform/processes/LivingBus.h"

namespace kestrin {

bool ensureLivingSessionBus(std::chrono::milliseconds timeout) {
    constexpr char kAddressVariable[] = "DBUS_SESSION_BUS_ADDRESS";
    const char* address = std::getenv(kAddressVariable);
    if (busAnswers(address ? address : "", timeout)) return true;
    // An address, since without one the library would start a bus or look for another.
    ::setenv(kAddressVariable, "unix:path=/dev/null", 1);
    return false;
}

}  // namespace kestrin
