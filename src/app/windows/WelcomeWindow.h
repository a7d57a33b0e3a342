// SPDX-License-Identifier: GPL-3.0-or-later
// The window that greets a new user. Main thread only.
#pragma once

#include "app/windows/SmallWindow.h"
#include "app/windows/WindowServices.h"
#include "base/NotificationCenter.h"

class QCheckBox;
class QLabel;
class QLayout;

namespace kestrin {

/// The sender of "openForTheFirstTime" is the address of this constant.
inline constexpr char kBundleIdentifier[] = "com.quorvane.kestrin-3";

/// Says what the program does, shows the two shortcuts as they are, and offers to start it at
/// login. Object names: "empty_trash", "smart_delete" (the shortcuts), "login", "shortcuts_button",
/// "open_button", "done_button".
class WelcomeWindow : public SmallWindow {
    Q_OBJECT

 public:
    explicit WelcomeWindow(const WindowServices& services);

 protected:
    void changeEvent(QEvent* event) override;

 private:
    QLayout* makeShortcuts();
    QWidget* makeLogin();
    void addButtons(QBoxLayout& row);
    void showShortcuts();

    const WindowServices m_services;
    QLabel* m_emptyAll;
    QLabel* m_smartWindow;
    QCheckBox* m_login = nullptr;
    Observation m_shortcutObservation;
    Observation m_loginObservation;
};

/// Shows the welcome window. The first time of all it stores "is_first_run" as false, keeps the
/// version as one that the user knows, and posts "openForTheFirstTime" with the sender
/// kBundleIdentifier.
void showWelcomeWindow(const WindowServices& services);

}  // namespace kestrin
