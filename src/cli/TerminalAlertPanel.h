// SPDX-License-Identifier: GPL-3.0-or-later
// Alerts in a terminal. The confirmation and the questions are prompts; everything else is lines on
// standard error.
#pragma once

#include <QString>
#include <QTimer>
#include <functional>

#include "erase/AlertPanel.h"

namespace kestrin {

class Console;

/// When a prompt ends without an answer (end of input, Ctrl-C, no terminal), the answer is the one
/// that the alert's model names for this; for a question about an entry it then holds for all
/// entries.
class TerminalAlertPanel : public AlertPanel {
 public:
    explicit TerminalAlertPanel(Console& console) : m_console(console) {}

    int runModal(const AlertModel& model) override;
    void beginSheet(const AlertModel& model, WindowHandle parent,
                    std::function<void(int)> answered) override;
    bool suppressionIsOn() const override { return m_suppressionIsOn; }
    void setSizeLine(const QString& text, bool spinning) override;

 private:
    void showTexts(const AlertModel& model);
    void report(const AlertModel& model);
    void confirm(std::function<void(bool)> confirmed);
    void prompt();
    void showSizeLine();
    void askAboutEntry(int notAnswered, std::function<void(int)> answered);

    Console& m_console;
    QString m_sizeLine;
    QTimer m_patience;
    std::function<void(bool)> m_confirmed;  ///< set while a confirmation waits for its figures
    bool m_isCounting = false;
    bool m_isPrompting = false;
    bool m_suppressionIsOn = false;
};

}  // namespace kestrin
