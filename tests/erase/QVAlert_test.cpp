// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVAlert.h"

#include <gtest/gtest.h>

#include <QStringList>
#include <thread>

#include "base/StringTable.h"
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
    QString gathering() const { return texts.text("gathering_info"); }
};

TEST_F(QVAlertTest, AsksBeforeAnErase) {
    alerts.addAnswer(kAlertSecondButton);
    EXPECT_EQ(alert->showAlertWithTrashInfo(oneDisk(2'500'000, 1234), nullptr), kAlertSecondButton);
    EXPECT_EQ(alert->choice(), kAlertSecondButton);
    EXPECT_EQ(alert->waitUntilSheetWindowIsClosed(), kAlertSecondButton);
    const AlertModel& model = alerts.models.at(0);
    EXPECT_EQ(model.title, QStringLiteral("Empty “Stick”?"));
    EXPECT_EQ(model.text, texts.text("delete_mess"));
    EXPECT_EQ(model.buttons[0], texts.text("empty_trash_button"));
    EXPECT_EQ(model.buttons[1], texts.text("cancel_btn"));
    EXPECT_EQ(model.style, AlertModel::Style::Critical);
    EXPECT_EQ(model.topic, AlertModel::Topic::EraseConfirmation);
    EXPECT_TRUE(model.hasSizeLine);
    const test::ScriptedAlerts::SizeLine line{diskLine("single_disk", "1,234", 2'500'000), false};
    EXPECT_EQ(alerts.sizeLines.at(0), line);
    EXPECT_EQ(alerts.panelsAlive, 0);
}

TEST_F(QVAlertTest, FiguresArriveWhileTheAlertIsOpen) {
    std::jthread counter;
    alerts.addAnswer(kAlertFirstButton, false, [&] {
        counter = std::jthread([&] { alert->showSizeInfoString(3000, 5); });
        EXPECT_TRUE(test::waitFor([&] { return alerts.sizeLines.size() == 2; }));
    });
    EXPECT_EQ(alert->showAlertWithTrashInfo(allDisks(), nullptr), kAlertFirstButton);
    const std::vector<test::ScriptedAlerts::SizeLine> expected{
        {gathering(), true},
        {StringTable::filled(texts.text("all_disks"),
                             {QStringLiteral("5"), numbers.sizeToFormatString(3000, 4, true)}),
         false}};
    EXPECT_EQ(alerts.sizeLines, expected);
    EXPECT_TRUE(alert->stopped());
}

TEST_F(QVAlertTest, FiguresOfNothingKeepTheGatheringText) {
    alert->showAlertWithTrashInfo(allDisks(), nullptr);
    alert->showSizeInfoString(0, 0);
    EXPECT_EQ(alert->sizeInfoStr(), gathering());
    EXPECT_FALSE(alert->stopped());
}

TEST_F(QVAlertTest, ExactlyOneItemChoosesTheSingleTextForGood) {
    alert->showAlertWithTrashInfo(oneDisk(7, 1), nullptr);
    EXPECT_EQ(alert->sizeInfoStr(), diskLine("single_disk_single", "1", 7));
    alert->showSizeInfoString(1, 0);
    EXPECT_EQ(alert->sizeInfoStr(), diskLine("single_disk_single", "1", 8));
    alert->showSizeInfoString(2, 1);
    EXPECT_EQ(alert->sizeInfoStr(), diskLine("single_disk_single", "2", 10));
}

TEST_F(QVAlertTest, ASheetIsAnsweredToWhoeverWaits) {
    TrashInfo smart = allDisks();
    smart.isSmartErase = true;
    alerts.answersSheets = false;
    EXPECT_EQ(alert->showAlertWithTrashInfo(smart, &window), 0);
    int answer = 0;
    {
        std::jthread worker([&] { answer = alert->waitUntilSheetWindowIsClosed(); });
        EXPECT_TRUE(test::waitFor([&] { return alerts.sheets.size() == 1; }));
        EXPECT_EQ(alerts.sheets.at(0).parent, &window);
        EXPECT_EQ(alert->choice(), 0);
        alerts.answerSheet(kAlertFirstButton);
    }
    EXPECT_EQ(answer, kAlertFirstButton);
    EXPECT_EQ(alerts.models.at(0).buttons[0], texts.text("erase_checked_button"));
    EXPECT_EQ(alerts.sizeLines.size(), 1U);
}

TEST_F(QVAlertTest, ASheetThatGoesUnansweredCountsAsCancelled) {
    alerts.answersSheets = false;
    alert->showAlertWithTrashInfo(allDisks(), &window);
    EXPECT_TRUE(test::waitFor([&] { return alerts.sheets.size() == 1; }));
    alerts.sheets.clear();
    EXPECT_EQ(alert->waitUntilSheetWindowIsClosed(), kAlertSecondButton);

    QVAlert mute([] { return nullptr; }, texts, numbers);
    mute.showAlertWithTrashInfo(allDisks(), &window);
    EXPECT_TRUE(test::waitFor([&] { return mute.choice() == kAlertSecondButton; }));
    EXPECT_EQ(mute.showAlertWithTrashInfo(allDisks(), nullptr), kAlertSecondButton);
}

TEST_F(QVAlertTest, MayGoOnAWorkerWithItsSheetOpenAndFiguresUnderWay) {
    alerts.answersSheets = false;
    alert->showAlertWithTrashInfo(allDisks(), &window);
    EXPECT_TRUE(test::waitFor([&] { return alerts.sheets.size() == 1; }));
    std::jthread([&] {
        alert->showSizeInfoString(1, 1);
        alert.reset();
    }).join();
    EXPECT_TRUE(test::waitFor([&] { return alerts.panelsAlive == 0; }));
}

}  // namespace
}  // namespace kestrin
