// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/QVItemPreviewCntrl.h"

#include <gmock/gmock.h>

#include <QKeyEvent>
#include <chrono>
#include <numeric>

#include "smartwindow/preview/PreviewCollectionView.h"
#include "smartwindow/preview/PreviewNotifications.h"
#include "smartwindow/preview/PreviewPanel.h"
#include "smartwindow/preview/QVPreview.h"
#include "smartwindow/preview/support/PreviewWorld.h"
#include "support/TestEnvironment.h"
#include "widgets/Fade.h"

namespace kestrin {
namespace {

using namespace kestrin::test;
using ::testing::ElementsAre;
namespace Name = PreviewNotification;

class QVItemPreviewCntrlTest : public ::testing::Test, protected PreviewWorld {
 protected:
    void SetUp() override {
        for (int row = 0; row < 10; ++row)
            entries.push_back(PreviewedEntry("entry " + std::to_string(row)).entry);
        window.resize(300, 4000);
        collection.resize(300, 4000);  // all cells are in sight
        window.show();
    }
    /// What the list makes of a selection: every time other items of the same entries.
    PreviewItemList select(const std::vector<int>& rows) const {
        PreviewItemList items;
        for (const int row : rows)
            items.push_back(std::make_shared<QVPreviewItem>(entries[std::size_t(row)], row));
        return items;
    }
    void show(const std::vector<int>& rows) {
        selected = rows;
        controller.showPreviewWithArray(select(rows));
        waitFor([] { return false; }, 20);
    }
    std::vector<int> shown() const {
        std::vector<int> rows;
        for (const auto& item : controller.shownItems())
            rows.push_back(item->index());
        return rows;
    }
    void postVisibility(bool isVisible, QWidget& sender) {
        center.post(Name::kQuickLookWindowVisibilityWillChange, &sender,
                    UserInfo().set(Name::kQlPanel, &panel).set(Name::kIsVisible, isVisible));
    }

    std::vector<std::shared_ptr<QVSmartWindowItem>> entries;
    std::vector<int> selected;
    QWidget window;
    QWidget empty{&window};
    PreviewCollectionView collection{services, false, &window};
    PreviewPanel panel{services,
                       {.acceptsControl = [](PreviewPanel&) { return true; },
                        .beginControl = [this](PreviewPanel&) { postVisibility(true, window); },
                        .endControl = [this](PreviewPanel&) { postVisibility(false, window); },
                        .willClose = [](PreviewPanel&) {},
                        .open = [](const auto&) {},
                        .reveal = [](const auto&) {}},
                       window};
    std::vector<int> keys;
    QVItemPreviewCntrl controller{
        services,
        collection,
        empty,
        {.prepareToShowPreview = [this] { controller.showPreviewWithArray(select(selected)); },
         .passKeyToTable =
             [this](QKeyEvent& event) {
                 keys.push_back(event.key());
                 return true;
             },
         .rectOfItem =
             [this](const QVSmartWindowItem& item) {
                 return &item == entries[3].get() ? QRect(7, 8, 30, 20) : QRect();
             }}};
};

TEST_F(QVItemPreviewCntrlTest, WhatStaysSelectedKeepsItsItemAndItsCell) {
    EXPECT_EQ(alphaOf(empty), 1);
    show({3, 5});
    EXPECT_EQ(alphaOf(empty), 0);
    EXPECT_EQ(alphaOf(collection), 1);
    const PreviewItemList before = controller.shownItems();
    QVPreview* const third = collection.cellAt(0);
    show({3, 5, 7});
    EXPECT_THAT(shown(), ElementsAre(3, 5, 7));
    EXPECT_EQ(controller.shownItems()[0], before[0]);
    EXPECT_EQ(controller.shownItems()[1], before[1]);
    show({0, 3, 4, 7, 9});
    EXPECT_THAT(shown(), ElementsAre(0, 3, 4, 7, 9));
    EXPECT_EQ(controller.shownItems()[1], before[0]);
    show({3, 5});
    EXPECT_THAT(shown(), ElementsAre(3, 5));
    EXPECT_EQ(collection.cellAt(0), third);

    std::swap(entries[3], entries[5]);  // the list was sorted anew
    show({3, 5});
    EXPECT_THAT(shown(), ElementsAre(3, 5));
    EXPECT_EQ(controller.shownItems()[1], before[0]) << "the same entry in another row";
    for (const auto& rows : {std::vector{0, 4, 6}, {1, 5, 7}}) {
        entries.insert(entries.begin(), PreviewedEntry("above all").entry);
        show(rows);
        EXPECT_EQ(shown(), rows) << "what stays has moved down";
    }
    controller.showPreviewWithArray(select({1}));
    controller.showPreviewWithArray(select({2}));
    show({});
    EXPECT_THAT(shown(), ElementsAre());
    EXPECT_EQ(alphaOf(empty), 1);
    EXPECT_EQ(alphaOf(collection), 0);
}

TEST_F(QVItemPreviewCntrlTest, AHundredThousandRowsAreComparedAtOnce) {
    while (entries.size() < 100000)
        entries.push_back(PreviewedEntry("x").entry);
    std::vector<int> rows(entries.size());
    std::iota(rows.begin(), rows.end(), 0);
    show(rows);
    rows.erase(rows.begin() + 50000);
    rows.erase(rows.begin());
    const auto items = select(rows);
    const auto began = std::chrono::steady_clock::now();
    controller.showPreviewWithArray(items);
    waitFor([this] { return controller.shownItems().size() == 99998; }, 3000);
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(1));
    EXPECT_EQ(controller.shownItems()[49999]->index(), 50001);
}

TEST_F(QVItemPreviewCntrlTest, AFoldedPaneShowsNothingAndAnOpenPanelIsFedAllTheSame) {
    controller.setSplitViewIsCollapsed(true);
    show({1});
    EXPECT_THAT(shown(), ElementsAre());
    EXPECT_FALSE(controller.wantsItems());
    QWidget other;
    postVisibility(true, other);
    EXPECT_FALSE(controller.qlPanelIsVisible()) << "that is the panel of another window";

    panel.makeKeyAndOrderFront();
    EXPECT_THAT(shown(), ElementsAre(1)) << "it asked the list at once";
    controller.showPreviewWithArray(select({3, 4}));
    EXPECT_THAT(shown(), ElementsAre(3, 4));
    EXPECT_EQ(collection.cellAt(0), nullptr) << "nobody sees that";
    controller.setSplitViewIsCollapsed(false);
    show({3, 4});
    EXPECT_NE(collection.cellAt(0), nullptr);

    EXPECT_EQ(controller.sourceFrameOnScreenForPreviewItem(*select({3})[0]), QRect(7, 8, 30, 20));
    EXPECT_TRUE(controller.sourceFrameOnScreenForPreviewItem(*select({4})[0]).isEmpty());
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Down, Qt::NoModifier);
    QKeyEvent release(QEvent::KeyRelease, Qt::Key_Down, Qt::NoModifier);
    EXPECT_TRUE(controller.previewPanelHandleEvent(press));
    EXPECT_FALSE(controller.previewPanelHandleEvent(release));
    EXPECT_THAT(keys, ElementsAre(int(Qt::Key_Down)));
    controller.showPreviewWithArray(select({9}));
    controller.setSplitViewIsCollapsed(true);
    show({5});
    EXPECT_THAT(shown(), ElementsAre(5));
    controller.setSplitViewIsCollapsed(false);
    show({5});
    EXPECT_EQ(collection.cellAt(0)->previewItem(), controller.shownItems()[0]);
    controller.setSplitViewIsCollapsed(true);
    panel.orderOut();
    EXPECT_FALSE(controller.qlPanelIsVisible());
    selected = {6};
    panel.makeKeyAndOrderFront();
    EXPECT_THAT(shown(), ElementsAre(6)) << "it was not told while nobody looked";
}

TEST_F(QVItemPreviewCntrlTest, ItemsAreFoundByEntryIndexAndPlaceAndHaveNoMetadata) {
    const PreviewItemList items = select({2, 4, 6});
    const PreviewItemList others = select({4, 5});
    using Controller = QVItemPreviewCntrl;
    EXPECT_EQ(Controller::indexOfItemInArray(items, *others[0]), 1u);
    EXPECT_FALSE(Controller::indexOfItemInArray(items, *others[1]));
    EXPECT_EQ(Controller::indexOfItemInArrayMatchingIndex(items, *others[0]), 1u);
    EXPECT_EQ(Controller::indexOfItemInArray(items, entries[6]->url()), 2u);
    EXPECT_EQ(items[0]->size(), QStringLiteral("--"));
    EXPECT_EQ(controller.widestText(*items[0]), 0);
    EXPECT_GT(controller.xPositionEXIFField(), 0);
    entries.clear();
    EXPECT_FALSE(Controller::indexOfItemInArray(items, *items[0])) << "the entry has gone";
    EXPECT_TRUE(items[0]->url().isEmpty() && items[0]->name().isEmpty());
}

}  // namespace
}  // namespace kestrin
