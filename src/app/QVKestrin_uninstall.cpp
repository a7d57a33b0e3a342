// SPDX-License-Identifier: GPL-3.0-or-later
// The removal of what the program installed and keeps.
#include <QPointer>
#include <utility>

#include "app/QVKestrin.h"
#include "base/StringTable.h"
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

void QVKestrin::uninstall() {
    if (std::exchange(m_isUninstalling, true)) return;
    if (!m_services.findPackageOwner || !isThere(m_services.helperFile)) return askToUninstall({});
    m_services.findPackageOwner(m_services.helperFile,
                                [guard = QPointer<QVKestrin>(this)](const PackageAnswer& answer) {
                                    // What cannot be found out counts as no package's: the helper's
                                    // own script then fails or removes it.
                                    if (guard)
                                        guard->askToUninstall(answer ? *answer : std::nullopt);
                                });
}

void QVKestrin::askToUninstall(const std::optional<PackageOwner>& helperOwner) {
    QString message = m_services.texts.text("ask_uninstall_mees"_key);
    if (helperOwner) {
        const QString package = m_services.texts.text("uninstall_package"_key);
        message +=
            QStringLiteral("\n\n") +
            StringTable::filled(package, {QString::fromStdString(helperOwner->package),
                                          QString::fromStdString(helperOwner->removeCommand)});
    }
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
    if (!helperOwner && m_services.removeHelper && !m_isEnding) m_services.removeHelper();
    if (m_isEnding) return false;
    if (!helperOwner && isThere(m_services.helperFile))
        return fail("uninstall_failed"_errorKey, "uninstall_failed_mess"_errorKey);
    if (const auto error = m_services.removeLoginItem ? m_services.removeLoginItem() : MaybeError())
        return fail(error->localizedDescription());
    if (!isThere(m_services.preferencesFile)) return false;
    if (const MaybeError error = removeFile(m_services.preferencesFile))
        return fail(error->localizedDescription());
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

}  // namespace kestrin
