// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ScriptedAlertPanel.h"

#include <algorithm>
#include <utility>

#include "base/MainThread.h"

namespace kestrin::test {

AlertPanelFactory ScriptedAlerts::factory() {
    return [this] { return std::make_unique<ScriptedAlertPanel>(*this); };
}

void ScriptedAlerts::addAnswer(int button, bool suppression, std::function<void()> meanwhile) {
    m_answers.push_back({button, suppression, std::move(meanwhile)});
}

ScriptedAlerts::Answer ScriptedAlerts::nextAnswer() {
    if (m_answers.empty()) return defaultAnswer;
    Answer answer = std::move(m_answers.front());
    m_answers.pop_front();
    return answer;
}

void ScriptedAlerts::answerSheet(int button) {
    answerSheetOf(sheets.front().panel, button);
}

void ScriptedAlerts::answerSheetOf(const AlertPanel* panel, int button) {
    const auto found = std::ranges::find(sheets, panel, &Sheet::panel);
    if (found == sheets.end()) return;
    const auto answered = found->answered;
    sheets.erase(found);
    answered(button);
}

ScriptedAlertPanel::ScriptedAlertPanel(ScriptedAlerts& script)
    : m_script(script), m_scriptLife(script.m_life) {
    ++m_script.panelsAlive;
}

ScriptedAlertPanel::~ScriptedAlertPanel() {
    if (m_scriptLife.expired()) return;
    std::erase_if(m_script.sheets, [this](const auto& sheet) { return sheet.panel == this; });
    --m_script.panelsAlive;
}

int ScriptedAlertPanel::runModal(const AlertModel& model) {
    m_script.models.push_back(model);
    const ScriptedAlerts::Answer answer = m_script.nextAnswer();
    if (answer.meanwhile) answer.meanwhile();
    m_suppression = answer.suppression;
    return answer.button;
}

void ScriptedAlertPanel::beginSheet(const AlertModel& model, WindowHandle parent,
                                    std::function<void(int)> answered) {
    m_script.models.push_back(model);
    m_script.sheets.push_back({this, parent, std::move(answered)});
    if (m_script.answersSheets) answerLater();
}

/// As a user would: after beginSheet has returned.
void ScriptedAlertPanel::answerLater() {
    const ScriptedAlerts::Answer answer = m_script.nextAnswer();
    m_suppression = answer.suppression;
    MainThread::post([answer, panel = this, &script = m_script] {
        if (answer.meanwhile) answer.meanwhile();
        script.answerSheetOf(panel, answer.button);
    });
}

void ScriptedAlertPanel::setSizeLine(const QString& text, bool spinning) {
    m_script.sizeLines.push_back({text, spinning});
}

}  // namespace kestrin::test
