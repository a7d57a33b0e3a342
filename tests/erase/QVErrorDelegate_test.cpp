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

    /// Asks on a thread of its own while the main thread serves its events.
    static int onWorker(const std::function<int()>& ask) {
        std::atomic<int> result = 0;
        std::jthread worker([&] { result = ask(); });
        EXPECT_TRUE(test::waitFor([&] { return result != 0; }));
        return result;
    }
};

TEST_F(QVErrorDelegateTest, ErrorsTakeTheirTextsFromTheErrorTable) {
    presenter.showError("busy_plur", "", {QStringLiteral("3")});
    presenter.showError(ErrorReport{"The disk is on fire: %@", "busy_sing", {}});
    presenter.showError("");
    ASSERT_EQ(alerts.models.size(), 2U);
    EXPECT_EQ(alerts.models[0].title, QStringLiteral("3 items are in use and were not erased."));
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
    EXPECT_LT(model.title.size() + model.text.size(), 160);
    EXPECT_EQ(model.fullName, QStringLiteral("%d\\n") + QString(300, u'x'));
}

TEST_F(QVErrorDelegateTest, AWorkersQuestionIsAskedOnTheMainThread) {
    bool applyToAll = false;
    alerts.addAnswer(kAlertSecondButton, true, [] { EXPECT_TRUE(MainThread::isCurrent()); });
    const auto ask = [&] {
        return presenter.askToTheUser({.question = "undeleted_locked_sing_str",
                                       .message = "undeleted_locked_sing_msg",
                                       .additionalNames = {QStringLiteral("a.txt")},
                                       .defaultButton = "skip",
                                       .alternateButton = "erase",
                                       .notAnswered = kAlertThirdButton,
                                       .showView = true,
                                       .viewStatus = &applyToAll});
    };
    EXPECT_EQ(onWorker(ask), kAlertSecondButton);
    EXPECT_TRUE(applyToAll);
    const AlertModel& model = alerts.models.at(0);
    EXPECT_EQ(model.title, QStringLiteral("“a.txt” is locked."));
    EXPECT_EQ(model.buttons[0], texts.text("skip"));
    EXPECT_EQ(model.buttons[1], texts.text("erase"));
    EXPECT_EQ(model.suppressionTitle, texts.text("apply_to_all"));
    EXPECT_EQ(model.notAnswered, kAlertThirdButton);
    EXPECT_EQ(alerts.panelsAlive, 0);
}

TEST_F(QVErrorDelegateTest, ATickedBoxAnswersTheQuestionFromThenOn) {
    const auto askWithView = [&] {
        return presenter.askToTheUserWithView({.question = "erase_all",
                                               .defaultButton = "erase",
                                               .alternateButton = "cancel_btn",
                                               .notAnswered = kAlertSecondButton,
                                               .preferenceKey = "never_ask"});
    };
    alerts.addAnswer(kAlertSecondButton, true);
    EXPECT_EQ(onWorker(askWithView), kAlertSecondButton);
    EXPECT_EQ(onWorker(askWithView), kAlertFirstButton);
    EXPECT_EQ(alerts.models.size(), 1U);
    EXPECT_EQ(alerts.models[0].suppressionTitle, texts.text("suppression_message_text"));
}

TEST_F(QVErrorDelegateTest, WhereNobodyCanBeAskedTheQuestionSaysWhatThatMeans) {
    QVErrorDelegate nobody([] { return nullptr; }, texts, defaults);
    for (const int button : {kAlertFirstButton, kAlertSecondButton}) {
        const Question question{.question = "erase_all",
                                .defaultButton = "erase",
                                .alternateButton = "cancel_btn",
                                .notAnswered = button};
        EXPECT_EQ(nobody.askToTheUser(question), button);
        EXPECT_EQ(nobody.askToTheUserWithView(question), button);
    }
}

}  // namespace
}  // namespace kestrin
