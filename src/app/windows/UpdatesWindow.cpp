// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/UpdatesWindow.h"

#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>
#include <string>

#include "app/windows/InformationWindow.h"
#include "app/windows/ReleaseNotes.h"
#include "base/StringTable.h"
#include "format/DisplayName.h"
#include "platform/desktop/Places.h"

namespace kestrin {

UpdatesWindow::UpdatesWindow(const WindowServices& services)
    : SmallWindow(services.texts.text("updates_title"_key)),
      m_services(services),
      m_state(paragraph(QStringLiteral("state"), services.texts.text("updates_looking"_key))),
      m_command(copyableLine(QStringLiteral("command"), {})) {
    m_command->hide();
    auto* const layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(titleLabel(StringTable::filled(m_services.texts.text("updates_version"_key),
                                                     {runningVersion().toString()})));
    layout->addWidget(m_state);
    layout->addWidget(m_command);
    QBoxLayout* const buttons = addButtonRow(*layout);
    connect(addButton(*buttons, "news_button", m_services.texts.text("updates_news_button"_key)),
            &QPushButton::clicked, this, [this] { showInformationWindow(m_services); });
    buttons->addStretch();
    addDoneButton(*buttons, *this, m_services.texts.text("done_button"_key));
    m_services.findOwnPackage([window = QPointer(this)](const PackageAnswer& answer) {
        if (window) window->showOwner(answer);
    });
}

void UpdatesWindow::showOwner(const PackageAnswer& answer) {
    const StringTable& texts = m_services.texts;
    if (!answer) {
        m_state->setText(StringTable::filled(texts.text("updates_unknown"_key),
                                             {displayName(answer.error().localizedDescription())}));
    } else if (!*answer) {
        m_state->setText(StringTable::filled(texts.text("updates_no_package"_key),
                                             {displayName(ownProgram().parent().path())}));
    } else {
        const PackageOwner& owner = **answer;
        m_state->setText(
            StringTable::filled(texts.text("updates_package"_key), {displayName(owner.package)}));
        m_command->setText(displayName(owner.updateCommand));
        m_command->show();
    }
}

void checkForUpdates(const WindowServices& services) {
    const std::string page = "appstream://" + std::string(kAppStreamId);
    const bool isShown = services.openUrl && services.softwareCenterKnowsProgram() &&
                         services.openUrl(QString::fromStdString(page));
    if (!isShown) showOne<UpdatesWindow>(services);
}

}  // namespace kestrin
