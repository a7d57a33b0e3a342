// SPDX-License-Identifier: GPL-3.0-or-later
// The desktop's file manager (org.freedesktop.FileManager1). Main thread.
#pragma once

#include <chrono>
#include <functional>
#include <vector>

#include "base/FileUrl.h"

namespace kestrin {

/// Asks the file manager to show the items, selected, in their folders; of more than 500 it shows
/// the first 500. Returns at once and reports nothing. Where no file manager understands that, or
/// none has answered within `patience`, the folder of the first item is opened instead. `done` is
/// called when that is over, whatever came of it.
/// Source: FreeDesktop.org file manager D-Bus interface, ShowItems.
void revealInFileManager(
    const std::vector<FileUrl>& items,
    std::chrono::milliseconds patience = std::chrono::seconds(10),
    std::function<void()> done = [] {});

}  // namespace kestrin
