// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Terminal.h"

#include <gtest/gtest.h>

#include "cli/support/PseudoTerminal.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using Answer = std::optional<std::string>;

/// What a question came to after `keys`; "(open)" when nothing ended it.
Answer answerTo(Terminal& terminal, const test::PseudoTerminal& user, std::string_view keys) {
    Answer answer = "(open)";
    bool isAnswered = false;
    terminal.ask(QStringLiteral("? "), [&](Answer line) {
        answer = std::move(line);
        isAnswered = true;
    });
    user.type(keys);
    test::waitFor([&] { return isAnswered; }, 2000);
    return answer;
}

TEST(Terminal, AnswersAreLines) {
    Answer line, empty, end, longLine;
    const std::string many(2000, 'x');
    {
        const test::PseudoTerminal user;
        Terminal terminal;
        line = answerTo(terminal, user, "yes\n");
        empty = answerTo(terminal, user, "\n");
        longLine = answerTo(terminal, user, many + "\n");
        end = answerTo(terminal, user, "\x04");
    }
    EXPECT_EQ(line, "yes");
    EXPECT_EQ(empty, "");
    EXPECT_EQ(longLine, many);
    EXPECT_EQ(end, std::nullopt);
}

TEST(Terminal, ACancelledQuestionHasNoAnswer) {
    Answer answer = "(open)";
    bool isAsking = true;
    {
        const test::PseudoTerminal user;
        Terminal terminal;
        terminal.ask(QStringLiteral("? "), [&](Answer line) { answer = std::move(line); });
        terminal.cancelQuestion();
        isAsking = terminal.isAsking();
    }
    EXPECT_EQ(answer, std::nullopt);
    EXPECT_FALSE(isAsking);
}

TEST(Terminal, TheStatusLineIsRewrittenAndWipedOff) {
    std::string printed;
    {
        const test::PseudoTerminal user(20);
        Terminal terminal;
        terminal.showStatus(QStringLiteral("12345"));
        terminal.showStatus(QStringLiteral("12345"));
        terminal.showStatus(QStringLiteral("123"));
        terminal.message(QStringLiteral("hello"));
        terminal.showStatus(QString(30, u'x'));
        printed = user.printed();
    }
    EXPECT_EQ(printed, "\r12345\r123  \r   \rhello\n\r" + std::string(19, 'x'));
}

TEST(Terminal, AMessageMeanwhilePutsThePromptBelowItself) {
    std::string printed;
    {
        const test::PseudoTerminal user;
        Terminal terminal;
        terminal.ask(QStringLiteral("sure? "), [](const Answer&) {});
        terminal.promptMessage(QStringLiteral("3 items"));
        printed = user.printed();
    }
    EXPECT_EQ(printed, "sure? \n3 items\nsure? ");
}

}  // namespace
}  // namespace kestrin
