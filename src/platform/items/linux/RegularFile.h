// SPDX-License-Identifier: GPL-3.0-or-later
// Small files of users, read as what they are: untrusted bytes that may be anything.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

struct stat;

namespace kestrin {

/// The bytes of the regular file `name` in the open folder `folder` (AT_FDCWD for a path). None
/// when it is a link, a FIFO, a device or absent, cannot be read, or holds more than `limit` bytes.
/// Never waits for a writer. `status`, unless it is nullptr, gets the fstat(2) of the file that was
/// read.
std::optional<std::string> readRegularFile(int folder, const char* name, std::size_t limit,
                                           struct stat* status = nullptr);

/// The text of a file in which the kernel (/proc) or an administrator (/etc) tells something; empty
/// when the file is absent.
std::string readSystemFile(const char* path);

}  // namespace kestrin
