// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <string>
#include <utility>

#include "platform/items/UniqueFd.h"

namespace kestrin::test {

/// Makes the folder `name` in `parent`, and in it a chain of folders with names of that length. All
/// of them get the mode and the flags of ioctl_iflags(2).
inline void makeDeepChain(const std::string& parent, std::string name, int depth, mode_t mode,
                          int flags = 0, std::size_t nameLength = 255) {
    UniqueFd folder(open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto finish = [&] {
        fchmod(folder.get(), mode);
        if (flags != 0) ioctl(folder.get(), FS_IOC_SETFLAGS, &flags);
    };
    for (int level = 0; level < depth; ++level) {
        mkdirat(folder.get(), name.c_str(), 0700);
        UniqueFd next(openat(folder.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (level > 0) finish();
        folder = std::move(next);
        name.assign(nameLength, 'n');
    }
    finish();
}

/// The most memory that the process ever had, in bytes.
inline std::size_t peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

}  // namespace kestrin::test
