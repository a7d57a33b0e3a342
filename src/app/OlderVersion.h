// SPDX-License-Identifier: GPL-3.0-or-later
// What an older major version of the program leaves on this host.
#pragma once

#include <vector>

#include "base/FileUrl.h"

namespace kestrin {

/// The places of what one older major version installed and kept. Nothing may be there.
struct OlderVersion {
    int major = 2;
    FileUrl helper;              ///< removed by an administrator
    std::vector<FileUrl> files;  ///< of the user: its start at login, its settings
};

OlderVersion olderVersion();

}  // namespace kestrin
