// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <csignal>

#include "base/StringTable.h"
#include "cli/Console.h"
#include "cli/StopSignals.h"
#include "cli/Terminal.h"
#include "cli/TerminalAlertPanel.h"
#include "cli/support/PseudoTerminal.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

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

struct Shown {
    int button = 0;
    bool forAll = false;
    std::string printed;
};

AlertModel model(AlertModel::Topic topic) {
    AlertModel alert{.notAnswered = topic == AlertModel::Topic::EraseConfirmation
                                        ? kAlertSecondButton
                                        : kAlertFirstButton,
                     .topic = topic};
    alert.title = QStringLiteral("Erase \u201ca\x1b\u202eb\u201d?");
    return alert;
}

/// A panel on the user's terminal, until what it came to is looked at.
struct Session {
    const StringTable texts{QStringLiteral("en")};
    const test::PseudoTerminal user;
    Console console{stdout, texts};
    TerminalAlertPanel panel{console};
};

/// Shows an alert to a user who types `keys`.
Shown shownTo(AlertModel::Topic topic, std::string_view keys) {
    Session session;
    session.user.type(keys);
    const int button = session.panel.runModal(model(topic));
    return {button, session.panel.suppressionIsOn(), session.user.printed()};
}

using Topic = AlertModel::Topic;

TEST(TerminalAlertPanel, QuestionsTakeSkipOrEraseOnceOrForAll) {
    const std::string longLine = "e" + std::string(2000, ' ') + "\ns\n";
    const struct {
        Topic topic;
        const char* keys;
        int button;
        bool forAll;
    } cases[] = {{Topic::Other, "", kAlertFirstButton, false},
                 {Topic::EraseConfirmation, "y\n", kAlertFirstButton, false},
                 {Topic::EraseConfirmation, "maybe\n", kAlertSecondButton, false},
                 {Topic::LockedQuestion, "s\n", kAlertFirstButton, false},
                 {Topic::ForbiddenQuestion, "E\n", kAlertSecondButton, false},
                 {Topic::LockedQuestion, "what?\n\ne all\n", kAlertSecondButton, true},
                 {Topic::LockedQuestion, longLine.c_str(), kAlertSecondButton, false},
                 {Topic::LockedQuestion, "\x04", kAlertFirstButton, true}};  // the end of input
    for (const auto& [topic, keys, button, forAll] : cases) {
        const Shown shown = shownTo(topic, keys);
        EXPECT_EQ(shown.button, button) << keys;
        EXPECT_EQ(shown.forAll, forAll) << keys;
        EXPECT_NE(shown.printed.find("a‹U+001B›‹U+202E›b"), std::string::npos);
    }
}

/// What follows the title of a confirmation that begins while the items are counted, and waits for
/// a Stop or its figures.
Shown shownWhileCounting(int milliseconds, bool stops) {
    Session session;
    int button = 0;
    session.panel.setSizeLine(QStringLiteral("Counting"), true);
    session.panel.beginSheet(model(Topic::EraseConfirmation), nullptr,
                             [&](int result) { button = result; });
    session.user.printed();
    test::waitFor([] { return false; }, milliseconds);
    if (stops) session.console.terminal().endQuestions();
    for (int times = stops ? 0 : 2; times > 0; --times)
        session.panel.setSizeLine(QStringLiteral("3 items"), false);
    if (stops) test::waitFor([&] { return button != 0; });
    return {button, false, session.user.printed()};
}

TEST(TerminalAlertPanel, ThePromptWaitsAMomentForTheFiguresAndIsRepeatedBelowLateOnes) {
    const StringTable texts(QStringLiteral("en"));
    const std::string prompt = texts.text("cli_confirm_prompt").toStdString();
    EXPECT_EQ(shownWhileCounting(0, false).printed, "3 items\n" + prompt);
    EXPECT_EQ(shownWhileCounting(500, false).printed,
              "Counting\n" + prompt + "\n3 items\n" + prompt);
    const Shown stopped = shownWhileCounting(0, true);
    EXPECT_EQ(stopped.printed, "");
    EXPECT_EQ(stopped.button, kAlertSecondButton);
}

TEST(StopSignals, TheFirstIsStopAndTheSecondEndsAtOnce) {
    int stops = 0;
    const StopSignals signals([&] { ++stops; });
    ::raise(SIGHUP);
    EXPECT_EQ(stops, 0) << "not in the handler";
    EXPECT_TRUE(test::waitFor([&] { return stops == 1; }));
    EXPECT_EXIT(::raise(SIGTERM), ::testing::ExitedWithCode(kStatusStopped), "");
}

}  // namespace
}  // namespace kestrin
