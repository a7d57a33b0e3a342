// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/TerminalAlertPanel.h"

#include <QEventLoop>
#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "base/StringTable.h"
#include "cli/Answers.h"
#include "cli/Console.h"
#include "format/DisplayName.h"

namespace kestrin {

namespace {

/// How long the question waits for the figures, which are mostly there at once.
constexpr std::chrono::milliseconds kPatience(300);

/// The lines of a text, each fit for a terminal whatever names it holds.
QStringList printableLines(const QString& text) {
    QStringList lines;
    for (const QString& line : text.split(u'\n', Qt::SkipEmptyParts))
        lines += displayName(line);
    return lines;
}

/// Whether the title had to shorten the name.
bool needsFullName(const AlertModel& model) {
    return !model.fullName.isEmpty() && !model.title.contains(model.fullName);
}

}  // namespace

int TerminalAlertPanel::runModal(const AlertModel& model) {
    std::optional<int> result;
    QEventLoop loop;
    beginSheet(model, nullptr, [&](int button) {
        result = button;
        loop.quit();
    });
    if (!result) loop.exec();
    return result.value_or(model.notAnswered);
}

void TerminalAlertPanel::beginSheet(const AlertModel& model, WindowHandle,
                                    std::function<void(int)> answered) {
    if (model.topic == AlertModel::Topic::Other) {
        report(model);
        return answered(model.notAnswered);
    }
    if (!m_console.terminal().canAsk()) {
        m_suppressionIsOn = true;
        return answered(model.notAnswered);
    }
    showTexts(model);
    const int notAnswered = model.notAnswered;
    if (model.topic != AlertModel::Topic::EraseConfirmation) {
        return askAboutEntry(notAnswered, std::move(answered));
    }
    confirm([notAnswered, answered = std::move(answered)](bool isConfirmed) {
        answered(isConfirmed ? kAlertFirstButton : notAnswered);
    });
}

void TerminalAlertPanel::showTexts(const AlertModel& model) {
    QStringList lines = printableLines(model.title);
    if (needsFullName(model)) lines += printableLines(model.fullName);
    lines += printableLines(model.text);
    for (const QString& line : lines)
        m_console.terminal().promptMessage(line);
}

void TerminalAlertPanel::report(const AlertModel& model) {
    for (const QString& line : printableLines(model.title) + printableLines(model.text)) {
        m_console.complain(line);
    }
}

void TerminalAlertPanel::confirm(std::function<void(bool)> confirmed) {
    m_confirmed = std::move(confirmed);
    if (!m_isCounting) return prompt();
    m_patience.setSingleShot(true);
    QObject::connect(&m_patience, &QTimer::timeout, &m_patience, [this] { prompt(); });
    m_patience.start(kPatience);
}

void TerminalAlertPanel::prompt() {
    m_patience.stop();
    m_isPrompting = true;
    if (!m_console.terminal().hasEndedQuestions()) showSizeLine();
    m_console.terminal().ask(m_console.text("cli_confirm_prompt"_key),
                             [this, confirmed = std::exchange(m_confirmed, nullptr)](
                                 const std::optional<std::string>& line) {
                                 m_isPrompting = false;
                                 confirmed(line && isYes(*line));
                             });
}

void TerminalAlertPanel::askAboutEntry(int notAnswered, std::function<void(int)> answered) {
    m_console.terminal().ask(m_console.text("cli_refused_prompt"_key),
                             [this, notAnswered, answered = std::move(answered)](
                                 const std::optional<std::string>& line) mutable {
                                 if (!line) {
                                     m_suppressionIsOn = true;
                                     return answered(notAnswered);
                                 }
                                 const std::optional<RefusedAnswer> answer = refusedAnswer(*line);
                                 if (!answer)
                                     return askAboutEntry(notAnswered, std::move(answered));
                                 m_suppressionIsOn = answer->holdsForAll;
                                 answered(answer->erases ? kAlertSecondButton : kAlertFirstButton);
                             });
}

void TerminalAlertPanel::setSizeLine(const QString& text, bool spinning) {
    m_isCounting = spinning;
    if (text == m_sizeLine) return;
    m_sizeLine = text;
    if (m_isPrompting) showSizeLine();
    if (m_confirmed && !spinning) prompt();
}

void TerminalAlertPanel::showSizeLine() {
    for (const QString& line : printableLines(m_sizeLine))
        m_console.terminal().promptMessage(line);
}

}  // namespace kestrin
