// SPDX-License-Identifier: GPL-3.0-or-later
// Small files of users, read as what they are: untrusted bytes that may be anything.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace kestrin {

/// The bytes of the regular file `name` in the open folder `folder` (AT_FDCWD for a path). None
/// when it is a link, a FIFO, a device or absent, cannot be read, or holds more than `limit` bytes.
/// Never waits for a writer.
std::optional<std::string> readRegularFile(int folder, const char* name, std::size_t limit);

/// The bytes of a regular file, and whose it is.
struct ReadFile {
    std::string content;
    std::uint32_t userId = 0;
    std::uint32_t groupId = 0;
    std::uint32_t mode = 0;  ///< as in stat(2)
};

/// The same for a folder whose user is not trusted: what is mounted on the name, which he himself
/// may serve, is neither opened nor asked. Needs openat2(2).
std::optional<ReadFile> readRegularFileOfMount(int folder, const char* name, std::size_t limit);

/// The text of a file in which the kernel (/proc) or an administrator (/etc) tells something; empty
/// when the file is absent.
std::string readSystemFile(const char* path);

}  // namespace kestrin
