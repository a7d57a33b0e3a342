// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVSmartWindowSourceViewCntrl.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QAbstractItemModelTester>
#include <filesystem>
#include <map>

#include "base/OperationQueue.h"
#include "erase/EraseRequest.h"
#include "smartwindow/QVSourceTableView.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "smartwindow/support/WindowWorld.h"

namespace kestrin {
namespace {

namespace Key = SmartWindowNotification;
using test::waitFor;

class SourceListTest : public ::testing::Test {
 protected:
    explicit SourceListTest(std::chrono::milliseconds patience = std::chrono::hours(1))
        : world(patience) {
        for (const auto name : {Key::kUpdateItemsList, Key::kSourceCheckBtnDidClick,
                                EraseNotification::kUpdateCountAndSizeToDelete})
            observations.push_back(
                world.center.observe(name, [this, name](const Notification& told) {
                    ++posts[{name, told.sender}];
                }));
        observations.push_back(
            world.center.observe(Key::kShowSelectedItems, [this](const Notification& told) {
                const auto source =
                    told.userInfo.value<std::shared_ptr<QVSourceItem>>(Key::kSourceItem);
                shown.push_back(source ? source->displayName : QString());
            }));
    }

    void open() {
        controller = std::make_unique<QVSmartWindowSourceViewCntrl>(services, view);
        controller->viewDidLoad();
        controller->viewDidAppear();
        tester = std::make_unique<QAbstractItemModelTester>(
            &controller->model(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    }
    void mount(const std::string& name, bool tells = true) {
        world.volumes->mount(world.volume(name));
        if (tells) tellOfMount(name, true);
    }
    void tellOfMount(const std::string& name, bool wasAdded) {
        const auto tell = [this, name, wasAdded] {
            world.center.post(Key::kMountedVolumeDidChange, nullptr,
                              UserInfo()
                                  .set(Key::kDiskWasAdded, wasAdded)
                                  .set(Key::kDevicePath, world.scratch / name));
        };
        if (!wasAdded) tell();
        world.trashes.refresh(wasAdded ? std::function<void()>(tell) : nullptr);
    }
    QVSourceItem& source(std::size_t row) { return *controller->sourceItems().at(row); }
    std::size_t sources() const { return controller->sourceItems().size(); }
    std::size_t children(std::size_t row) {
        const std::lock_guard lock(source(row).lock);
        return source(row).children.size();
    }
    /// Whether the source is read and measured to its end.
    bool holds(std::size_t row, std::size_t entries, std::uint64_t bytes) {
        return waitFor([&] {
            return sources() > row && children(row) == entries && source(row).count == entries &&
                   source(row).size == bytes && source(row).gatheringSizeCount == 0;
        });
    }
    bool click(int row) {
        return controller->model().setData(controller->model().index(row), {}, Qt::CheckStateRole);
    }
    int postsOf(std::string_view name, std::size_t row) { return posts[{name, &source(row)}]; }

    test::WindowWorld world;
    const SmartWindowServices services = world.services();
    QVSourceTableView view;
    std::unique_ptr<QVSmartWindowSourceViewCntrl> controller;
    std::unique_ptr<QAbstractItemModelTester> tester;
    std::vector<QString> shown;
    std::map<std::pair<std::string_view, const void*>, int> posts;
    std::vector<Observation> observations;
};

TEST_F(SourceListTest, ReadsAndMeasuresEveryTrashAndShowsTheFirstThatIsNotEmpty) {
    ListedVolume empty = world.volume("Empty");
    empty.trashes.front().trashIsEmpty = true;
    world.volumes->mount(empty);
    mount("Disk", false);
    mount("Camera", false);
    for (const auto* entry : {"a/1", "a/sub/2", "b/3", "c/4", "file"})
        world.trash("Disk", entry);
    world.trash("Camera", "picture", 7);
    open();
    ASSERT_TRUE(holds(1, 4, 50) && holds(2, 1, 7));
    ASSERT_TRUE(
        waitFor([&] { return postsOf(EraseNotification::kUpdateCountAndSizeToDelete, 1) == 1; }));
    EXPECT_GE(postsOf(Key::kUpdateItemsList, 1), 4) << "its entries, and each folder";
    EXPECT_EQ(postsOf(EraseNotification::kUpdateCountAndSizeToDelete, 2), 0);
    EXPECT_EQ(shown, std::vector{QStringLiteral("Disk")});
    EXPECT_EQ(currentSelectedSourceName(), u"Disk");
    EXPECT_EQ(controller->lastSelectedRow(), 1);
    const auto folder = std::ranges::find(source(1).children, "a", &QVSmartWindowItem::name);
    EXPECT_EQ((*folder)->actualCount, 3);
    EXPECT_TRUE(click(2));
    EXPECT_EQ(source(2).markedStatus, 1);
    EXPECT_EQ(source(2).markedSize, 7);
    (*folder)->isMarked = true;
    world.center.post(Key::kUpdateMarkedInfo, &Key::kUpdateMarkedInfo,
                      UserInfo().set(Key::kSourceItem, controller->sourceItems()[1]));
    EXPECT_EQ(source(1).markedStatus, -1);
    EXPECT_EQ(source(1).markedSize, 20);
    EXPECT_TRUE(click(1));
    EXPECT_EQ(postsOf(Key::kSourceCheckBtnDidClick, 1), 1) << "its entries are on screen";
    EXPECT_TRUE(
        std::ranges::all_of(source(1).children, [](auto& item) { return item->isMarked.load(); }));
    EXPECT_FALSE(click(0)) << "an empty trash";
}

TEST_F(SourceListTest, ReadsAgainWhatChangedUnlessAsManyEntriesAreThere) {
    mount("Disk", false);
    for (const auto* entry : {"stays", "goes", "folder/1"})
        world.trash("Disk", entry);
    open();
    ASSERT_TRUE(holds(0, 3, 30));
    const std::string files = world.scratch / "Disk/.Trash-1/files/";
    unlink((files + "goes").c_str());
    world.trash("Disk", "came/1", 5);
    const auto before = source(0).children;
    controller->refreshAction();
    controller->trashContentsDidChange();
    ASSERT_TRUE(waitFor([] { return sourceListOperationQueue().operationCount() == 0; }));
    EXPECT_EQ(source(0).children, before);
    world.trash("Disk", "came too", 4);
    controller->trashContentsDidChange();
    ASSERT_TRUE(holds(0, 4, 29));
    EXPECT_EQ(source(0).children.front()->trash, source(0).trash);
    std::filesystem::remove_all(files);
    controller->setTakesChecks(false);
    controller->trashContentsDidChange();
    ASSERT_TRUE(waitFor([] { return sourceListOperationQueue().operationCount() == 0; }));
    EXPECT_EQ(children(0), 4) << "during an erase";
    controller->setTakesChecks(true);
    ASSERT_TRUE(holds(0, 0, 0));
    EXPECT_TRUE(waitFor([&] { return source(0).markedStatus == 0; }) && source(0).trashIsEmpty);
}

TEST_F(SourceListTest, FollowsVolumesThatComeAndGo) {
    for (const auto* name : {"Disk", "Camera"}) {
        mount(name, false);
        world.trash(name, "file");
    }
    ListedVolume shared = world.volume("Camera");
    shared.trashes.push_back(world.volume("Camera/.Trash/1").trashes.front());
    shared.trashes.back().volumePath = shared.url.path();
    shared.trashes.back().volumeURL = shared.url;
    world.volumes->mount(shared);
    open();
    ASSERT_TRUE(holds(0, 1, 10) && holds(1, 1, 10) && waitFor([&] { return sources() == 3; }));
    view.setCurrentIndex(controller->model().index(1));
    EXPECT_EQ(shown.back(), u"Camera");
    world.volumes->unmount(FileUrl::fromPath(world.scratch / "Disk"));
    tellOfMount("Disk", false);
    EXPECT_EQ(controller->lastSelectedRow(), 0) << "it follows its source";
    EXPECT_EQ(sources(), 2);
    mount("Disk");
    ASSERT_TRUE(waitFor([&] { return sources() == 3; }));
    EXPECT_EQ(source(2).displayName, u"Disk");
    const auto stop = source(0).stop.get_token();
    world.volumes->unmount(shared.url);
    tellOfMount("Camera", false);
    EXPECT_EQ(sources(), 1) << "both its trashes went";
    EXPECT_TRUE(stop.stop_requested());
    EXPECT_EQ(shown.back(), u"Disk");
    EXPECT_EQ(view.currentIndex().row(), 0);
    world.volumes->unmount(FileUrl::fromPath(world.scratch / "Disk"));
    tellOfMount("Disk", false);
    EXPECT_EQ(shown.back(), QString()) << "nothing is left to show";
    EXPECT_EQ(controller->lastSelectedRow(), -1);
    ListedVolume readOnly = world.volume("Disc");
    readOnly.state = ListedVolume::State::ReadOnly;
    world.volumes->mount(readOnly);
    tellOfMount("Disc", true);
    EXPECT_TRUE(waitFor([&] { return controller->model().rowCount() == 1; }) && sources() == 0);
}

class SilentVolumeTest : public SourceListTest {
 protected:
    SilentVolumeTest() : SourceListTest(std::chrono::milliseconds(50)) {}
};

TEST_F(SilentVolumeTest, KeepsItsRowAndSaysSoUntilItAnswers) {
    for (const auto* name : {"Disk", "Share"}) {
        mount(name, false);
        world.trash(name, "file");
    }
    open();
    ASSERT_TRUE(holds(0, 1, 10) && holds(1, 1, 10));
    world.volumes->hang(source(1).volumeUrl());
    controller->refreshAction();
    ASSERT_TRUE(waitFor([&] { return !source(1).note.isEmpty(); }));
    world.trash("Share", "another");
    world.trash("Disk", "another");
    controller->trashContentsDidChange();
    ASSERT_TRUE(holds(0, 2, 20));
    EXPECT_EQ(children(1), 1) << "its disk is not asked";
    EXPECT_FALSE(click(1));
    world.volumes->hang({});
    ASSERT_TRUE(holds(1, 2, 20));
    EXPECT_TRUE(source(1).note.isEmpty() && click(1));
}

TEST_F(SourceListTest, StopsWithTheWindowAndGoesOnWhereItWasStopped) {
    mount("Disk", false);
    for (int i = 0; i < 300; ++i)
        world.trash("Disk", "folder" + std::to_string(i) + "/file");
    for (int round = 0; round < 5; ++round) {
        open();
        ASSERT_TRUE(waitFor([&] { return sources() == 1; }));
        for (int i = 0; i < 3; ++i) {
            waitFor([&] { return children(0) > 0; }, i);
            controller->windowWillClose();
            controller->viewDidAppear();
        }
        ASSERT_TRUE(holds(0, 300, 3000));
        ASSERT_TRUE(click(0) && source(0).children.front()->isMarked);
        controller->windowWillClose();
        controller->trashContentsDidChange();
        controller->viewDidAppear();
        EXPECT_TRUE(holds(0, 300, 3000) && !source(0).children.front()->isMarked)
            << "what is there now is not what was checked";
        tester.reset();
        controller.reset();
    }
}

}  // namespace
}  // namespace kestrin
