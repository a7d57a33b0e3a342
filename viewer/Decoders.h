// SPDX-License-Identifier: GPL-3.0-or-later
// What files look like: one function a kind, each in a file of its own. Nothing here opens, writes
// or asks for anything but the file it was handed; everything here is bounded in memory, and in
// time by whoever runs it.
#pragma once

#include "viewer/InputFile.h"
#include "viewer/ViewerProtocol.h"

namespace kestrin {

/// The preview of a file of any kind. The kinds that the type of the request hints at come first,
/// then all others by the file's content. A file that nothing knows has kind None and no fault.
/// Thread: main; one at a time.
Preview decode(InputFile& file, const DecodeRequest& request);

// Each of these returns none when the file is not of its kind, and kind None with a fault when it
// is, but cannot be shown.

}  // namespace kestrin
