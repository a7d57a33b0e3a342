// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Result.h"

namespace kestrin {

std::string HostError::localizedDescription() const {
    if (const auto text = userInfo.find("errorString"); text != userInfo.end()) return text->second;
    return domain + " " + std::to_string(code);
}

}  // namespace kestrin
