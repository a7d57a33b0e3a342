// SPDX-License-Identifier: GPL-3.0-or-later
// The removal of what the program installed and keeps.
#include <QPointer>
#include <algorithm>
#include <utility>

#include "app/QVKestrin.h"
#include "app/preferences/QVPreferencesWindow.h"
#include "base/StringTable.h"
#include "erase/HelperInstaller.h"
#include "erase/QVErrorDelegate.h"
#include "platform/items/ItemAttributes.h"
#include "platform/items/SmallFile.h"

namespace kestrin {
namespace {

/// Links are not followed: one that leads nowhere is there, too.
bool isThere(const FileUrl& file) {
    return itemAttributes(file).hasValue();
}

}  // namespace

/// Not while an alert is open: it may belong to the preferences, which go with the settings.
void QVKestrin::uninstall() {
    if (m_services.bringForward && m_services.bringForward()) return;
    if (std::exchange(m_isUninstalling, true)) return;
    findOwner(m_services.helperFile, &QVKestrin::askToUninstall);
}

/// Calls `ask` with the package that has the helper, at once when there is no helper.
void QVKestrin::findOwner(const FileUrl& helper, void (QVKestrin::*ask)(const PackageAnswer&)) {
    if (!m_services.findPackageOwner || !isThere(helper))
        return (this->*ask)(PackageAnswer{std::nullopt});
    m_services.findPackageOwner(
        helper, [guard = QPointer<QVKestrin>(this), ask](const PackageAnswer& answer) {
            if (guard) (guard->*ask)(answer);
        });
}

/// The message, and by which command the package with the helper goes. A helper of which that could
/// not be found out is removed as no package's, and who agrees to that knows it.
QString QVKestrin::withPackage(const QString& message, const PackageAnswer& answer) const {
    if (answer && !*answer) return message;
    const QString more =
        answer ? StringTable::filled(m_services.texts.text("uninstall_package"_key),
                                     {QString::fromStdString((*answer)->package),
                                      QString::fromStdString((*answer)->removeCommand)})
               : m_services.texts.text("uninstall_package_unknown"_key);
    return message + QStringLiteral("\n\n") + more;
}

void QVKestrin::askToUninstall(const PackageAnswer& package) {
    const std::optional<PackageOwner> helperOwner = package ? *package : std::nullopt;
    const QString message = withPackage(m_services.texts.text("ask_uninstall_mees"_key), package);
    const int answer = m_services.presenter.askToTheUser(
        {.question = std::string("ask_uninstall"_key),
         .message = message.toStdString(),
         .defaultButton = std::string("do_not_uninstall_button"_key),
         .alternateButton = std::string("uninstall_button"_key),
         .notAnswered = kAlertFirstButton});
    // When it is removed, nothing may begin any more that would write the settings again.
    m_isUninstalling = answer == kAlertSecondButton && removeInstallation(helperOwner);
    if (m_isUninstalling) endUninstalled();
}

/// Removes one after the other, each when all before it is gone; an absent settings file ends that
/// without a word. True when all is removed and told.
bool QVKestrin::removeInstallation(const std::optional<PackageOwner>& helperOwner) {
    QVErrorDelegate& presenter = m_services.presenter;
    const auto fail = [&presenter](std::string_view error, std::string_view message = {}) {
        presenter.showError(error, message);
        return false;
    };
    if (!helperOwner && m_services.removeHelper && !m_isEnding)
        m_services.removeHelper(kMajorVersion);
    if (m_isEnding) return false;
    if (!helperOwner && isThere(m_services.helperFile))
        return fail("uninstall_failed"_errorKey, "uninstall_failed_mess"_errorKey);
    if (const auto error = m_services.removeLoginItem ? m_services.removeLoginItem() : MaybeError())
        return fail(error->localizedDescription());
    if (!isThere(m_services.preferencesFile)) return false;
    // The open windows that change the settings would write them again.
    if (m_services.dismissAlerts) m_services.dismissAlerts();
    m_prefWindowCntrl.reset();
    if (const MaybeError error = removeFile(m_services.preferencesFile)) {
        preferencesWindowController();  // which follows the settings again
        return fail(error->localizedDescription());
    }
    presenter.showMessagePanel(
        nullptr, "uninstall_successful"_key,
        helperOwner ? "uninstall_successful_package_mess"_key : "uninstall_successful_mess"_key,
        {});
    return true;
}

/// The file manager has the program's file before the program ends.
void QVKestrin::endUninstalled() {
    const FileUrl program = ownProgram();
    if (!m_services.reveal || program.isEmpty() || m_isEnding) return quit();
    m_services.reveal(program, [guard = QPointer<QVKestrin>(this)] {
        if (guard) guard->quit();
    });
}

// --- The older version ---

/// Asks at a launch that finds some of it, until the user does not want to be asked again.
void QVKestrin::offerToRemoveOlderVersion() {
    const OlderVersion& older = m_services.olderVersion;
    if (!m_services.defaults.boolForKey("ask_unistall_old_kestrin")) return;
    if (isThere(older.helper) || std::ranges::any_of(older.files, isThere))
        findOwner(older.helper, &QVKestrin::askToRemoveOlderVersion);
}

void QVKestrin::askToRemoveOlderVersion(const PackageAnswer& package) {
    const std::optional<PackageOwner> helperOwner = package ? *package : std::nullopt;
    const QString message = withPackage(m_services.texts.text("older_version_mess"_key), package);
    const int answer = m_services.presenter.askToTheUserWithView(
        {.question = std::string("older_version_ask"_key),
         .message = message.toStdString(),
         .additionalNames = {QString::number(m_services.olderVersion.major)},
         .defaultButton = std::string("older_version_keep"_key),
         .alternateButton = std::string("older_version_remove"_key),
         .notAnswered = kAlertFirstButton,
         .preferenceKey = "ask_unistall_old_kestrin",
         .preferenceAsks = true});
    if (answer == kAlertSecondButton && !m_isEnding) removeOlderVersion(helperOwner.has_value());
}

/// Removes what can be removed, and tells what stayed.
void QVKestrin::removeOlderVersion(bool helperIsOfPackage) {
    const OlderVersion& older = m_services.olderVersion;
    if (!helperIsOfPackage && isThere(older.helper)) {
        if (m_services.removeHelper) m_services.removeHelper(older.major);
        if (isThere(older.helper)) {
            m_services.presenter.showError("older_version_failed"_errorKey,
                                           "uninstall_failed_mess"_errorKey,
                                           {QString::number(older.major)});
        }
    }
    for (const FileUrl& file : older.files) {
        const MaybeError error = isThere(file) ? removeFile(file) : MaybeError();
        if (error) m_services.presenter.showError(error->localizedDescription());
    }
}

}  // namespace kestrin
