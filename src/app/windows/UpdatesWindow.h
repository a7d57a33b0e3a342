// SPDX-License-Identifier: GPL-3.0-or-later
// The window that tells what would update the program. Main thread only.
#pragma once

#include "app/windows/SmallWindow.h"
#include "app/windows/WindowServices.h"

class QLabel;

namespace kestrin {

/// Tells the version, how this copy was installed, and what would update it. The program itself
/// asks no other computer. Object names: "state", "command", "news_button", "done_button".
class UpdatesWindow : public SmallWindow {
    Q_OBJECT

 public:
    explicit UpdatesWindow(const WindowServices& services);

 private:
    void showOwner(const PackageAnswer& answer);

    const WindowServices m_services;
    QLabel* m_state;
    QLabel* m_command;
};

/// Shows the program in the desktop's software center, which knows of newer versions; where there
/// is none that knows it, shows the window.
void checkForUpdates(const WindowServices& services);

}  // namespace kestrin
