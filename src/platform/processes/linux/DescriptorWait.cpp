// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/DescriptorWait.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <vector>

namespace kestrin {

using namespace std::chrono;

DescriptorWait::DescriptorWait() : m_wakes(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void DescriptorWait::wake() {
    ::eventfd_write(m_wakes.get(), 1);
}

void DescriptorWait::wait(std::span<const int> descriptors,
                          std::optional<steady_clock::time_point> until) {
    std::vector<pollfd> all{{m_wakes.get(), POLLIN, 0}};
    for (const int descriptor : descriptors)
        all.push_back({descriptor, POLLIN, 0});
    milliseconds limit = m_wakes ? milliseconds(-1) : milliseconds(100);
    if (until) {
        // Rounded up: a wait that ends before its time would be begun again at once.
        const auto left = std::clamp<nanoseconds>(*until - steady_clock::now(), 0s, hours(1));
        const auto whole = ceil<milliseconds>(left);
        limit = m_wakes ? whole : std::min(whole, limit);
    }
    ::poll(all.data(), all.size(), static_cast<int>(limit.count()));
    eventfd_t count = 0;
    ::eventfd_read(m_wakes.get(), &count);
}

}  // namespace kestrin
