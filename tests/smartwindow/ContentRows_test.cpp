// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/ContentRows.h"

#include <gmock/gmock.h>

#include <QAbstractItemModelTester>
#include <QScrollBar>
#include <algorithm>
#include <random>

#include "smartwindow/QVContentTableView.h"
#include "smartwindow/support/WindowWorld.h"

namespace kestrin {
namespace {

using namespace kestrin::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ContentRowsTest : public ::testing::Test, protected WindowWorld {
 protected:
    void add(std::string_view name, std::uint64_t size = 0, double date = 0, bool isMarked = false,
             const char* folder = nullptr) {
        auto item = listedItem(name);
        item->size = size;
        item->dateAdded = date;
        item->isMarked = isMarked;
        if (folder) item->originalFolder = std::make_shared<std::string>(folder);
        source->children.push_back(std::move(item));
    }
    ContentRows rows(std::vector<SortDescriptor> order, const char* filter = "",
                     std::optional<EntryKind> kind = {}) const {
        return makeRows({.source = source,
                         .order = std::move(order),
                         .filter = ItemFilter(QString::fromUtf8(filter), kind),
                         .sorted = nullptr,
                         .tracked = model.rows()});
    }
    static std::vector<std::string> names(const ItemList& items) {
        std::vector<std::string> names;
        for (const auto& item : items)
            names.push_back(item->name);
        return names;
    }
    auto shown(const char* key, bool ascending) const {
        return names(*rows({{key, ascending}}).shown);
    }
    auto passing(const char* filter) const { return names(*rows({}, filter).shown); }

    const SmartWindowServices services = WindowWorld::services();
    const std::shared_ptr<QVSourceItem> source = std::make_shared<QVSourceItem>(TrashLocation(), 1);
    ContentListModel model{services};
};

TEST_F(ContentRowsTest, SortsByEveryColumnInOneOrderOnlyAndGivesItToTheSource) {
    add("b", 5, 30, true);
    add("C", 7, 0);
    add("\xC3\xA9", 5, -10);
    add("a", 9, 20, true);
    add("A", 5, 0);
    EXPECT_THAT(shown("name_col", true), ElementsAre("A", "a", "b", "C", "\xC3\xA9"));
    EXPECT_THAT(names(source->children), ElementsAre("A", "a", "b", "C", "\xC3\xA9"));
    EXPECT_THAT(shown("name_col", false), ElementsAre("\xC3\xA9", "C", "b", "A", "a"));
    EXPECT_THAT(shown("size_col", false), ElementsAre("a", "C", "A", "b", "\xC3\xA9"));
    EXPECT_THAT(shown("check_col", false), ElementsAre("a", "b", "A", "C", "\xC3\xA9"));
    EXPECT_THAT(shown("date_added_col", true), ElementsAre("\xC3\xA9", "a", "b", "A", "C"));
    EXPECT_THAT(shown("date_added_col", false), ElementsAre("b", "a", "\xC3\xA9", "A", "C"));
    EXPECT_THAT(names(*rows({{"check_col", false}, {"size_col", true}}).shown),
                ElementsAre("b", "a", "A", "\xC3\xA9", "C"));
}

TEST_F(ContentRowsTest, FiltersByNameAndOriginalFolderWhateverTheirCaseAndEncoding) {
    add("Holiday.JPG", 0, 0, false, "/home/user/Pictures");
    add("E\xCC\x81t\xC3\x89", 0, 0, false, "/srv");  // one accent is a character of its own
    add("bad\xFF Name");
    EXPECT_THAT(passing("holi"), ElementsAre("Holiday.JPG"));
    EXPECT_THAT(passing("PICTURES"), ElementsAre("Holiday.JPG"));
    EXPECT_THAT(passing("\xC3\xA9t\xC3\xA9"), ElementsAre("E\xCC\x81t\xC3\x89"));
    EXPECT_THAT(passing("NAME"), ElementsAre("bad\xFF Name"));
    EXPECT_THAT(passing("nothing"), IsEmpty());
    EXPECT_EQ(passing("").size(), 3u);
    for (const std::uint32_t mode : {S_IFREG, S_IFDIR, S_IFLNK, S_IFIFO}) {
        add("pictures/holiday.png");
        source->children.back()->mode = mode;
    }
    EXPECT_EQ(rows({}, "holiday", EntryKind::Images).shown->size(), 1u);
    EXPECT_EQ(rows({}, "", EntryKind::Folders).shown->size(), 1u);
    EXPECT_THAT(*rows({}, "sea", EntryKind::Images).shown, IsEmpty());
}

TEST_F(ContentRowsTest, OtherRowsKeepSelectionCurrentEntryAndPosition) {
    std::mt19937 random(7);
    for (int number = 0; number < 3000; ++number)
        add("entry " + std::to_string(number), random() % 1000);
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    QVContentTableView view(dates);
    view.setContentModel(model);
    view.resize(600, 300);
    view.show();
    swapRows(view, model, rows({{"name_col", true}}));
    std::vector<int> half;
    for (int row = 0; row < 1500; ++row)
        half.push_back(row);
    selectRows(view, half);
    view.selectionModel()->setCurrentIndex(model.index(700, 1), QItemSelectionModel::NoUpdate);
    view.scrollTo(model.index(700, 1), QAbstractItemView::PositionAtCenter);
    const auto current = model.itemAt(700);
    const int top = view.visualRect(model.index(700, 1)).top();
    const auto selected = [&] {
        std::vector<std::string> names;
        for (const int row : selectedRows(view))
            names.push_back(model.itemAt(row)->name);
        std::ranges::sort(names);
        return names;
    };
    const auto before = selected();

    EXPECT_TRUE(swapRows(view, model, rows({{"size_col", false}})));
    EXPECT_EQ(selected(), before);
    EXPECT_EQ(model.itemAt(view.currentIndex().row()), current);
    EXPECT_NE(model.rowOf(current.get()), 700);
    const int off = view.visualRect(view.currentIndex()).top() - top;
    EXPECT_LT(std::abs(off), view.visualRect(view.currentIndex()).height());
    EXPECT_FALSE(swapRows(view, model, rows({{"size_col", false}}, "entry 1")));
    EXPECT_FALSE(selected().empty());

    // Where the list begins, what comes first is to be seen.
    view.verticalScrollBar()->setValue(0);
    add("aaa");
    swapRows(view, model, rows({{"name_col", true}}));
    EXPECT_EQ(model.itemAt(view.indexAt(QPoint(0, 0)).row())->name, "aaa");
}

}  // namespace
}  // namespace kestrin
