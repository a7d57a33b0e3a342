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
    terminal.ask(QStringLiteral("? "), [&](Answer line) { answer = std::move(line); });
    user.type(keys);
    test::waitFor([&] { return !terminal.isAsking(); }, 2000);
    return answer;
}

TEST(Terminal, AnswersAreLines) {
    const std::string many(2000, 'x');
    std::vector<Answer> answers;
    {
        const test::PseudoTerminal user;
        Terminal terminal;
        for (const std::string& keys :
             {std::string("yes\n"), std::string("\n"), many + "\n", std::string("\x04")})
            answers.push_back(answerTo(terminal, user, keys));
    }
    EXPECT_EQ(answers, (std::vector<Answer>{"yes", "", many, std::nullopt}));
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

}  // namespace
}  // namespace kestrin
