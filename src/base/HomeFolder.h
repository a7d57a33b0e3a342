// SPDX-License-Identifier: GPL-3.0-or-later
// Where the user's own files are. Thread: any.
#pragma once

#include <sys/types.h>

#include <string>

namespace kestrin {

/// The home folder: $HOME when it is an absolute path, else the user database's. No trailing slash.
std::string homeFolder();

/// The home folder of `user` in the user database; empty when that has none.
std::string homeFromUserDatabase(uid_t user);

}  // namespace kestrin
