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
    QVAlert mute([] { return nullptr; }, texts, numbers);
    EXPECT_EQ(mute.showAlertWithTrashInfo(allDisks(), nullptr), kAlertSecondButton);
}

}  // namespace
}  // namespace kestrin
