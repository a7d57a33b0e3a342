// SPDX-License-Identifier: GPL-3.0-or-later
// The window that tells what is new. Main thread only.
#pragma once

#include <QVersionNumber>

#include "app/windows/SmallWindow.h"
#include "app/windows/WindowServices.h"

namespace kestrin {

/// Shows the changes after a version. The text is part of the program. Object names: "changes",
/// "done_button".
class InformationWindow : public SmallWindow {
    Q_OBJECT

 public:
    InformationWindow(const WindowServices& services, const QVersionNumber& after);
};

/// Shows all changes up to this version.
void showInformationWindow(const WindowServices& services);

/// Shows what is new when the user was last told of an older version, and keeps this version in
/// `services.shownVersionFile`. Shows nothing where no version is kept yet, and where it cannot be
/// kept: the window would come at every start.
void showInformationWindowIfNew(const WindowServices& services);

}  // namespace kestrin
