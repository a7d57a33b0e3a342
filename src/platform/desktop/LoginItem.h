// SPDX-License-Identifier: GPL-3.0-or-later
// Whether the desktop starts the program when the user logs in. People change that in the desktop's
// own settings, too: their word counts. Thread: any, one at a time.
#pragma once

#include <optional>

#include "base/FileUrl.h"
#include "base/Result.h"

namespace kestrin {

/// The file that says it: the user's autostart entry with the name of the program's desktop entry.
/// Empty where there is no configuration folder and no home to make one in.
/// Source: FreeDesktop.org desktop application autostart specification.
FileUrl loginItemFile();

/// Has the desktop start this program, with "--login", or not any more. What the user wrote into
/// the entry stays; what switches it off is turned around when it is enabled. To disable removes
/// the entry, but one that is switched off already, or that starts something else, stays. A link or
/// a folder in its place is neither followed nor replaced.
/// Errors: those of errorFromErrno for writing; kPOSIXErrorDomain 22 with the "failureReason"
/// "SMLoginItemSetEnabled failed" when there is no place for an entry.
MaybeError setLoginItemEnabled(bool isEnabled);

/// Removes the entry of this program, also one that is switched off. What else is in its place
/// stays, without an error.
/// Errors: those of errorFromErrno for writing.
MaybeError removeLoginItem();

/// Whether the desktop would start the program by the entry that is there: false when the user
/// switched it off in the desktop's settings. None when there is no entry.
std::optional<bool> loginItemIsEnabled();

/// Whether the entry that is there names desktops, so that it may be on in one session of the user
/// and off in another.
bool loginItemGoesByDesktop();

}  // namespace kestrin
