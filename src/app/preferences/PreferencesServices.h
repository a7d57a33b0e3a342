// SPDX-License-Identifier: GPL-3.0-or-later
// What the preferences work with.
#pragma once

#include <QString>
#include <functional>

#include "app/preferences/HelperAdministration.h"
#include "base/Result.h"
#include "base/UserDefaults.h"

namespace kestrin {

class HotKeyCenter;
class QVErrorDelegate;
class QVNumberUtilities;
class StringTable;

/// All of it must outlive the preferences. Where a function is not given, nothing is done.
struct PreferencesServices {
    const StringTable& texts;
    const QVNumberUtilities& numbers;
    QVErrorDelegate& presenter;
    UserDefaults& defaults;
    /// Makes the program start at login, or not any more.
    std::function<MaybeError(bool)> setLoginEnabled{};
    /// Brings "launch_at_login" in line with what the user said in the desktop's own settings.
    std::function<void()> refreshLogin{};
    HelperAdministration helper{};
    /// nullptr where nobody is to grab keys: then shortcuts are only stored.
    HotKeyCenter* hotKeys = nullptr;
    /// What the user can bind where the program cannot have hot keys.
    QString emptyAllCommand{};
    QString smartWindowCommand{};
    /// Gives every setting of the map that stands in a domain the map's value there.
    std::function<void(const SettingsMap&)> revertToInitialValues{};
    /// Opens the folder of the logs; false when there is none yet.
    std::function<bool()> showLogs{};
};

}  // namespace kestrin
