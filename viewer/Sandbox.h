// SPDX-License-Identifier: GPL-3.0-or-later
// What a decoder gives up before it reads the first byte of a stranger's file.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/Result.h"
#include "platform/processes/FileRules.h"
#include "viewer/ViewerProtocol.h"

namespace kestrin {

inline constexpr std::size_t kDecoderMemory = 512 << 20;  ///< bytes of address space
inline constexpr unsigned kDecoderDescriptors = 32;

/// What the kernel that runs offers.
struct KernelSupport {
    int landlockVersion = 0;  ///< 0: none
    bool hasCallFilter = false;
};
KernelSupport askKernel();

/// Which of the protections that may be lacking a process takes on.
struct SandboxPlan {
    bool limitsMemory = true;
    bool filtersCalls = false;
    /// Whether the call filter lets files be opened for reading: only where rules say which.
    bool allowsOpening = false;
    FileRules fileRules;
};

/// Everything that `kernel` offers. Without Landlock nothing can be opened at all, and the fonts
/// are those that have been loaded before. `isSanitized`: this is the build of a sanitizer, whose
/// memory does not fit into the limit and whose calls are its own.
SandboxPlan planSandbox(const KernelSupport& kernel, bool isSanitized);

/// Leaves this process the descriptor `socket` (all others lead to /dev/null), no capability, no
/// way to gain rights, no core dumps, bounded memory, output and number of descriptors, and of all
/// files those below `readableFolders`, to be read; nothing can be written, executed, connected to
/// or signalled. `startThreads` is called when all of this holds but the call filter, which holds
/// for those threads as well and lets no more be made; it returns when they run. What holds of the
/// plan comes back. Errors: what the kernel refused although it is planned, and EBUSY when there is
/// more than one thread, since most of this holds for the one that asks. After an error the process
/// is in no state to read anything, and has to end.
/// Source: prctl(2), seccomp(2), landlock(7), capabilities(7), setrlimit(2).
Result<ViewerProtections> enterSandbox(
    int socket, const std::vector<std::string>& readableFolders, const SandboxPlan& plan,
    const std::function<void()>& startThreads = [] {});

}  // namespace kestrin
