// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/SmallFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "platform/items/HostErrors.h"
#include "platform/items/linux/RegularFile.h"

namespace kestrin {

std::optional<std::string> readSmallFile(const FileUrl& file, std::size_t maximumBytes,
                                         LastLink link) {
    const char* path = file.path().c_str();
    if (link == LastLink::Refuse) return readRegularFile(AT_FDCWD, path, maximumBytes);
    const std::unique_ptr<char, decltype(&std::free)> target(::realpath(path, nullptr), &std::free);
    if (!target) return std::nullopt;
    return readRegularFile(AT_FDCWD, target.get(), maximumBytes);
}

MaybeError removeFile(const FileUrl& file) {
    if (::unlink(file.path().c_str()) == 0) return {};
    return errorFromErrno(errno, HostAccess::Write);
}

}  // namespace kestrin
