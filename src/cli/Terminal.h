// SPDX-License-Identifier: GPL-3.0-or-later
// The user's terminal, and standard error where there is none: messages, one status line that is
// rewritten in place, and answers typed on a line. All writing to standard error goes through here,
// so that a message never runs into the status line. Main thread.
#pragma once

#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class QSocketNotifier;

namespace kestrin {

class Terminal {
 public:
    /// An answer line without its line feed; none at the end of input or when cancelled.
    using Answered = std::function<void(std::optional<std::string>)>;

    /// Prompts go to standard error when it is a terminal, else to standard output.
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Puts no prompts on standard output, which JSON takes.
    void keepOffStandardOutput() { m_mayUseOutput = false; }
    /// Whether questions can be put: standard input is a terminal, and so is a place for prompts.
    bool canAsk() const;
    /// Whether standard error is a terminal, the place of the status line.
    bool hasStatusLine() const { return m_errorIsTerminal; }
    /// Cells in a line of standard error's terminal.
    int width() const;

    /// Writes a line to standard error.
    void message(const QString& text);
    /// Writes a line where the prompts stand, and then the open prompt once more.
    void promptMessage(const QString& text);

    /// Replaces the status line. Requires: hasStatusLine().
    void showStatus(const QString& text);
    void clearStatus();
    /// Hides the status line while it is held, because the last line belongs to somebody else.
    void holdStatus(bool holds);

    /// Writes `prompt` and calls `answered` once, from the event loop, with the line typed. After
    /// endQuestions() it calls `answered` at once, without a prompt. Requires: no other question is
    /// open.
    void ask(const QString& prompt, Answered answered);
    bool isAsking() const { return m_answered != nullptr; }
    /// Ends an open question without an answer.
    void cancelQuestion();
    /// Ends an open question without an answer. Every later question is ended at once, too.
    void endQuestions();
    bool hasEndedQuestions() const { return m_hasEndedQuestions; }

 private:
    int promptDescriptor() const;
    void readInput();
    void finish(std::optional<std::string> line);

    const bool m_inputIsTerminal;
    const bool m_outputIsTerminal;
    const bool m_errorIsTerminal;
    bool m_mayUseOutput = true;
    bool m_hasEndedQuestions = false;
    bool m_holdsStatus = false;
    int m_statusWidth = 0;  ///< cells that the status line covers at this moment
    QString m_status;
    QString m_prompt;
    std::string m_typed;  ///< what has come of a line that is not complete yet
    Answered m_answered;
    std::unique_ptr<QSocketNotifier> m_inputNotifier;
};

}  // namespace kestrin
