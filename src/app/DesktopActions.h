// SPDX-License-Identifier: GPL-3.0-or-later
// What the program does on the desktop, or takes from it, without a state of its own. Main thread.
#pragma once

#include <QIcon>
#include <QString>

#include "base/FileUrl.h"
#include "inventory/TrashListing.h"

namespace kestrin {

/// Opens a text file in the program that the user reads such files with, or shows in the file
/// manager where it is when there is none.
void showText(const FileUrl& file);

/// Opens the folder of the logs; false when there are no logs yet, or nothing shows folders.
bool showLogs();

/// Presses Stop in the progress window, if it is open.
void pressStop();

/// Brings the open question or the progress to the front; false when neither is open.
bool bringForward();

/// What the user types into a shell to have this program do `action`, such as "empty-all". Where
/// the program stands in the search path, its name is enough.
QString commandFor(const char* action);

/// The icon of the disk that the trash is on. `volume` is nullptr when nothing is known of it.
QIcon iconOfDisk(const TrashLocation& location, const ListedVolume* volume);

}  // namespace kestrin
