// SPDX-License-Identifier: GPL-3.0-or-later
// The part of the preferences that tells of the privileged helper. Main thread only.
#pragma once

#include <QObject>
#include <optional>

#include "app/preferences/PreferencesServices.h"

class QGridLayout;
class QPushButton;

namespace kestrin {

class Notice;

/// A row of the grid that it is given: it says in a sentence what is known of the helper, and has
/// one button that installs, updates or removes it. While the button's command runs, and until the
/// helper was asked, the button is disabled; of a helper that a package of the system brought it
/// says the command instead. Object names: "helper_state", "helper_button".
class HelperSection : public QObject {
    Q_OBJECT

 public:
    /// The services must outlive it.
    HelperSection(const PreferencesServices& services, QGridLayout& grid, QObject* parent);

    /// Asks the helper once more.
    void refresh();

 private:
    void show(const HelperState& state);
    QString sentence(const HelperState& state) const;
    void offer(std::optional<HelperCommand> command);
    void perform(HelperCommand command);

    const PreferencesServices& m_services;
    Notice* m_state;
    QPushButton* m_button;
    HelperCommand m_command = HelperCommand::Install;  ///< the button's
    int m_question = 0;  ///< the number of the last question; answers to earlier ones are late
};

}  // namespace kestrin
