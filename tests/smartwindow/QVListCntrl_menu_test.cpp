// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>

#include "smartwindow/QVContentTableView.h"
#include "smartwindow/QVListCntrl.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "smartwindow/support/WindowWorld.h"

namespace kestrin {
namespace {

using namespace kestrin::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace Key = SmartWindowNotification;

class ContextMenuTest : public ::testing::Test, protected WindowWorld {
 protected:
    ContextMenuTest() {
        table.resize(600, 400);
        table.show();
        for (const auto* name : {"a", "b", "c\n$(x)"}) {
            auto item = listedItem(name);
            item->trash = source->trash;
            source->children.push_back(item);
        }
        center.post(Key::kShowSelectedItems, &Key::kShowSelectedItems,
                    UserInfo().set(Key::kSourceItem, source));
        waitFor([this] { return list.model().rowCount() == 3; });
    }
    void select(int first, int last) {
        table.selectionModel()->select(
            QItemSelection(list.model().index(first, 0), list.model().index(last, 3)),
            QItemSelectionModel::ClearAndSelect);
    }
    /// The open menu, after a click of the right button on `row`.
    QMenu& menuAt(int row) {
        const QPoint at = table.visualRect(list.model().index(row, 1)).center();
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, table.viewport()->mapToGlobal(at));
        QApplication::sendEvent(table.viewport(), &event);
        return *table.findChild<QMenu*>();
    }
    static QAction& action(const QMenu& menu, int tag) {
        for (QAction* action : menu.actions())
            if (action->data() == tag) return *action;
        throw std::out_of_range("no such command");
    }
    std::vector<bool> marks() const {
        std::vector<bool> marks;
        for (const auto& item : source->children)
            marks.push_back(item->isMarked);
        return marks;
    }

    const SmartWindowServices theServices = services();
    const std::shared_ptr<QVSourceItem> source =
        std::make_shared<QVSourceItem>(volume("Disk").trashes.front(), 1);
    QVContentTableView table{dates};
    QLabel info;
    ListPreview preview{*this};
    QVListCntrl list{theServices,
                     ListOutlets{.tableView = table,
                                 .infoFld = info,
                                 .previewServices = preview.services,
                                 .collectionPreview = preview.collectionView,
                                 .emptyPreviewView = preview.emptyView,
                                 .splitView = preview.splitView,
                                 .showProgressView = [](bool) {},
                                 .setWindowLevel = [](int) {},
                                 .closeWindow = [] {},
                                 .sourceItems = [this] { return SourceItems{source}; }}};
};

TEST_F(ContextMenuTest, ActsOnTheSelectionAndTheClickedRow) {
    select(0, 0);
    QMenu* menu = &menuAt(1);
    action(*menu, 107).trigger();
    EXPECT_THAT(marks(), ElementsAre(true, true, false));
    EXPECT_FALSE(action(menuAt(1), 107).isVisible()) << "all of them are checked";
    action(menuAt(2), 105).trigger();
    EXPECT_THAT(marks(), ElementsAre(false, true, true));
    select(0, 2);
    action(menuAt(0), 106).trigger();
    EXPECT_THAT(marks(), ElementsAre(false, false, false));
    EXPECT_FALSE(action(menuAt(0), 103).isEnabled()) << "there are three names";
    action(menuAt(0), 100).trigger();
    EXPECT_EQ(revealed.size(), 3U);

    menuAt(0).actions().back()->menu()->actions().at(ContentListModel::Size)->trigger();
    EXPECT_EQ(source->sortDescriptors.front(), (SortDescriptor{"size_col", false}));

    table.clearSelection();
    list.model().setMarksAreLocked(true);
    EXPECT_FALSE(action(menuAt(0), 107).isEnabled());
    list.model().setMarksAreLocked(false);
    menu = &menuAt(0);
    center.post(Key::kShowSelectedItems, &Key::kShowSelectedItems);
    EXPECT_FALSE(menu->isVisible());
    action(*menu, 107).trigger();
    EXPECT_THAT(marks(), ElementsAre(false, false, false)) << "another trash is shown";
}

TEST_F(ContextMenuTest, CopiesTheNameOrPathOfASingleEntryAsATextThatIsSafeToPaste) {
    const ItemList& items = source->children;
    list.contextualMenuAction(103, {items[2]});
    const QMimeData* copied = QApplication::clipboard()->mimeData();
    EXPECT_EQ(copied->text(), QStringLiteral("c\\n$(x)"));
    EXPECT_EQ(copied->data(QStringLiteral("text/uri-list")).toStdString(),
              items[2]->url().toString() + "\r\n");
    list.contextualMenuAction(104, {items[0]});
    const QString path = QString::fromStdString(items[0]->path());
    EXPECT_EQ(QApplication::clipboard()->text(), path);
    list.contextualMenuAction(103, items);
    EXPECT_EQ(QApplication::clipboard()->text(), path) << "nothing is copied of several";
}

TEST_F(ContextMenuTest, OpensAndTellsWhatWasNotOpened) {
    using enum LaunchResult;
    const ItemList& items = source->children;
    const auto titles = [this] {
        std::vector<std::string> heard;
        for (const AlertModel& model : std::exchange(alerts.models, {}))
            heard.push_back(model.title.toStdString());
        return heard;
    };
    launchResults = {Opened};
    list.contextualMenuAction(102, {items[0]});
    EXPECT_THAT(opened, ElementsAre(items[0]->path()));
    EXPECT_THAT(titles(), IsEmpty());
    launchResults = {Opened, Refused, Opened};
    list.contextualMenuAction(102, items);
    EXPECT_THAT(titles(), ElementsAre("“b” was not opened."));
    launchResults = {Refused, Opened, Silent};
    list.contextualMenuAction(102, items);
    EXPECT_THAT(titles(), ElementsAre("2 items were not opened."));
    launchResults = {Unreadable};
    list.launchPaths({"/media/closed folder"});
    EXPECT_THAT(titles(), ElementsAre("“closed folder” was not opened."));
    opened.clear();
    list.contextualMenuAction(102, ItemList(21, items[0]));
    EXPECT_THAT(opened, IsEmpty());
    EXPECT_EQ(titles().size(), 1U);
}

}  // namespace
}  // namespace kestrin
