// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <thread>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVAlert.h"
#include "erase/QVErrorDelegate.h"
#include "format/QVNumberUtilities.h"
#include "support/ScriptedAlertPanel.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

struct QVAlertTest : ::testing::Test {
    test::ScriptedAlerts alerts;
    StringTable texts{QStringLiteral("en")};
    QVNumberUtilities numbers{"en_US", texts};
    std::unique_ptr<QVAlert> alert = std::make_unique<QVAlert>(alerts.factory(), texts, numbers);
    int window = 0;

    static TrashInfo allDisks() {
        return {QStringLiteral("erase_all"), "delete_mess", "all_disks", 0, 0, false, {}};
    }
    static TrashInfo oneDisk(std::uint64_t size, std::uint64_t count) {
        return {QStringLiteral("Empty “Stick”?"), "delete_mess", "single_disk", size, count, false,
                QStringLiteral("Stick\n")};
    }
    /// The size line of the disk "Stick" that the text of `key` gives.
    QString diskLine(std::string_view key, const char* count, std::uint64_t size) const {
        return StringTable::filled(texts.text(key),
                                   {QStringLiteral("Stick\\n"), QString::fromLatin1(count),
                                    numbers.sizeToFormatString(size, 4, true)});
    }
    void beginSheet(const TrashInfo& info) {
        alerts.answersSheets = false;
        EXPECT_EQ(alert->showAlertWithTrashInfo(info, &window), 0);
        EXPECT_TRUE(test::waitFor([&] { return alerts.sheets.size() == 1; }));
    }
};

TEST_F(QVAlertTest, TellsTheFiguresOfADiskAndExactlyOneItemChoosesTheSingleTextForGood) {
    alerts.addAnswer(kAlertSecondButton);
    EXPECT_EQ(alert->showAlertWithTrashInfo(oneDisk(2'500'000, 1234), nullptr), kAlertSecondButton);
    EXPECT_EQ(alerts.models.at(0).title, QStringLiteral("Empty “Stick”?"));
    EXPECT_EQ(alerts.sizeLines.at(0).text, diskLine("single_disk", "1,234", 2'500'000));
    EXPECT_FALSE(alerts.sizeLines[0].spinning);
    EXPECT_EQ(alerts.panelsAlive, 0);

    QVAlert single(alerts.factory(), texts, numbers);
    single.showAlertWithTrashInfo(oneDisk(7, 1), nullptr);
    EXPECT_EQ(single.sizeInfoStr(), diskLine("single_disk_single", "1", 7));
    single.showSizeInfoStringWithSize(2, 0);
    EXPECT_EQ(single.sizeInfoStr(), diskLine("single_disk_single", "1", 9));
    single.showSizeInfoStringWithSize(1, 1);
    EXPECT_EQ(single.sizeInfoStr(), diskLine("single_disk_single", "2", 10));
}

TEST_F(QVAlertTest, FiguresArriveWhileTheAlertIsOpen) {
    std::jthread counter;
    alerts.addAnswer(kAlertFirstButton, false, [&] {
        alert->showSizeInfoStringWithSize(0, 0);  // figures of nothing
        counter = std::jthread([&] { alert->showSizeInfoStringWithSize(3000, 5); });
        EXPECT_TRUE(test::waitFor([&] { return alerts.sizeLines.size() == 3; }));
    });
    EXPECT_EQ(alert->showAlertWithTrashInfo(allDisks(), nullptr), kAlertFirstButton);
    const test::ScriptedAlerts::SizeLine gathering{texts.text("gathering_info"), true};
    const test::ScriptedAlerts::SizeLine figures{
        StringTable::filled(texts.text("all_disks"),
                            {QStringLiteral("5"), numbers.sizeToFormatString(3000, 4, true)}),
        false};
    EXPECT_EQ(alerts.sizeLines, (std::vector{gathering, gathering, figures}));
    EXPECT_TRUE(alert->stopped());
}

TEST_F(QVAlertTest, ASheetIsAnsweredToWhoeverWaits) {
    TrashInfo smart = allDisks();
    smart.isSmartErase = true;
    beginSheet(smart);
    int answer = 0;
    std::jthread worker([&] { answer = alert->waitUntilSheetWindowIsClosed(); });
    EXPECT_EQ(alerts.sheets.at(0).parent, &window);
    alerts.answerSheet(kAlertFirstButton);
    worker.join();
    EXPECT_EQ(answer, kAlertFirstButton);
    EXPECT_EQ(alerts.models.at(0).buttons[0], texts.text("erase_checked_button"));
    std::jthread([&] {  // lets it go with figures under way
        alert->showSizeInfoStringWithSize(1, 1);
        alert.reset();
    })
        .join();
    EXPECT_TRUE(test::waitFor([&] { return alerts.panelsAlive == 0; }));
}

TEST_F(QVAlertTest, WhatGoesUnansweredCountsAsCancelled) {
    beginSheet(allDisks());
    alerts.sheets.clear();
    EXPECT_EQ(alert->waitUntilSheetWindowIsClosed(), kAlertSecondButton);
    alert->showAlertWithTrashInfo(allDisks(), &window);
    alert->withdraw();
    EXPECT_TRUE(test::waitFor([&] { return alert->choice() == kAlertSecondButton; }));
    EXPECT_EQ(alerts.models.size(), 1U) << "a sheet that was withdrawn at once never opens";
    QVAlert mute([] { return nullptr; }, texts, numbers);
    EXPECT_EQ(mute.showAlertWithTrashInfo(allDisks(), nullptr), kAlertSecondButton);
}

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
