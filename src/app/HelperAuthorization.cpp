// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/HelperAuthorization.h"

namespace kestrin {

std::atomic<bool> gIsHelperAuthorized = false;

bool IsHelperAuthorized() {
    return gIsHelperAuthorized;
}

}  // namespace kestrin
