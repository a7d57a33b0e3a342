// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVContentTableView.h"

#include <gmock/gmock.h>
#include <sys/xattr.h>

#include <QApplication>
#include <QContextMenuEvent>
#include <QTest>
#include <algorithm>
#include <condition_variable>
#include <mutex>

#include "fsutil/QVFinderLabels.h"
#include "smartwindow/ContentListModel.h"
#include "smartwindow/ContentRows.h"
#include "smartwindow/QVDateCellView.h"
#include "smartwindow/QVTableHeaderCntrl.h"
#include "smartwindow/support/WindowWorld.h"

namespace kestrin {
namespace {

using namespace kestrin::test;
using ::testing::ElementsAre;
using ::testing::Pair;

class QVContentTableViewTest : public ::testing::Test, protected WindowWorld {
 protected:
    void show(ItemList items) {
        rows = std::move(items);
        model.setRows(std::make_shared<ItemList>(rows));
        view.setContentModel(model);
        view.resize(700, 300);
        view.show();
    }
    QPoint at(int row, int column) const {
        return view.visualRect(model.index(row, column)).center();
    }
    void click(int row, int column) {
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, at(row, column));
    }
    void pause() { QTest::qWait(QApplication::keyboardInputInterval() + 50); }

    const SmartWindowServices services = WindowWorld::services();
    ItemList rows;
    ContentListModel model{services};
    QVContentTableView view{dates};
};

TEST_F(QVContentTableViewTest, AClickIntoTheFirstColumnChecksAndSelectsNothing) {
    show({listedItem("a"), listedItem("b"), listedItem("c")});
    click(1, ContentListModel::Name);
    click(0, ContentListModel::Check);
    EXPECT_TRUE(rows[0]->isMarked);
    QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, at(0, ContentListModel::Check));
    EXPECT_TRUE(rows[0]->isMarked) << "checked off and on by two clicks soon after each other";
    EXPECT_THAT(selectedRows(view), ElementsAre(1));

    const QPoint first = at(0, ContentListModel::Check);
    QTest::mousePress(view.viewport(), Qt::LeftButton, {}, first);
    std::swap(rows[0], rows[2]);
    model.setRows(std::make_shared<ItemList>(rows));
    QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, first);
    EXPECT_TRUE(rows[2]->isMarked && !rows[0]->isMarked) << "another row came under the pointer";

    view.selectAll();
    EXPECT_THAT(selectedRows(view), ElementsAre(0, 1, 2));
}

TEST_F(QVContentTableViewTest, AFolderHasAnotherIconThanAFileOfItsName) {
    show({listedItem("a.jpg"), listedItem("a.jpg")});
    rows[0]->mode = S_IFDIR;
    rows[1]->mode = S_IFREG;
    const auto icon = [&](int row) {
        const QModelIndex name = model.index(row, ContentListModel::Name);
        return name.data(Qt::DecorationRole).value<QIcon>().cacheKey();
    };
    EXPECT_NE(icon(0), icon(1));
}

TEST_F(QVContentTableViewTest, TheRightButtonAndTheMenuKeyNameTheRowAndLeaveTheSelection) {
    show({listedItem("a"), listedItem("b"), listedItem("c")});
    std::vector<int> clicked;
    QObject::connect(&view, &QVContentTableView::contextMenuRequested, &view,
                     [&](const QModelIndex& row) { clicked.push_back(row.row()); });
    const auto request = [&](QContextMenuEvent::Reason reason, QPoint at) {
        QContextMenuEvent event(reason, at, view.viewport()->mapToGlobal(at));
        QApplication::sendEvent(view.viewport(), &event);
    };
    request(QContextMenuEvent::Mouse, QPoint(20, 280));
    EXPECT_THAT(clicked, ElementsAre()) << "there is nothing to act on";
    view.setCurrentIndex(model.index(0, 0));
    QTest::mouseClick(view.viewport(), Qt::RightButton, {}, at(2, ContentListModel::Name));
    request(QContextMenuEvent::Mouse, at(2, ContentListModel::Name));
    request(QContextMenuEvent::Keyboard, QPoint());
    view.clearSelection();
    request(QContextMenuEvent::Keyboard, QPoint());
    EXPECT_THAT(clicked, ElementsAre(2, -1, 0));
}

TEST_F(QVContentTableViewTest, TypedCharactersFindANameAndTheSpaceBarIsNone) {
    ItemList items{listedItem("alpha"), listedItem("Éclair"), listedItem("ecru")};
    items.resize(60000, listedItem("filler"));
    items.push_back(listedItem("zebra x"));
    show(std::move(items));
    int spaces = 0;
    QObject::connect(&view, &QVContentTableView::spacePressed, &view, [&] { ++spaces; });
    const auto finds = [this](const char* typed, std::string_view name) {
        QTest::keyClicks(&view, QLatin1String(typed));
        const auto current = [this] { return model.itemAt(view.currentIndex().row()); };
        return waitFor([&] { return current() && current()->name == name; }, 1000);
    };
    EXPECT_TRUE(finds("ec", "Éclair"));
    EXPECT_TRUE(finds("r", "ecru"));
    pause();
    EXPECT_TRUE(finds("e", "Éclair")) << "the next one, from the beginning again";
    EXPECT_TRUE(finds("e", "ecru")) << "the same key again";
    pause();
    EXPECT_TRUE(finds("zebra ", "zebra x")) << "far away";
    EXPECT_EQ(spaces, 1);
}

TEST_F(QVContentTableViewTest, LabelsAreReadForTheRowsInSightAndDrawnBehindTheName) {
    trash("disk", "labelled");
    ItemList items(5000);
    std::ranges::generate(items, [] { return listedItem("plain"); });
    items[0] = listedItem("labelled");
    items[0]->trash = std::make_shared<FileUrl>(FileUrl::fromPath(scratch / "disk/.Trash-1/files"));
    if (setxattr(items[0]->path().c_str(), "user.xdg.tags", "Red", 3, 0) != 0)
        GTEST_SKIP() << "no attributes here";
    const auto hasBadge = [this] {
        const QRect cell = view.visualRect(model.index(0, ContentListModel::Name));
        const QImage row = view.viewport()->grab(cell).toImage();
        const QColor red = QVFinderLabels::sharedControl().labelColorWithKey(6);
        int count = 0;
        for (int x = 0; x < row.width(); ++x)
            count += row.pixelColor(x, row.height() / 2) == red;
        return count > 5;
    };
    for (const auto direction : {Qt::LeftToRight, Qt::RightToLeft}) {
        view.setLayoutDirection(direction);
        show(items);
        EXPECT_TRUE(waitFor(hasBadge, 2000)) << direction;
    }
    items[0]->isHidden = true;
    view.viewport()->update();
    EXPECT_FALSE(hasBadge()) << "dimmed with its row";
    EXPECT_EQ(items.back()->label, QVSmartWindowItem::kUnknownLabel) << "nobody has seen it";
    const QModelIndex name = model.index(0, ContentListModel::Name);
    EXPECT_EQ(name.data(Qt::AccessibleTextRole), QStringLiteral("labelled, label Red"));
    EXPECT_TRUE(name.data(Qt::ToolTipRole).toString().endsWith(QStringLiteral("\nLabel: Red")));
}

TEST_F(QVContentTableViewTest, AVolumeThatHangsKeepsNoLabelOfAnotherBack) {
    // It outlives the test where that fails: the threads that read are abandoned.
    struct Disk {
        std::mutex mutex;
        std::condition_variable answers;
        bool hangs = true;
        int reads = 0;
    };
    const auto disk = std::make_shared<Disk>();
    int changes = 0;
    LabelReader reader([&] { ++changes; },
                       [disk](const FileUrl& url) {
                           std::unique_lock lock(disk->mutex);
                           ++disk->reads;
                           const bool isHanging = url.path().starts_with("/trash");
                           disk->answers.wait(lock, [&] { return !isHanging || !disk->hangs; });
                           return std::int8_t{3};
                       });
    const auto hanging = listedItem("a");
    const auto other = listedItem("b");
    other->trash = std::make_shared<FileUrl>(FileUrl::fromPath("/other"));
    EXPECT_EQ(reader.labelOf(hanging), 0);
    EXPECT_TRUE(waitFor([&] { return std::lock_guard(disk->mutex), disk->reads == 1; }, 2000));
    for (int row = 0; row < 2000; ++row)
        reader.labelOf(listedItem("scrolled past"));
    EXPECT_EQ(reader.labelOf(other), 0);
    EXPECT_TRUE(waitFor([&] { return other->label == 3; }, 2000));
    {
        const std::lock_guard lock(disk->mutex);
        disk->hangs = false;
        disk->answers.notify_all();
    }
    EXPECT_TRUE(waitFor([&] { return reader.labelOf(hanging) == 3 && changes == 2; }, 2000));
}

TEST_F(QVContentTableViewTest, ColumnsKeepTheirLimitsAndTheNameTakesTheRoomThatIsLeft) {
    show({listedItem("a")});
    QVTableHeaderCntrl& header = view.headerCntrl();
    EXPECT_EQ(header.length(), view.viewport()->width());
    header.resizeSection(ContentListModel::Size, 500);
    EXPECT_EQ(header.sectionSize(ContentListModel::Size), 200);
    header.resizeSection(ContentListModel::DateAdded, 10);
    EXPECT_EQ(header.sectionSize(ContentListModel::DateAdded), 60);
    view.resize(1200, 300);
    EXPECT_EQ(header.length(), view.viewport()->width());
    view.resize(200, 300);
    EXPECT_EQ(header.sectionSize(ContentListModel::Name), 260);

    using enum DateStyle;
    const auto style = [](int width) { return QVDateCellView::styleForWidth(width); };
    EXPECT_EQ(style(250), (QVDateCellView::Style{Full, true}));
    EXPECT_EQ(style(249), (QVDateCellView::Style{Long, true}));
    EXPECT_EQ(style(209), (QVDateCellView::Style{Short, true}));
    EXPECT_EQ(style(159), (QVDateCellView::Style{Medium, false}));
    EXPECT_EQ(style(99), (QVDateCellView::Style{Short, false}));
}

TEST_F(QVContentTableViewTest, AColumnIsSortedInItsOwnFirstDirectionAndThenTurnedAround) {
    show({listedItem("a")});
    QVTableHeaderCntrl& header = view.headerCntrl();
    std::vector<std::pair<int, Qt::SortOrder>> orders;
    QObject::connect(&model, &ContentListModel::sortWasRequested, &view,
                     [&](int column, Qt::SortOrder order) { orders.emplace_back(column, order); });
    using enum ContentListModel::Column;
    for (const int column : {Size, Size, DateAdded, Check, Name}) {
        const QPoint middle(header.sectionViewportPosition(column) + header.sectionSize(column) / 2,
                            header.height() / 2);
        QTest::mouseClick(header.viewport(), Qt::LeftButton, {}, middle);
    }
    EXPECT_THAT(orders,
                ElementsAre(Pair(Size, Qt::DescendingOrder), Pair(Size, Qt::AscendingOrder),
                            Pair(DateAdded, Qt::AscendingOrder), Pair(Check, Qt::DescendingOrder),
                            Pair(Name, Qt::AscendingOrder)));
}

}  // namespace
}  // namespace kestrin
