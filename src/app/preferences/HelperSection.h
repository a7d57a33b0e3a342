// SPDX-License-Identifier: GPL-3.0-or-later
// The part of the preferences that tells of the privileged helper. Main thread only.
#pragma once

#include <QWidget>
#include <optional>

#include "app/preferences/PreferencesServices.h"

class QLabel;
class QPushButton;

namespace kestrin {

/// Says in a sentence what is known of the helper, and has one button that installs, updates or
/// removes it. While the button's command runs, and until the helper was asked, the button is
/// disabled. Object names: "helper_state", "helper_button".
class HelperSection : public QWidget {
    Q_OBJECT

 public:
    /// The services must outlive it.
    explicit HelperSection(const PreferencesServices& services);

    /// Asks the helper once more.
    void refresh();

 private:
    void show(const HelperState& state);
    void offer(std::optional<HelperCommand> command);
    void perform();

    const PreferencesServices& m_services;
    QLabel* m_state;
    QPushButton* m_button;
    std::optional<HelperCommand> m_command;
    int m_question = 0;  ///< the number of the last question; answers to earlier ones are late
};

}  // namespace kestrin
