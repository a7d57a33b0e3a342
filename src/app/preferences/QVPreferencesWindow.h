// SPDX-License-Identifier: GPL-3.0-or-later
// The controller of the preferences. It follows the settings from its making on; its window is made
// when it is opened and goes when it closes. Main thread only.
#pragma once

#include <QObject>
#include <QPointer>
#include <vector>

#include "app/preferences/PreferencesServices.h"
#include "base/NotificationCenter.h"

class QWidget;

namespace kestrin {

class PreferencesView;

/// Every change in the window takes effect at once.
class QVPreferencesWindow : public QObject {
    Q_OBJECT

 public:
    explicit QVPreferencesWindow(PreferencesServices services);
    /// As closeWindow.
    ~QVPreferencesWindow() override;

    /// Shows the window in front: window-modal on the window of the program that is active at the
    /// moment, or on its own when there is none or `isModal` is false. Returns at once.
    void openWindowInModal(bool isModal);
    bool isOpen() const;
    /// As the user closes it: each shortcut that was cleared gets its default.
    void closeWindow();

    /// Shows the shortcuts as they are stored, but for those that the user has cleared.
    void setupHotKeys();
    /// Gives each shortcut that the user has cleared its default. What was recorded is stored
    /// already.
    void saveHotKey();
    /// Makes the program start at login, or not any more, as the setting "launch_at_login" says. A
    /// failure is shown, and leaves the setting as it is.
    void setLoginEnabled();
    /// Gives the general settings their defaults again, in the domains where they stand.
    void restoreValues();
    /// Has the question for the helper asked again. Nothing else changes.
    void restoreWarnings();

 private:
    void windowWillClose();

    const PreferencesServices m_services;
    QPointer<PreferencesView> m_window;
    std::vector<Observation> m_observations;
};

}  // namespace kestrin
