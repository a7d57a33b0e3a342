// SPDX-License-Identifier: GPL-3.0-or-later
// The launch, and what the user is asked and shown at its end.
#include <QPointer>
#include <utility>

#include "app/HelperAuthorization.h"
#include "app/QVKestrin.h"
#include "app/windows/WelcomeWindow.h"
#include "base/MainThread.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVErrorDelegate.h"
#include "platform/desktop/ui/HotKeys.h"
#include "smartwindow/SmartWindowNotifications.h"

namespace kestrin {

namespace Key = EraseNotification;

bool QVKestrin::applicationDidFinishLaunching(Launch launch) {
    m_isWorking = false;
    m_launch = launch;
    setupDefaultsPreferences();
    if (!setupStatusMenu()) return false;
    m_greeting = Greeting::Due;
    m_stopObservation = m_services.center.observe(
        Key::kStopWorking, [this](const Notification& notification) { stopWorking(notification); });
    // An erase of the browsing window that is declined has no other end. This is posted on a
    // background thread.
    m_responseObservation = m_services.center.observe(
        Key::kWaitForResponse, [guard = QPointer<QVKestrin>(this)](const Notification&) {
            MainThread::post([guard] {
                if (guard) guard->endIfNothingIsErased();
            });
        });
    m_smartWindowObservation =
        m_services.center.observe(SmartWindowNotification::kSmartWindowDidClose,
                                  [this](const Notification&) { smartWindowDidClose(); });
    if (m_services.watchMounts) {
        m_services.watchMounts([this](bool wasAdded, const std::string& path) {
            workspaceHardDrivesObserver(wasAdded, path);
        });
    }
    if (m_launch == Launch::AtLogin) {
        lookForHelper();
    } else {
        greet();
    }
    if (!m_isEnding) setupLogin();
    if (m_launch == Launch::ForSmartWindow) requestSmartWindow();
    return true;
}

/// Tells the user that it cannot, unless the launch is for the window.
bool QVKestrin::canDoWithoutStatusArea() {
    if (m_launch == Launch::ForSmartWindow) return true;
    if (m_launch == Launch::AtLogin) {
        if (m_services.tellUser) {
            m_services.tellUser(
                m_services.texts.text("cant_create_menu"_errorKey, StringTable::Table::Errors));
        }
        return false;
    }
    m_isTellingOfStatusArea = true;
    m_services.presenter.showError("cant_create_menu"_errorKey, "cant_create_menu_mess"_errorKey);
    m_isTellingOfStatusArea = false;
    return m_launch == Launch::ForSmartWindow && !m_isEnding;
}

void QVKestrin::launchForSmartWindow() {
    if (!m_isTellingOfStatusArea) return;
    m_launch = Launch::ForSmartWindow;
    if (m_services.dismissAlerts) m_services.dismissAlerts();
}

// --- The greeting ---

/// Whether a command may begin. What the user is asked for the program as a whole comes first, and
/// before the launch nothing is asked: another start may come while this one waits for a status
/// area.
bool QVKestrin::mayBegin() {
    if (isGreeting() || m_isUninstalling || m_greeting == Greeting::NotYet) {
        showWhatIsOpen();
        return false;
    }
    if (m_greeting == Greeting::Due) greet();
    return !m_isEnding;
}

/// A start at login asks nobody, so that it can only look. That serves events: the user may ask for
/// something meanwhile, and be asked then.
void QVKestrin::lookForHelper() {
    const bool isCurrent = m_services.helperIsCurrent && m_services.helperIsCurrent();
    if (m_greeting == Greeting::Due) gIsHelperAuthorized = isCurrent;
}

void QVKestrin::greet() {
    m_greeting = Greeting::Open;
    const bool hasClient = static_cast<bool>(m_services.installHelper);
    const bool isFirstRun = m_services.defaults.boolForKey("is_first_run");
    if (hasClient && isFirstRun && isUserAgree() != kAlertFirstButton) return quit();
    if (hasClient && !m_isEnding) gIsHelperAuthorized = m_services.installHelper();
    if (hasClient && !m_isEnding) offerToRemoveOlderVersion();
    m_greeting = Greeting::Over;
    if (m_services.hotKeys && !m_isEnding) m_services.hotKeys->setMayAskUser(true);
    if (!hasClient || m_isEnding || showFirstWindow()) return;
    checkForFullDiskAccess();
    if (m_launch != Launch::AtLogin && m_services.showInformation) m_services.showInformation();
    if (!m_services.findCrashReport) return;
    m_services.findCrashReport([guard = QPointer<QVKestrin>(this)](const FileUrl& report) {
        if (!guard) return;
        guard->m_crashReport = report;
        guard->offerCrashReport();
    });
}

/// Asks whether to show the report, once. An erase comes first, since this question would stand
/// above the one to erase, and be answered in its place.
void QVKestrin::offerCrashReport() {
    if (!m_crashReport || isErasing() || m_isUninstalling || m_isEnding) return;
    const FileUrl report = *std::exchange(m_crashReport, std::nullopt);
    const int answer = m_services.presenter.askToTheUser(
        {.question = std::string("crash_title"_key),
         .message = std::string("crash_text"_key),
         .defaultButton = std::string("crash_show_button"_key),
         .alternateButton = std::string("crash_dismiss_button"_key),
         .notAnswered = kAlertSecondButton});
    if (answer == kAlertFirstButton && m_services.showText) m_services.showText(report);
}

int QVKestrin::isUserAgree() {
    return m_services.presenter.askToTheUser({.question = std::string("disclaimer"_key),
                                              .defaultButton = std::string("agree_btn"_key),
                                              .alternateButton = std::string("disagree_btn"_key),
                                              .notAnswered = kAlertSecondButton});
}

bool QVKestrin::showFirstWindow() {
    if (!m_services.defaults.boolForKey("is_first_run")) return false;
    m_firstTimeObservation = m_services.center.observe(
        "openForTheFirstTime", [this](const Notification&) { m_firstTimeObservation.reset(); },
        &kBundleIdentifier);
    if (m_services.showWelcome) m_services.showWelcome();
    return true;
}

void QVKestrin::checkForFullDiskAccess() {
    const QVFullDiskAuthorization& access = m_services.fullDiskAccess;
    if (access.authorizationStatus() == QVFullDiskAuthorization::Status::Granted) return;
    access.requestAuthorizationWithCompletion([] {});
    m_services.presenter.showError("full_disk_access_authorization"_errorKey,
                                   "full_disk_access_authorization_mess"_errorKey);
}

}  // namespace kestrin
