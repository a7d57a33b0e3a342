// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QWidgetAction>
#include <atomic>
#include <future>

#include "app/QVDiskMenuItemView.h"
#include "app/TrashTotals.h"
#include "base/NotificationCenter.h"
#include "base/StringTable.h"
#include "erase/QVDeleteItems.h"
#include "format/QVNumberUtilities.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

TrashLocation disk(const QString& name, const std::string& path = "/media/disk") {
    return {FileUrl::fromPath(path + "/.Trash-1/files"), FileUrl::fromPath(path), name, path,
            false};
}

class DiskRowTest : public ::testing::Test {
 protected:
    DiskRowTest() { action->setDefaultWidget(row); }
    ~DiskRowTest() override {
        if (!answered) answer.set_value();
    }

    void arrive(bool isShown = true) {
        answered = true;
        answer.set_value();
        EXPECT_TRUE(!isShown || test::waitFor([&] { return row->info().has_value(); }));
    }

    NotificationCenter center;
    StringTable texts{QStringLiteral("en")};
    QVNumberUtilities numbers{"en_US", texts};
    std::promise<void> answer;
    std::shared_future<void> gate = answer.get_future().share();
    bool answered = false;
    DiskRowServices services{center, texts, numbers,
                             [gate = gate](auto&, auto&) {
                                 gate.wait();
                                 return TrashContents{{.size = 3'400'000, .count = 12},
                                                      std::make_shared<ItemsToErase>(1)};
                             },
                             [](const TrashLocation&) { return QIcon(); }};
    std::unique_ptr<QWidgetAction> action = std::make_unique<QWidgetAction>(nullptr);
    QVDiskMenuItemView* row = new QVDiskMenuItemView(services, *action);
};

TEST_F(DiskRowTest, forgetsTheFiguresOfAnotherTrashOnly) {
    row->setDiskDict(disk(QStringLiteral("A")));
    row->gatherTrashInfo();
    arrive();
    row->setDiskDict(disk(QStringLiteral("A renamed")));
    EXPECT_EQ(row->itemsCount(), 12u);
    row->setDiskDict(disk(QStringLiteral("B"), "/media/other"));
    EXPECT_EQ(row->itemsCount(), 0u);
    EXPECT_TRUE(row->itemsToErase()->empty()) << "the entries of another disk would be erased";
}

TEST_F(DiskRowTest, bringsLateFiguresToItsOwnEraseAlone) {
    int posts = 0;
    const Observation observation = center.observe(EraseNotification::kUpdateCountAndSizeToDelete,
                                                   [&](const Notification&) { ++posts; });
    row->setDiskDict(disk(QStringLiteral("A")));
    row->waitForStopWorking(this);
    center.post(EraseNotification::kStopWorking, row);
    EXPECT_TRUE(row->isWorking()) << "another erase ended";
    center.post(EraseNotification::kStopWorking, this);  // declined before the figures came
    EXPECT_FALSE(row->isWorking());
    arrive();
    EXPECT_EQ(posts, 0) << "they would reach the next erase";
}

TEST_F(DiskRowTest, bringsFiguresAlsoWhenItsDiskWent) {
    std::uint64_t count = 0;
    const Observation observation =
        center.observe(EraseNotification::kUpdateCountAndSizeToDelete, [&](const Notification& n) {
            count = n.userInfo.value<std::uint64_t>(EraseNotification::kCount);
        });
    row->setDiskDict(disk(QStringLiteral("A")));
    row->waitForStopWorking(this);
    action.reset();
    arrive(false);
    EXPECT_TRUE(test::waitFor([&] { return count == 12; })) << "an erase waits for them";
}

TEST(TrashTotals, sumsUpWhatIsThereNowBesideACountThatHangs) {
    std::promise<void> volumeAnswers;
    std::atomic<int> begun = 0;
    std::vector<std::function<void()>> delays;
    TrashTotals totals(
        [&, gate = volumeAnswers.get_future().share()](const std::vector<FileUrl>& trashes,
                                                       const std::stop_token&) {
            ++begun;
            if (trashes[0] == FileUrl::fromPath("/hangs")) gate.wait();
            return TrashContents{.figures = {.size = 20, .count = 2 * trashes.size()}};
        },
        [&](auto, auto call) {
            delays.push_back(std::move(call));
            return std::make_unique<QObject>();
        });
    int changes = 0;
    totals.setChangeHandler([&] { ++changes; });

    totals.want({FileUrl::fromPath("/hangs")});
    totals.want({FileUrl::fromPath("/hangs")});
    ASSERT_EQ(delays.size(), 1u) << "it is under way";
    delays[0]();
    totals.forget();
    totals.want({FileUrl::fromPath("/one"), FileUrl::fromPath("/two")});
    EXPECT_FALSE(totals.figures());
    delays[1]();
    ASSERT_TRUE(test::waitFor([&] { return changes == 1; }));
    EXPECT_EQ(totals.figures()->count, 4u);
    EXPECT_EQ(totals.figures()->size, 20u);

    for (const std::size_t again : {2, 3}) {
        totals.forget();
        totals.want({FileUrl::fromPath("/hangs")});
        delays[again]();
    }
    test::waitFor([] { return false; }, 50);
    EXPECT_EQ(begun, 2) << "one more thread for each change";
    volumeAnswers.set_value();
    EXPECT_TRUE(test::waitFor([&] { return totals.figures().has_value(); }));
    EXPECT_EQ(begun, 3);
    EXPECT_EQ(changes, 2) << "an old count came late";
}

}  // namespace
}  // namespace kestrin
