// SPDX-License-Identifier: GPL-3.0-or-later
// What decoders take from the disk, taken while that is still possible.
#pragma once

#include <string>
#include <vector>

namespace kestrin {

/// Has every library, plug-in and table loaded that the decoders ask for only when they meet a file
/// of the kind. Requires: a QGuiApplication. Thread: main.
void loadEverything();

/// The folders that decoders read later on, as a file asks for it: fonts, and the tables of scripts
/// for PDF. Some may be absent. Requires: as loadEverything.
std::vector<std::string> readableFolders();

}  // namespace kestrin
