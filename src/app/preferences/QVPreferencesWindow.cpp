// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/preferences/QVPreferencesWindow.h"

#include <QApplication>
#include <functional>
#include <string>
#include <utility>

#include "app/preferences/PreferencesView.h"
#include "app/preferences/ShortcutsSection.h"
#include "base/StringTable.h"
#include "erase/QVErrorDelegate.h"

namespace kestrin {
namespace {

constexpr char kLoginSetting[] = "launch_at_login";
/// The code of the failure that is the host lacking any place for a login item.
constexpr int kNoLoginItems = 22;

}  // namespace

QVPreferencesWindow::QVPreferencesWindow(PreferencesServices services)
    : m_services(std::move(services)) {
    const auto follow = [this](const std::string& key, std::function<void()> changed) {
        m_observations.push_back(m_services.defaults.observe(
            "values." + key, UserDefaults::Notify::OnChange,
            [changed = std::move(changed)](const auto&) { changed(); }));
    };
    follow(kLoginSetting, [this] { setLoginEnabled(); });
    for (const char* const key : {"empty_trash", "smart_delete"})
        follow(key, [this, key] {
            if (m_window) m_window->shortcuts().settingDidChange(key);
        });
}

QVPreferencesWindow::~QVPreferencesWindow() {
    const QPointer<PreferencesView> window = m_window;
    closeWindow();
    delete window;
}

bool QVPreferencesWindow::isOpen() const {
    return m_window && m_window->isVisible();
}

void QVPreferencesWindow::closeWindow() {
    if (m_window) m_window->close();
}

void QVPreferencesWindow::openWindowInModal(bool isModal) {
    if (m_services.refreshLogin) m_services.refreshLogin();
    QWidget* const active = QApplication::activeWindow();
    if (!m_window) {
        m_window = new PreferencesView(m_services);
        connect(m_window, &PreferencesView::restoreValuesClicked, this,
                &QVPreferencesWindow::restoreValues);
        connect(m_window, &PreferencesView::restoreWarningsClicked, this,
                &QVPreferencesWindow::restoreWarnings);
        connect(m_window, &PreferencesView::willClose, this, &QVPreferencesWindow::windowWillClose);
    }
    m_window->showOn(isModal ? active : nullptr);
}

void QVPreferencesWindow::setupHotKeys() {
    if (m_window) m_window->shortcuts().setupHotKeys();
}

void QVPreferencesWindow::saveHotKey() {
    if (m_window) m_window->shortcuts().saveHotKey();
}

void QVPreferencesWindow::windowWillClose() {
    saveHotKey();
    m_window->deleteLater();
    m_window.clear();
}

void QVPreferencesWindow::setLoginEnabled() {
    if (!m_services.setLoginEnabled) return;
    const auto error = m_services.setLoginEnabled(m_services.defaults.boolForKey(kLoginSetting));
    if (!error) return;
    const std::string text = error->localizedDescription();
    WindowHandle const window = isOpen() ? m_window.data() : nullptr;
    const bool hasNoPlace = error->domain == kPOSIXErrorDomain && error->code == kNoLoginItems &&
                            error->userInfo.contains("failureReason");
    if (hasNoPlace)
        return m_services.presenter.showErrorForWindow(window, "login_error"_errorKey, text, {});
    m_services.presenter.showErrorForWindow(window, text, {}, {});
}

void QVPreferencesWindow::restoreValues() {
    if (m_services.revertToInitialValues)
        m_services.revertToInitialValues(generalDefaultSettings());
    // A default that was in force already changes nothing, and so brings no cleared shortcut back.
    saveHotKey();
}

void QVPreferencesWindow::restoreWarnings() {
    m_services.defaults.revertToInitialValues();
}

}  // namespace kestrin
