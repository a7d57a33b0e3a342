// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVErrorDelegate.h"

#include <gtest/gtest.h>

#include <thread>

#include "base/MainThread.h"
#include "base/UserDefaults.h"
#include "support/ScriptedAlertPanel.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

struct QVErrorDelegateTest : ::testing::Test {
    test::ScratchFolder scratch;
    test::ScriptedAlerts alerts;
    StringTable texts{QStringLiteral("en")};
    UserDefaults defaults{scratch / "settings.conf"};
    QVErrorDelegate presenter{alerts.factory(), texts, defaults};
    int window = 0;

    /// Runs `call` on a thread of its own while the main thread serves its events.
    void onWorker(const std::function<void()>& call) {
        std::atomic<bool> isOver{false};
        std::jthread worker([&] {
            call();
            isOver = true;
        });
        EXPECT_TRUE(test::waitFor([&] { return isOver.load(); }));
    }

    int ask(bool* applyToAll = nullptr, WindowHandle parent = nullptr) {
        return presenter.askToTheUser("undeleted_locked_sing_str", "undeleted_locked_sing_msg",
                                      {QStringLiteral("a.txt")}, "skip", "erase", "",
                                      applyToAll != nullptr, applyToAll, false, parent);
    }
};

TEST_F(QVErrorDelegateTest, TheFirstInstanceIsTheSharedOne) {
    EXPECT_EQ(QVErrorDelegate::sharedControl(), &presenter);
    {
        const QVErrorDelegate second(alerts.factory(), texts, defaults);
        EXPECT_EQ(QVErrorDelegate::sharedControl(), &presenter);
    }
    EXPECT_EQ(QVErrorDelegate::sharedControl(), &presenter);
}

TEST_F(QVErrorDelegateTest, ErrorsTakeTheirTextsFromTheErrorTable) {
    presenter.showError("busy_plur", "", {QStringLiteral("3")});
    presenter.showError(ErrorReport{"The disk is on fire: %@", "busy_sing", {}});
    presenter.showError("");
    ASSERT_EQ(alerts.models.size(), 2U);
    EXPECT_EQ(alerts.models[0].title, QStringLiteral("3 items are in use and were not erased."));
    EXPECT_TRUE(alerts.models[0].text.isEmpty());
    EXPECT_EQ(alerts.models[0].style, AlertModel::Style::Warning);
    EXPECT_EQ(alerts.models[0].fullName, QString());
    EXPECT_EQ(alerts.models[1].title, QStringLiteral("The disk is on fire: %@"));
    EXPECT_EQ(alerts.models[1].text, texts.text("busy_sing", StringTable::Table::Errors));
}

TEST_F(QVErrorDelegateTest, HostileNamesAreShownHarmlessAndShort) {
    const QString name = QStringLiteral("%d\n") + QString(300, u'x');
    presenter.showErrorWithDict({"A %@, a %@", "of %@", {name, QStringLiteral("b")}, {{name}}});
    const AlertModel& model = alerts.models.at(0);
    EXPECT_TRUE(model.title.startsWith(QStringLiteral("A %d\\nxxx")));
    EXPECT_TRUE(model.title.endsWith(QStringLiteral("x, a b")));
    EXPECT_LT(model.title.size(), 80);
    EXPECT_LT(model.text.size(), 80);
    EXPECT_EQ(model.fullName, QStringLiteral("%d\\n") + QString(300, u'x'));
}

TEST_F(QVErrorDelegateTest, NamesFillThePlaceholdersInOrder) {
    const auto replaced = &QVErrorDelegate::replaceContentOfString;
    const QStringList two{QStringLiteral("50%@"), QStringLiteral("b")};
    EXPECT_EQ(replaced(QStringLiteral("<%@>"), {QStringLiteral("50%"), QStringLiteral("b")}),
              QStringLiteral("<50%>"));
    EXPECT_EQ(replaced(QStringLiteral("%@ %@ %@"), two), QStringLiteral("50b %@ %@"));
    EXPECT_EQ(replaced(QStringLiteral("%@ %d"), {}), QStringLiteral("%@ %d"));
}

TEST_F(QVErrorDelegateTest, AWorkersQuestionIsAskedOnTheMainThread) {
    bool applyToAll = false;
    int result = 0;
    alerts.addAnswer(kAlertSecondButton, true, [] { EXPECT_TRUE(MainThread::isCurrent()); });
    onWorker([&] { result = ask(&applyToAll); });
    EXPECT_EQ(result, kAlertSecondButton);
    EXPECT_EQ(presenter.lastResult(), kAlertSecondButton);
    EXPECT_TRUE(applyToAll);
    const AlertModel& model = alerts.models.at(0);
    EXPECT_EQ(model.title, QStringLiteral("“a.txt” is locked."));
    EXPECT_EQ(model.text, texts.text("undeleted_locked_sing_msg"));
    EXPECT_EQ(model.buttons[0], texts.text("skip"));
    EXPECT_EQ(model.buttons[1], texts.text("erase"));
    EXPECT_TRUE(model.buttons[2].isEmpty());
    EXPECT_EQ(model.suppressionTitle, texts.text("apply_to_all"));
    EXPECT_EQ(model.topic, AlertModel::Topic::LockedQuestion);
    EXPECT_EQ(alerts.panelsAlive, 0);
}

TEST_F(QVErrorDelegateTest, AFinishedQuestionTellsItsTopicAndName) {
    presenter.askToTheUser("Erase “a…z”?", "", {}, "busy_sing", "no_btn", "", false, nullptr, true,
                           nullptr, {AlertModel::Topic::ForbiddenQuestion, QStringLiteral("a\nz")});
    const AlertModel& model = alerts.models.at(0);
    EXPECT_EQ(model.topic, AlertModel::Topic::ForbiddenQuestion);
    EXPECT_EQ(model.title, QStringLiteral("Erase “a…z”?"));
    EXPECT_EQ(model.fullName, QStringLiteral("a\\nz"));
    EXPECT_FALSE(model.suppressionTitle);
    EXPECT_EQ(model.style, AlertModel::Style::Warning);
    EXPECT_EQ(model.buttons[0], texts.text("busy_sing", StringTable::Table::Errors));
    EXPECT_EQ(model.buttons[1], QStringLiteral("no_btn"));  // no such error text
}

TEST_F(QVErrorDelegateTest, AQuestionOnAWindowIsBackBeforeItsAnswer) {
    bool applyToAll = true;
    alerts.addAnswer(kAlertThirdButton, true);
    alerts.answersSheets = false;
    EXPECT_EQ(ask(nullptr, &window), 0);
    EXPECT_EQ(ask(&applyToAll, &window), 0);
    EXPECT_FALSE(applyToAll);
    ASSERT_EQ(alerts.sheets.size(), 2U);
    EXPECT_EQ(alerts.sheets[0].parent, &window);
    alerts.answerSheet(kAlertThirdButton);
    EXPECT_EQ(presenter.lastResult(), kAlertThirdButton);
    alerts.answerSheet(kAlertSecondButton);
    EXPECT_TRUE(test::waitFor([&] { return alerts.panelsAlive == 0; }));
}

TEST_F(QVErrorDelegateTest, MessagesAndErrorsMayBeSheets) {
    presenter.showMessagePanel(&window, "erase_all", "delete_mess", {});
    presenter.showErrorForWindow(&window, "busy_sing", "", {});
    EXPECT_EQ(alerts.models.at(0).title, texts.text("erase_all"));
    EXPECT_EQ(alerts.models.at(0).style, AlertModel::Style::Informational);
    EXPECT_EQ(alerts.models.at(1).style, AlertModel::Style::Warning);
    EXPECT_TRUE(test::waitFor([&] { return alerts.panelsAlive == 0; }));
}

TEST_F(QVErrorDelegateTest, ATickedBoxSuppressesTheMessageFromThenOn) {
    const auto show = [&] {
        return presenter.showMessagePanelWithView("erase_all", "", {}, "hide_it", false);
    };
    EXPECT_TRUE(show());
    alerts.addAnswer(kAlertFirstButton, true);
    EXPECT_TRUE(show());
    EXPECT_FALSE(show());
    EXPECT_EQ(alerts.models.size(), 2U);
    EXPECT_EQ(alerts.models[0].suppressionTitle, texts.text("suppression_message_text"));
}

TEST_F(QVErrorDelegateTest, ATickedBoxAnswersTheQuestionFromThenOn) {
    const auto askWithView = [&] {
        int result = 0;
        onWorker([&] {
            result = presenter.askToTheUserWithView("erase_all", "", {}, "erase", "cancel_btn", "",
                                                    "never_ask", false);
        });
        return result;
    };
    alerts.addAnswer(kAlertSecondButton, true);
    EXPECT_EQ(askWithView(), kAlertSecondButton);
    EXPECT_EQ(askWithView(), kAlertFirstButton);
    EXPECT_EQ(alerts.models.size(), 1U);
    EXPECT_TRUE(defaults.boolForKey("never_ask"));
}

TEST_F(QVErrorDelegateTest, WithoutAPanelTheFirstButtonAnswers) {
    QVErrorDelegate mute([] { return nullptr; }, texts, defaults);
    EXPECT_EQ(
        mute.askToTheUser("erase_all", "", {}, "skip", "erase", "", false, nullptr, false, &window),
        kAlertFirstButton);
    EXPECT_EQ(mute.askToTheUserWithView("erase_all", "", {}, "skip", "erase", "", "k", false),
              kAlertFirstButton);
    EXPECT_FALSE(mute.showMessagePanelWithView("erase_all", "", {}, "k", false));
    mute.showError("busy_sing");
}

}  // namespace
}  // namespace kestrin
