// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/AnswerWithin.h"

#include <system_error>
#include <thread>

namespace kestrin {

bool runAbandoned(std::function<void()> work) {
    try {
        std::thread(std::move(work)).detach();
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

}  // namespace kestrin
