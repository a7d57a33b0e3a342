// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/Sandbox.h"

#include <fcntl.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <system_error>

#include "base/SanitizedBuild.h"
#include "base/WriteAll.h"
#include "platform/items/HostErrors.h"
#include "platform/items/UniqueFd.h"
#include "platform/processes/Capabilities.h"
#include "viewer/CallFilter.h"

namespace kestrin {
namespace {

bool hasOneThread() {
    std::error_code failure;
    const std::filesystem::directory_iterator threads("/proc/self/task", failure);
    return !failure && std::distance(begin(threads), end(threads)) == 1;
}

/// Libraries keep the numbers of what they opened and may write there: a number that became free
/// would be that of the next file. False with errno.
bool leadDescriptorsNowhere(int socket) {
    const UniqueFd nowhere(::open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!nowhere) return false;
    for (int fd = 0; fd < static_cast<int>(kDecoderDescriptors); ++fd) {
        if (fd == socket || fd == nowhere.get() || ::fcntl(fd, F_GETFD) < 0) continue;
        if (::dup3(nowhere.get(), fd, O_CLOEXEC) < 0) return false;
    }
    ::closefrom(kDecoderDescriptors);
    return true;
}

/// Where memory runs short, the kernel ends this process before any other. It may have no such
/// file.
void volunteerForLackOfMemory() {
    const UniqueFd file(::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
    if (file) (void)writeAll(file.get(), "1000");
}

bool limit(__rlimit_resource resource, rlim_t most) {
    rlimit now{};
    if (::getrlimit(resource, &now) != 0) return false;
    const rlim_t bounded = std::min(most, now.rlim_max);
    now = {bounded, bounded};
    return ::setrlimit(resource, &now) == 0;
}

bool limitResources(bool limitsMemory) {
    return limit(RLIMIT_CORE, 0) && limit(RLIMIT_NOFILE, kDecoderDescriptors) &&
           limit(RLIMIT_FSIZE, kLargestPreviewBytes) && limit(RLIMIT_MEMLOCK, 0) &&
           (!limitsMemory || limit(RLIMIT_AS, kDecoderMemory));
}

HostError failure(int systemError) {
    return errorFromErrno(systemError, HostAccess::Write);
}

}  // namespace

KernelSupport askKernel() {
    const std::uint32_t action = SECCOMP_RET_ERRNO;
    return {.landlockVersion = landlockVersion(),
            .hasCallFilter = ::syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) == 0};
}

SandboxPlan planSandbox(const KernelSupport& kernel, bool isSanitized) {
    return {.limitsMemory = !isSanitized,
            .filtersCalls = kernel.hasCallFilter && !isSanitized,
            .allowsOpening = kernel.landlockVersion > 0,
            .fileRules = fileRulesFor(kernel.landlockVersion)};
}

Result<ViewerProtections> enterSandbox(int socket, const std::vector<std::string>& readableFolders,
                                       const SandboxPlan& plan,
                                       const std::function<void()>& startThreads) {
    // The thread sanitizer has one of its own, which reads nothing.
    if (!hasOneThread() && !kIsSanitizedBuild) return failure(EBUSY);
    volunteerForLackOfMemory();
    if (!leadDescriptorsNowhere(socket) || !limitResources(plan.limitsMemory) ||
        ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) != 0 || !keepCapabilities(0)) {
        return failure(errno);
    }
    const bool hasFileRules = plan.fileRules.size > 0;
    if (hasFileRules) {
        if (const int refused = closeFiles(plan.fileRules, readableFolders))
            return failure(refused);
    }
    startThreads();
    if (plan.filtersCalls) {  // the last: it lets none of the calls above through
        if (const int refused = filterCalls(plan.allowsOpening)) return failure(refused);
    }
    return ViewerProtections{.callFilter = plan.filtersCalls,
                             .fileRules = hasFileRules,
                             .memoryLimit = plan.limitsMemory};
}

}  // namespace kestrin
