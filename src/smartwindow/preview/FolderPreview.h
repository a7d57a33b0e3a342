// SPDX-License-Identifier: GPL-3.0-or-later
// What a folder looks like: how much is in it, and what comes first.
#pragma once

#include "base/FileUrl.h"
#include "platform/items/ItemIdentity.h"
#include "viewer/ViewerProtocol.h"

namespace kestrin {

/// The entries directly inside a folder. Nothing but the folder itself is opened, no link is
/// followed, and its access time stays as it is where the kernel allows that. May hang with its
/// volume.
/// Shapes: kind Entries with the first 200 by name in the user's order, of a folder of more than
///         50,000 those that come first among the 50,000 that it lists first; entryCount of all, or
///         of as many as were counted within the bounds (isPartial).
/// Errors: Gone when it is absent or another item has its name; NotAFile for what is no folder;
///         Unreadable; Empty.
/// Thread: any.
Preview previewOfFolder(const FileUrl& folder, const ItemIdentity& identity);

}  // namespace kestrin
