// SPDX-License-Identifier: GPL-3.0-or-later
// What may be handed to the desktop's opener without running it.
#pragma once

#include "base/FileUrl.h"
#include "base/Result.h"

namespace kestrin {

/// Whether a desktop that opens the item only shows it. True for folders and for files that are, by
/// their names and their first bytes, no program of this or another system, no executable script
/// and no launcher; false for those and for devices, FIFOs and sockets, which are not opened to
/// find out. Links are followed, as the opener follows them. True for this moment only: what stands
/// in the item's place a moment later is not known. Errors: the item cannot be read (errorFromErrno
/// with Read). Thread: any.
Result<bool> isSafeToOpen(const FileUrl& item);

}  // namespace kestrin
