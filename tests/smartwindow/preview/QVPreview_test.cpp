// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/QVPreview.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QTest>

#include "smartwindow/preview/PathView.h"
#include "smartwindow/preview/PreviewCollectionView.h"
#include "smartwindow/preview/PreviewNotifications.h"
#include "smartwindow/preview/QVQuickLookView.h"
#include "smartwindow/preview/support/PreviewWorld.h"

namespace kestrin {
namespace {

using test::PreviewedEntry;

/// A collection, and the list that it shows.
class QVPreviewTest : public ::testing::Test {
 protected:
    PreviewCollectionView& show(bool isByGrid, QSize size) {
        collection = std::make_unique<PreviewCollectionView>(world.services, isByGrid);
        collection->resize(size);
        collection->show();
        collection->setDataSource({.numberOfItems = [this] { return shown.size(); },
                                   .itemAt = [this](std::size_t at) { return shown[at]; }});
        return *collection;
    }
    PreviewedEntry& add(std::string_view name) {
        entries.emplace_back(name, int(entries.size()));
        shown.push_back(entries.back().item);
        return entries.back();
    }
    std::vector<QVPreview*> cells() {
        collection->cellAt(0);  // lays out
        auto all = collection->findChildren<QVPreview*>();
        all.removeIf([](QVPreview* cell) { return !cell->previewItem(); });
        return {all.begin(), all.end()};
    }
    /// What a cell tells beside the title `name`.
    static QString field(const QVPreview& cell, QLatin1String name) {
        for (const QLineEdit* line : cell.findChildren<QLineEdit*>())
            if (line->accessibleName() == name) return line->text();
        return QStringLiteral("no such field");
    }

    test::PreviewWorld world;
    std::deque<PreviewedEntry> entries;
    PreviewItemList shown;
    std::unique_ptr<PreviewCollectionView> collection;
};

TEST_F(QVPreviewTest, KeepsTheCellsOfEntriesThatStay) {
    for (const char* name : {"three", "five", "seven"})
        add(name);
    const auto seven = shown.back();
    shown.pop_back();
    PreviewCollectionView& view = show(false, {260, 1200});
    QVPreview* const three = view.cellAt(0);
    QVPreview* const five = view.cellAt(1);
    shown.push_back(seven);
    view.insertItems({2});
    EXPECT_EQ(view.cellAt(0), three);
    EXPECT_EQ(view.cellAt(1), five);
    ASSERT_TRUE(view.cellAt(2));
    EXPECT_EQ(cells().size(), 3U) << "one more, and no other";
    EXPECT_EQ(world.askedDetails.size(), 3U) << "nothing was loaded anew";
    shown.erase(shown.begin());
    view.deleteItems({0});
    EXPECT_EQ(view.cellAt(0), five);
    EXPECT_EQ(five->previewItem(), shown[0]);
    // The next one down the list: one goes and another comes before anything is drawn.
    shown.assign({entries[0].item});
    view.deleteItems({0, 1});
    view.insertItems({0});
    ASSERT_EQ(cells().size(), 1U);
    EXPECT_EQ(view.cellAt(0)->previewItem(), entries[0].item);
    EXPECT_EQ(view.findChildren<QVPreview*>().size(), 3) << "a cell is used again";
    shown.clear();
    view.reloadData();
    EXPECT_TRUE(cells().empty());
}

TEST_F(QVPreviewTest, MakesNothingOfWhatIsOutOfSight) {
    add("one");
    shown.assign(100'000, shown[0]);
    QElapsedTimer clock;
    clock.start();
    PreviewCollectionView& view = show(false, {260, 800});
    EXPECT_LE(cells().size(), 3U);
    std::vector<std::size_t> even;
    for (std::size_t at = 0; at < shown.size(); at += 2)
        even.push_back(at);
    QVPreview* const second = view.cellAt(1);
    shown.resize(50'000);
    view.deleteItems(even);
    EXPECT_EQ(view.cellAt(0), second);
    shown.resize(100'000, shown[0]);
    view.insertItems(even);
    EXPECT_EQ(view.cellAt(1), second);
    QTest::keyClick(&view, Qt::Key_End);
    EXPECT_TRUE(view.cellAt(99'999));
    EXPECT_FALSE(view.cellAt(1));
    EXPECT_LE(cells().size(), 3U);
    EXPECT_LT(clock.elapsed(), 2000);

    show(true, {500, 400});
    EXPECT_LE(cells().size(), 12U) << "tiles too";
    QTest::keyClick(collection.get(), Qt::Key_End);
    EXPECT_EQ(collection->currentIndex(), 99'999U);
    EXPECT_TRUE(collection->cellAt(99'999));
}

TEST_F(QVPreviewTest, NeverTellsOfAnotherEntry) {
    const auto& first = add("first\u202Etxt.exe");
    const auto& second = add("second.png");
    second.entry->originalFolder = std::make_shared<std::string>("/home/user/Pictures");
    second.entry->isMeasured = true;
    second.entry->size = 4100;
    shown.pop_back();
    PreviewCollectionView& view = show(false, {260, 600});
    QVPreview& cell = *view.cellAt(0);
    EXPECT_EQ(cell.findChild<QVQuickLookView*>()->previewItem(), nullptr) << "it is loaded later";
    QCoreApplication::processEvents();
    EXPECT_EQ(cell.findChild<QVQuickLookView*>()->previewItem(), first.item);
    EXPECT_EQ(field(cell, QLatin1String("Name")), QStringLiteral("first‹U+202E›txt.exe"));
    EXPECT_EQ(field(cell, QLatin1String("Changed")), QString())
        << "nobody has said that it is unknown";
    cell.setRepresentedObject(second.item);
    EXPECT_FALSE(world.askedDetails.front().ticket.lock()) << "nobody wants it any more";
    EXPECT_TRUE(field(cell, QLatin1String("Kind and size")).endsWith(QLatin1String("4.10 kB")));
    EXPECT_EQ(field(cell, QLatin1String("From")), QStringLiteral("/home/user/Pictures"));
    ItemDetails details = knownDetails(*second.entry);
    details.dateModified = QStringLiteral("March 2, 2026");
    world.askedDetails.back().answer(details);
    EXPECT_EQ(field(cell, QLatin1String("Changed")), details.dateModified);
    EXPECT_EQ(field(cell, QLatin1String("Created")), QStringLiteral("–"));
    cell.setRepresentedObject(nullptr);
    QCoreApplication::processEvents();
    EXPECT_EQ(cell.findChild<QVQuickLookView*>()->previewItem(), nullptr);
    EXPECT_EQ(field(cell, QLatin1String("Name")), QString());
    EXPECT_TRUE(cell.oldStylePath().empty());
    EXPECT_EQ(world.beeps, 0);
    cell.setRepresentedObject(std::make_shared<QVPreviewItem>(QVSmartWindowItem::item()));
    QCoreApplication::processEvents();
    EXPECT_EQ(world.beeps, 1) << "it has no location";
}

TEST_F(QVPreviewTest, LaysOutByItsWidth) {
    add("one");
    PreviewCollectionView& view = show(false, {260, 600});
    QVPreview& cell = *view.cellAt(0);
    struct Case {
        int width;
        double area, x;
    };
    for (const auto& [width, area, x] :
         {Case{323, 322, 15}, Case{322, 292, 15}, Case{600, 322, 109}, Case{100, 75, 15},
          Case{200, 170, 15}}) {
        cell.resize(width, 700);
        EXPECT_EQ(cell.verticalOtherViewWidth(), area) << width;
        EXPECT_EQ(cell.verticalOtherViewXWithWidth(area), x) << width;
    }
    const auto paths = cell.findChildren<PathView*>();
    ASSERT_EQ(paths.size(), 2);
    EXPECT_FALSE(paths[0]->isVisible());
    EXPECT_TRUE(paths[1]->isVisible()) << "one below the other: rows";
    view.resize(900, 300);
    EXPECT_TRUE(paths[0]->isVisible()) << "side by side: one line";
    EXPECT_FALSE(paths[1]->isVisible());
    EXPECT_TRUE(cell.finderTagImage(0, false).isNull());
    EXPECT_EQ(cell.finderTagImage(6, false).deviceIndependentSize(), QSizeF(11, 11));
    EXPECT_EQ(cell.finderTagImage(6, true), cell.finderTagImage(6, false));

    QVPreview& tile = *show(true, {300, 300}).cellAt(0);
    EXPECT_FALSE(tile.findChild<QVQuickLookView*>()->isVisible());
    EXPECT_FALSE(tile.findChild<PathView*>()->isVisible());
    EXPECT_EQ(tile.sizeWithWidth(1), collection->itemSize());
}

TEST_F(QVPreviewTest, RevealsAndOpensWhereAnEntryIs) {
    add("one");
    PreviewCollectionView& view = show(false, {260, 600});
    QVPreview& cell = *view.cellAt(0);
    const FileUrl files = FileUrl::fromPath("/trash/files");
    ASSERT_EQ(cell.oldStylePath().size(), 4U);
    EXPECT_EQ(cell.oldStylePath()[2].url, files);
    FileUrl told;
    const auto observation = world.center.observe(
        PreviewNotification::kPreviewMenuNeedsUpdate,
        [&](const Notification& update) {
            told = update.userInfo.value<FileUrl>("url");
            (*update.userInfo.find<QMenu*>("menu"))->addAction(QStringLiteral("odd"))->setData(101);
        },
        &view);
    for (PathView* const path : cell.findChildren<PathView*>()) {
        world.revealed.clear();
        world.opened.clear();
        Q_EMIT path->menuRequested(2, QPoint());
        EXPECT_EQ(told, files);
        QMenu* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_TRUE(menu);
        for (QAction* const action : menu->actions()) {
            action->trigger();
            const int tag = action->data().toInt();
            EXPECT_EQ(world.revealed.size(), tag == QVPreview::kOpenTag ? 0U : 1U) << tag;
        }
        menu->close();
        EXPECT_EQ(world.revealed, std::vector{files});
        EXPECT_EQ(world.opened, std::vector<std::string>{files.path()});
    }
}

}  // namespace
}  // namespace kestrin
