// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/preferences/HelperSection.h"

#include <QGridLayout>
#include <QPointer>
#include <QPushButton>

#include "app/preferences/Notice.h"
#include "base/StringTable.h"
#include "erase/HelperConnection.h"
#include "erase/QVErrorDelegate.h"

namespace kestrin {
namespace {

bool isCancelled(const HostError& error) {
    return error.domain == kOSStatusErrorDomain && error.code == kAuthorizationCancelled;
}

}  // namespace

HelperSection::HelperSection(const PreferencesServices& services, QGridLayout& grid,
                             QObject* parent)
    : QObject(parent), m_services(services), m_state(new Notice), m_button(new QPushButton) {
    m_state->setObjectName(QStringLiteral("helper_state"));
    // What most sentences take: the window keeps its size when the helper has answered.
    m_state->setMinimumHeight(2 * m_state->fontMetrics().lineSpacing());
    m_button->setObjectName(QStringLiteral("helper_button"));
    connect(m_button, &QPushButton::clicked, this, [this] {
        m_button->setEnabled(false);
        // Later: the window, and the button with it, may go while the command runs.
        QMetaObject::invokeMethod(
            this, [this, command = m_command] { perform(command); }, Qt::QueuedConnection);
    });
    const int row = grid.rowCount();
    grid.addWidget(m_state, row, 1, 1, 2);
    grid.addWidget(m_button, row, 3, Qt::AlignTop);
    refresh();
}

void HelperSection::refresh() {
    m_state->setNotice(m_services.texts.text("prefs_helper_asking"_key));
    offer({});
    if (!m_services.helper.askState) return;
    m_services.helper.askState([self = QPointer(this), question = ++m_question](const auto& state) {
        if (self && self->m_question == question) self->show(state);
    });
}

void HelperSection::show(const HelperState& state) {
    m_state->setNotice(sentence(state));
    m_button->setVisible(state.package.isEmpty());
    switch (state.kind) {
        case HelperState::Kind::NotInstalled:
            return offer(HelperCommand::Install);
        case HelperState::Kind::Current:
            return offer(HelperCommand::Remove);
        case HelperState::Kind::Other:
            return offer(HelperCommand::Update);
    }
}

QString HelperSection::sentence(const HelperState& state) const {
    const auto text = [&](std::string_view key, const QStringList& names) {
        return StringTable::filled(m_services.texts.text(key), names);
    };
    const bool isCurrent = state.kind == HelperState::Kind::Current;
    if (state.kind == HelperState::Kind::NotInstalled) return text("prefs_helper_absent"_key, {});
    const QString what =
        text(isCurrent ? "prefs_helper_current"_key : "prefs_helper_other"_key, {state.answer});
    if (state.package.isEmpty()) return what;
    const QString command = isCurrent ? state.removeCommand : state.updateCommand;
    return what + QLatin1Char(' ') +
           text(isCurrent ? "prefs_helper_packaged"_key : "prefs_helper_packaged_other"_key,
                {state.package, command});
}

/// Without a command the button says what it said before, and cannot be pressed.
void HelperSection::offer(std::optional<HelperCommand> command) {
    m_command = command.value_or(m_command);
    const auto key = [&] {
        switch (m_command) {
            case HelperCommand::Update:
                return "prefs_helper_update"_key;
            case HelperCommand::Remove:
                return "prefs_helper_remove"_key;
            default:
                return "prefs_helper_install"_key;
        }
    };
    m_button->setText(m_services.texts.text(key()));
    m_button->setEnabled(command.has_value());
}

/// Events are served while it runs: the window may close meanwhile, and all that belongs to it go.
void HelperSection::perform(HelperCommand command) {
    if (!m_services.helper.perform) return;
    m_state->setNotice(m_services.texts.text("prefs_helper_working"_key));
    const QPointer<HelperSection> self(this);
    QVErrorDelegate& presenter = m_services.presenter;
    const auto performOnHost = m_services.helper.perform;
    const MaybeError error = performOnHost(command);
    if (self) refresh();
    if (!error || isCancelled(*error)) return;
    presenter.showErrorForWindow(self ? self->m_button->window() : nullptr,
                                 error->localizedDescription(), {}, {});
}

}  // namespace kestrin
