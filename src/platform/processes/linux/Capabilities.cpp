// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/Capabilities.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace kestrin {
namespace {

/// What a program that is executed could get back. Who may not drop one has none to drop.
bool boundCapabilities(std::uint64_t kept) {
    for (int capability = 0; capability < 64; ++capability) {
        if (kept >> capability & 1) continue;
        // EINVAL: the kernel knows no further ones.
        if (::prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) != 0 && errno != EINVAL) return false;
    }
    return true;
}

}  // namespace

bool keepCapabilities(std::uint64_t kept) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2]{};
    if (::syscall(SYS_capget, &header, data) != 0) return false;
    constexpr std::uint32_t kMayBound = 1u << CAP_SETPCAP;
    if ((data[0].effective & kMayBound) != 0 && !boundCapabilities(kept)) return false;
    ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
    for (unsigned half = 0; half < 2; ++half) {
        data[half].permitted &= static_cast<std::uint32_t>(kept >> (32 * half));
        data[half].effective = data[half].permitted;
        data[half].inheritable = 0;
    }
    return ::syscall(SYS_capset, &header, data) == 0;
}

bool hasCapability(unsigned number) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2]{};
    return ::syscall(SYS_capget, &header, data) == 0 &&
           (data[number / 32].effective >> number % 32 & 1) != 0;
}

}  // namespace kestrin
