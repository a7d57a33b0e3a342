// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/preferences/HelperSection.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>

#include "base/StringTable.h"
#include "erase/HelperConnection.h"
#include "erase/QVErrorDelegate.h"

namespace kestrin {
namespace {

bool isCancelled(const HostError& error) {
    return error.domain == kOSStatusErrorDomain && error.code == kAuthorizationCancelled;
}

}  // namespace

HelperSection::HelperSection(const PreferencesServices& services)
    : m_services(services), m_state(new QLabel), m_button(new QPushButton) {
    m_state->setObjectName(QStringLiteral("helper_state"));
    m_state->setTextFormat(Qt::PlainText);
    m_state->setWordWrap(true);
    m_button->setObjectName(QStringLiteral("helper_button"));
    connect(m_button, &QPushButton::clicked, this, &HelperSection::perform);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_state, 1);
    row->addWidget(m_button, 0, Qt::AlignTop);
    refresh();
}

void HelperSection::refresh() {
    m_state->setText(m_services.texts.text("prefs_helper_asking"_key));
    offer({});
    if (!m_services.helper.askState) return;
    m_services.helper.askState([self = QPointer(this), question = ++m_question](const auto& state) {
        if (self && self->m_question == question) self->show(state);
    });
}

void HelperSection::show(const HelperState& state) {
    const StringTable& texts = m_services.texts;
    switch (state.kind) {
        case HelperState::Kind::NotInstalled:
            m_state->setText(texts.text("prefs_helper_absent"_key));
            return offer(HelperCommand::Install);
        case HelperState::Kind::Current:
            m_state->setText(
                StringTable::filled(texts.text("prefs_helper_current"_key), {state.answer}));
            return offer(HelperCommand::Remove);
        case HelperState::Kind::Other:
            m_state->setText(
                StringTable::filled(texts.text("prefs_helper_other"_key), {state.answer}));
            return offer(HelperCommand::Update);
    }
}

void HelperSection::offer(std::optional<HelperCommand> command) {
    const auto key = [&] {
        switch (command.value_or(HelperCommand::Install)) {
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
    m_command = command;
}

/// Events are served while it runs: the window may close meanwhile.
void HelperSection::perform() {
    if (!m_command || !m_services.helper.perform) return;
    const HelperCommand command = *m_command;
    m_button->setEnabled(false);
    m_state->setText(m_services.texts.text("prefs_helper_working"_key));
    const QPointer<HelperSection> self(this);
    const PreferencesServices& services = m_services;
    const MaybeError error = services.helper.perform(command);
    if (self) refresh();
    if (!error || isCancelled(*error)) return;
    services.presenter.showErrorForWindow(self ? self->window() : nullptr,
                                          error->localizedDescription(), {}, {});
}

}  // namespace kestrin
