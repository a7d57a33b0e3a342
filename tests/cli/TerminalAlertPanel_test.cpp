// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/TerminalAlertPanel.h"

#include <gtest/gtest.h>

#include "base/StringTable.h"
#include "cli/Console.h"
#include "cli/support/PseudoTerminal.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

struct Shown {
    int button = 0;
    bool forAll = false;
    std::string printed;
};

AlertModel model(AlertModel::Topic topic) {
    AlertModel alert;
    alert.topic = topic;
    alert.title = QStringLiteral("Erase \u201ca\x1b\u202eb\u201d?");
    alert.text = QStringLiteral("First.\nSecond.");
    alert.fullName = QStringLiteral("/trash/a\nb");
    return alert;
}

/// Shows an alert to a user who types `keys`.
Shown shownTo(AlertModel::Topic topic, std::string_view keys) {
    const StringTable texts(QStringLiteral("en"));
    const test::PseudoTerminal user;
    Console console(stdout, texts);
    TerminalAlertPanel panel(console);
    user.type(keys);
    Shown shown;
    shown.button = panel.runModal(model(topic));
    shown.forAll = panel.suppressionIsOn();
    shown.printed = user.printed();
    return shown;
}

using Topic = AlertModel::Topic;

TEST(TerminalAlertPanel, OnlyYesConfirmsAnErase) {
    EXPECT_EQ(shownTo(Topic::EraseConfirmation, "y\n").button, kAlertFirstButton);
    for (const char* keys : {"\n", "n\n", "maybe\n", "\x04"}) {
        EXPECT_EQ(shownTo(Topic::EraseConfirmation, keys).button, kAlertSecondButton) << keys;
    }
}

TEST(TerminalAlertPanel, QuestionsTakeSkipOrEraseOnceOrForAll) {
    const Shown skip = shownTo(Topic::LockedQuestion, "s\n");
    const Shown erase = shownTo(Topic::ForbiddenQuestion, "E\n");
    const Shown eraseAll = shownTo(Topic::LockedQuestion, "what?\n\ne all\n");
    EXPECT_EQ(skip.button, kAlertFirstButton);
    EXPECT_FALSE(skip.forAll);
    EXPECT_EQ(erase.button, kAlertSecondButton);
    EXPECT_FALSE(erase.forAll);
    EXPECT_EQ(eraseAll.button, kAlertSecondButton);
    EXPECT_TRUE(eraseAll.forAll);
}

TEST(TerminalAlertPanel, TheEndOfInputSkipsAll) {
    const Shown shown = shownTo(Topic::LockedQuestion, "\x04");
    EXPECT_EQ(shown.button, kAlertFirstButton);
    EXPECT_TRUE(shown.forAll);
}

TEST(TerminalAlertPanel, ReportsAreLinesAndNeedNoAnswer) {
    const Shown shown = shownTo(Topic::Other, "");
    EXPECT_EQ(shown.button, kAlertFirstButton);
    EXPECT_NE(shown.printed.find("\nkestrin: First.\nkestrin: Second.\n"), std::string::npos);
}

TEST(TerminalAlertPanel, NothingShownMovesTheCursorOrTurnsTheText) {
    for (const Topic topic : {Topic::Other, Topic::LockedQuestion}) {
        const std::string printed = shownTo(topic, "s\n").printed;
        EXPECT_EQ(printed.find('\x1b'), std::string::npos);
        EXPECT_EQ(printed.find("\u202e"), std::string::npos);
    }
}

/// What a confirmation prints that begins while the items are counted, waits, and gets its figures.
std::string printedWithFiguresAfter(int milliseconds) {
    const StringTable texts(QStringLiteral("en"));
    const test::PseudoTerminal user;
    Console console(stdout, texts);
    TerminalAlertPanel panel(console);
    panel.setSizeLine(QStringLiteral("Counting"), true);
    panel.beginSheet(model(Topic::EraseConfirmation), nullptr, [](int) {});
    test::waitFor([] { return false; }, milliseconds);
    panel.setSizeLine(QStringLiteral("3 items"), false);
    panel.setSizeLine(QStringLiteral("3 items"), false);
    return user.printed();
}

TEST(TerminalAlertPanel, ThePromptWaitsAMomentForTheFigures) {
    const std::string atOnce = printedWithFiguresAfter(0);
    EXPECT_EQ(atOnce.find("Counting"), std::string::npos);
    const std::size_t figures = atOnce.find("3 items\n");
    ASSERT_NE(figures, std::string::npos);
    EXPECT_GT(atOnce.size(), figures + std::string("3 items\n").size()) << "then the prompt";
}

TEST(TerminalAlertPanel, AStopDuringThatMomentLeavesNoPrompt) {
    int button = 0;
    std::string printed = "(nothing read)";
    {
        const StringTable texts(QStringLiteral("en"));
        const test::PseudoTerminal user;
        Console console(stdout, texts);
        TerminalAlertPanel panel(console);
        panel.setSizeLine(QStringLiteral("Counting"), true);
        panel.beginSheet(model(Topic::EraseConfirmation), nullptr,
                         [&](int result) { button = result; });
        user.printed();
        console.terminal().endQuestions();
        test::waitFor([&] { return button != 0; });
        printed = user.printed();
    }
    EXPECT_EQ(button, kAlertSecondButton);
    EXPECT_EQ(printed, "");
}

TEST(TerminalAlertPanel, TheSizeLineIsShownBeforeAndWhileThePromptWaits) {
    const std::string printed = printedWithFiguresAfter(500);
    const std::size_t counting = printed.find("Counting\n");
    const std::size_t figures = printed.find("3 items\n");
    ASSERT_NE(counting, std::string::npos);
    ASSERT_NE(figures, std::string::npos);
    EXPECT_LT(counting, figures);
    EXPECT_EQ(printed.find("3 items\n", figures + 1), std::string::npos);
    EXPECT_GT(printed.size(), figures + std::string("3 items\n").size()) << "the prompt again";
}

}  // namespace
}  // namespace kestrin
