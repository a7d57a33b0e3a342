// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fcntl.h>
#include <sys/resource.h>

#include <vector>

#include "platform/items/UniqueFd.h"

namespace kestrin::test {

/// Leaves the process few descriptors while it lives, most of them taken.
class FewDescriptors {
 public:
    FewDescriptors() {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit few{64, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
        constexpr int kFree = 12;  // fewer than the folders that would be kept open
        for (int last = 0; last < 64 - kFree; last = m_taken.back().get())
            m_taken.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    }
    ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &m_before); }

 private:
    rlimit m_before{};
    std::vector<UniqueFd> m_taken;
};

}  // namespace kestrin::test
