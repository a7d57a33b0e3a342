// SPDX-License-Identifier: GPL-3.0-or-later
// The settings: their defaults, what others change about them, and the window that shows them.
#include "app/QVKestrin.h"
#include "app/preferences/QVPreferencesWindow.h"
#include "base/UserDefaults.h"
#include "platform/desktop/LoginItem.h"
#include "platform/items/FileWatcher.h"

namespace kestrin {
namespace {

constexpr char kLaunchAtLogin[] = "launch_at_login";
constexpr char kHelperQuestion[] = "show_install_helper_tool";

/// Gives the keys of `values` that stand in `domain` their values.
void putBack(const SettingsMap& values, SettingsMap& domain) {
    for (const auto& [key, value] : values) {
        if (const auto found = domain.find(key); found != domain.end()) found->second = value;
    }
}

}  // namespace

void QVKestrin::setupDefaultsPreferences() {
    const SettingsMap values = defaultValues();
    m_services.defaults.registerDefaults(values);
    m_services.defaults.setInitialValues({*values.find(kHelperQuestion)});
}

SettingsMap QVKestrin::defaultValues() const {
    return defaultSettings();
}

void QVKestrin::defaultGeneralPreferences(SettingsMap& values) const {
    for (const auto& [key, value] : generalDefaultSettings())
        values.insert_or_assign(key, value);
}

QVariantMap QVKestrin::defaultEmptyTrashHotKey() const {
    return generalDefaultSettings().at("empty_trash").toMap();
}

QVariantMap QVKestrin::defaultSmartDeleteHotKey() const {
    return generalDefaultSettings().at("smart_delete").toMap();
}

void QVKestrin::revertToInitialValuesInDictionary(const SettingsMap& values) {
    UserDefaults& defaults = m_services.defaults;
    auto persistent = defaults.persistentDomain();
    if (!persistent) return;
    SettingsMap registered = defaults.registrationDomain();
    putBack(values, *persistent);
    putBack(values, registered);
    defaults.setPersistentDomain(*persistent);
    defaults.setRegistrationDomain(registered);
}

void QVKestrin::setupLogin() {
    watchSettings();
    refreshLogin();
    QVPreferencesWindow* const preferences = preferencesWindowController();
    // The entry that started the program at login is in force, and a failure would open a window.
    const bool isDue =
        m_launch != Launch::AtLogin && m_services.defaults.boolForKey(kLaunchAtLogin);
    if (preferences && isDue) preferences->setLoginEnabled();
}

/// From now on the program hears of what others change.
void QVKestrin::watchSettings() {
    m_settingsWatcher = std::make_unique<FileWatcher>(
        m_services.preferencesFile, [this] { m_services.defaults.fileDidChange(); });
    m_services.defaults.fileDidChange();  // while the launch asked its questions
    m_loginWatcher = std::make_unique<FileWatcher>(loginItemFile(), [this] { refreshLogin(); });
}

/// The user may have switched it off in the desktop's settings. An entry for some desktops alone
/// switches it on again, too: a session of another one has set it off for all.
void QVKestrin::refreshLogin() {
    UserDefaults& defaults = m_services.defaults;
    const std::optional<bool> isEnabled = loginItemIsEnabled();
    if (!isEnabled || *isEnabled == defaults.boolForKey(kLaunchAtLogin)) return;
    if (!*isEnabled || loginItemGoesByDesktop()) defaults.setQuietly(kLaunchAtLogin, *isEnabled);
}

QVPreferencesWindow* QVKestrin::preferencesWindowController() {
    if (!m_prefWindowCntrl && m_services.makePreferences)
        m_prefWindowCntrl = m_services.makePreferences();
    return m_prefWindowCntrl.get();
}

void QVKestrin::preferencesAction() {
    if (QVPreferencesWindow* const preferences = preferencesWindowController())
        preferences->openWindowInModal(false);
}

}  // namespace kestrin
