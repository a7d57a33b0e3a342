// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <string>
#include <utility>

#include "platform/items/UniqueFd.h"

namespace kestrin::test {

/// Makes the folder `name` in `parent`, and in it a chain of folders with the longest names that
/// there are. All of them get the mode.
inline void makeDeepChain(const std::string& parent, std::string name, int depth, mode_t mode) {
    UniqueFd folder(open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int level = 0; level < depth; ++level) {
        mkdirat(folder.get(), name.c_str(), 0700);
        UniqueFd next(openat(folder.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (level > 0) fchmod(folder.get(), mode);
        folder = std::move(next);
        name.assign(255, 'n');
    }
    fchmod(folder.get(), mode);
}

/// The most memory that the process ever had, in bytes.
inline std::size_t peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

}  // namespace kestrin::test
