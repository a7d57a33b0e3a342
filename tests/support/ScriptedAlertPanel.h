// SPDX-License-Identifier: GPL-3.0-or-later
// Alerts answered by a script instead of a user.
#pragma once

#include <QString>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "erase/AlertPanel.h"

namespace kestrin::test {

/// The script of a test's alerts, and the record of what they said. Main thread. A panel that a
/// letter in the mailbox still holds may outlive it.
class ScriptedAlerts {
 public:
    struct Answer {
        int button = kAlertFirstButton;
        bool suppression = false;  ///< the check box is ticked
        /// Runs while the alert is open, before it is answered; may serve the event loop.
        std::function<void()> meanwhile;
    };
    struct SizeLine {
        QString text;
        bool spinning = false;
        friend bool operator==(const SizeLine&, const SizeLine&) = default;
    };
    struct Sheet {
        const AlertPanel* panel = nullptr;
        WindowHandle parent = nullptr;
        std::function<void(int)> answered;
    };

    /// Makes the panels.
    AlertPanelFactory factory();

    /// Scripts the answer of the next alert that has none yet.
    void addAnswer(int button, bool suppression = false, std::function<void()> meanwhile = {});

    Answer defaultAnswer;       ///< for alerts beyond the script
    bool answersSheets = true;  ///< false: sheets stay open until `answerSheet`

    /// Answers the oldest open sheet. Requires: there is one.
    void answerSheet(int button);

    std::vector<AlertModel> models;  ///< every alert shown, in order
    std::vector<SizeLine> sizeLines;
    std::vector<Sheet> sheets;  ///< open ones
    int panelsAlive = 0;

 private:
    friend class ScriptedAlertPanel;
    Answer nextAnswer();
    void answerSheetOf(const AlertPanel* panel, int button);

    std::deque<Answer> m_answers;
    std::shared_ptr<bool> m_life = std::make_shared<bool>();
};

class ScriptedAlertPanel : public AlertPanel {
 public:
    explicit ScriptedAlertPanel(ScriptedAlerts& script);
    ~ScriptedAlertPanel() override;

    int runModal(const AlertModel& model) override;
    void beginSheet(const AlertModel& model, WindowHandle parent,
                    std::function<void(int)> answered) override;
    bool suppressionIsOn() const override { return m_suppression; }
    void setSizeLine(const QString& text, bool spinning) override;

 private:
    void answerLater();

    ScriptedAlerts& m_script;
    const std::weak_ptr<bool> m_scriptLife;
    bool m_suppression = false;
};

}  // namespace kestrin::test
