// SPDX-License-Identifier: GPL-3.0-or-later
// Alerts in a terminal: the confirmation and the questions as prompts, everything else as lines on
// standard error.
#pragma once

#include <QString>
#include <QTimer>
#include <functional>

#include "erase/AlertPanel.h"

namespace kestrin {

class Console;

/// Whatever ends a prompt without an answer (end of input, Ctrl-C, no terminal) declines the
/// confirmation and answers a question with "skip", for all.
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
    void confirm(std::function<void(int)> answered);
    void prompt();
    void showSizeLine();
    void askAboutEntry(std::function<void(int)> answered);

    Console& m_console;
    QString m_sizeLine;
    QTimer m_patience;
    std::function<void(int)> m_answered;  ///< of a confirmation that waits for its figures
    bool m_isCounting = false;
    bool m_isPrompting = false;
    bool m_suppressionIsOn = false;
};

}  // namespace kestrin
