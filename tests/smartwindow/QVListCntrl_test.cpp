// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVListCntrl.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <QLabel>
#include <algorithm>
#include <chrono>
#include <filesystem>

#include "base/MainThread.h"
#include "erase/EraseTurn.h"
#include "smartwindow/ListQueue.h"
#include "smartwindow/QVContentTableView.h"
#include "smartwindow/QVTableHeaderCntrl.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "smartwindow/preview/QVItemPreviewCntrl.h"
#include "smartwindow/support/WindowWorld.h"
#include "support/RecordingProgressView.h"
#include "support/ScopedVariable.h"

namespace kestrin {
namespace {

using namespace kestrin::test;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
namespace Key = SmartWindowNotification;
namespace EraseKey = EraseNotification;

class QVListCntrlTest : public ::testing::Test, protected WindowWorld {
 protected:
    QVListCntrlTest() {
        defaults.registerDefaults(defaultSettings());
        alerts.answersSheets = false;
        theServices.makeEngine = [this] {
            auto engine = QVDeleteItems::create(eraseServices);
            engines.push_back(engine);
            return engine;
        };
        // In the place of the source list.
        marks = center.observe(Key::kUpdateMarkedInfo, [this](const Notification& change) {
            ++markSums;
            const auto source =
                change.userInfo.value<std::shared_ptr<QVSourceItem>>(Key::kSourceItem);
            const CheckedSource checked{source, std::make_shared<ItemList>(source->children)};
            source->markedCount = source->markedSize = 0;
            for (const auto& item : *checked.items) {
                source->markedCount += item->isMarked;
                source->markedSize += item->isMarked ? item->size.load() : 0;
            }
        });
        list = std::make_unique<QVListCntrl>(
            theServices, ListOutlets{.tableView = table,
                                     .infoFld = info,
                                     .previewServices = preview.services,
                                     .collectionPreview = preview.collectionView,
                                     .emptyPreviewView = preview.emptyView,
                                     .splitView = preview.splitView,
                                     .showProgressView = [](bool) {},
                                     .setWindowLevel = [this](int to) { levels.push_back(to); },
                                     .closeWindow = [this] { ++closed; },
                                     .sourceItems = [this] { return sources; }});
        table.resize(600, 400);
        table.show();
    }
    /// A worker that posts an engine's answer keeps the engine, and uses what stands in here.
    void TearDown() override {
        list.reset();
        EXPECT_TRUE(waitFor([this] {
            return std::ranges::all_of(engines,
                                       [](const auto& engine) { return engine.expired(); });
        }));
    }

    /// The names of what the preview shows.
    std::string previewed() const {
        std::string names;
        for (const auto& item : list->previewCntrl().shownItems())
            names += (names.empty() ? "" : " ") + item->name().toStdString();
        return names;
    }
    /// A volume whose trash holds these entries, on disk too.
    std::shared_ptr<QVSourceItem> addSource(const std::string& name,
                                            const std::vector<std::string>& entries) {
        const ListedVolume listed = volume(name);
        auto source = std::make_shared<QVSourceItem>(listed.trashes.front(), 1);
        source->displayName = listed.name;
        for (const std::string& entry : entries) {
            trash(name, entry);
            auto item = listedItem(entry.substr(0, entry.find('/')));
            item->trash = source->trash;
            item->mode = entry.find('/') != std::string::npos ? S_IFDIR : S_IFREG;
            item->isMeasured = !item->isFolder();
            item->size = item->isFolder() ? 0 : 10;
            item->actualCount = item->isFolder() ? 0 : 1;
            item->identity = identityAt(AT_FDCWD, item->path().c_str());
            source->children.push_back(std::move(item));
        }
        sources.push_back(source);
        return source;
    }
    void show(const std::shared_ptr<QVSourceItem>& source) {
        center.post(Key::kShowSelectedItems, &Key::kShowSelectedItems,
                    UserInfo().set(Key::kSourceItem, source));
        ASSERT_TRUE(waitFor([this] { return !list->isLoading(); }));
    }
    std::vector<std::string> shown() {
        std::vector<std::string> names;
        for (const auto& item : *list->model().rows())
            names.push_back(item->name);
        return names;
    }
    void mark(std::initializer_list<int> rows) { list->changeMarks(rows, MarkChange::Mark); }
    /// The erase command, until its sheet is open.
    void askToErase() {
        list->deleteBtnDidClick();
        ASSERT_TRUE(waitFor([this] { return !alerts.sheets.empty(); }));
    }
    bool ends() {
        return waitFor([this] { return !list->isErasing() && !EraseTurn::holder(); });
    }
    /// What the source list does when the last folder of a source is measured.
    void measured(QVSourceItem& source, std::uint64_t size, std::uint64_t count) {
        for (const auto& item : source.children) {
            if (item->isMeasured) continue;
            item->size = size;
            item->actualCount = count;
            item->isMeasured = true;
        }
        center.post(EraseKey::kUpdateCountAndSizeToDelete, &source);
    }

    void listOperationQueueIsIdle() {
        listOperationQueue().waitUntilAllOperationsAreFinished();
        waitFor([] { return false; }, 10);
    }

    SmartWindowServices theServices = services();
    ProgressRecord progress;
    EraseServices eraseServices{QVFilesUtilities::sharedControl(),
                                numbers,
                                dates,
                                presenter,
                                defaults,
                                center,
                                texts,
                                progress.factory(),
                                {},
                                &DisplayTick::start,
                                [](const FileUrl&, std::uint64_t) { return true; }};
    std::vector<std::weak_ptr<QVDeleteItems>> engines;
    SourceItems sources;
    QVContentTableView table{dates};
    QLabel info;
    ListPreview preview{*this};
    std::vector<int> levels;
    int closed = 0;
    int markSums = 0;
    Observation marks;
    std::unique_ptr<QVListCntrl> list;
};

constexpr auto kAddRow = QItemSelectionModel::Select | QItemSelectionModel::Rows;

TEST_F(QVListCntrlTest, EverySourceKeepsItsSelectionAndOrderWhileAnotherIsShown) {
    const auto disk = addSource("Disk", {"b", "a", "c"});
    const auto camera = addSource("Camera", {"x"});
    show(disk);
    EXPECT_THAT(shown(), ElementsAre("a", "b", "c"));
    table.setCurrentIndex(list->model().index(0, 0));
    table.selectionModel()->select(list->model().index(1, 0), kAddRow);
    EXPECT_TRUE(waitFor([this] { return previewed() == "a b"; }));
    list->model().sort(ContentListModel::Name, Qt::DescendingOrder);
    ASSERT_TRUE(waitFor([this] { return shown().front() == "c"; }));
    EXPECT_EQ(list->selectedItems().size(), 2u);
    EXPECT_EQ(info.text(), QStringLiteral("2 selected, 20 B"));
    EXPECT_TRUE(waitFor([this] { return previewed() == "b a"; }));

    show(camera);
    EXPECT_THAT(shown(), ElementsAre("x"));
    EXPECT_TRUE(waitFor([this] { return previewed().empty(); }));
    EXPECT_THAT(list->selectedItems(), IsEmpty());
    EXPECT_TRUE(info.text().isEmpty());
    EXPECT_EQ(table.headerCntrl().sortIndicatorOrder(), Qt::AscendingOrder);
    show(disk);
    EXPECT_THAT(shown(), ElementsAre("c", "b", "a"));
    EXPECT_THAT(selectedRows(table), ElementsAre(1, 2));
    EXPECT_TRUE(waitFor([this] { return previewed() == "b a"; }));

    center.post(Key::kSplitViewDidCollapse, &preview.splitView);
    EXPECT_TRUE(waitFor([this] { return previewed().empty(); })) << "nobody sees it";
    center.post(Key::kSplitViewDidUncollapse, &preview.splitView);
    EXPECT_TRUE(waitFor([this] { return previewed() == "b a"; }));
    disk->children.push_back(listedItem("z"));
    center.post(Key::kUpdateItemsList, disk.get());
    ASSERT_TRUE(waitFor([this] { return shown().size() == 4; }));
    table.selectionModel()->select(list->model().index(1, 0), kAddRow);
    EXPECT_TRUE(waitFor([this] { return previewed() == "c b a"; })) << "in the order of the rows";

    // What was begun for a source that is shown no more comes to nothing.
    list->setFilter(ItemFilter(QStringLiteral("c")));
    center.post(Key::kShowSelectedItems, &Key::kShowSelectedItems,
                UserInfo().set(Key::kSourceItem, camera));
    sources.erase(sources.begin() + 1);
    list->sourcesDidChange();
    EXPECT_EQ(list->sourceItem(), nullptr);
    listOperationQueueIsIdle();
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(QVListCntrlTest, AThousandMeasuredFoldersAreAFewSortsAndTheLastOneCounts) {
    const auto disk = addSource("Disk", {"largest"});
    for (std::size_t number = 0; number < 20000; ++number) {
        disk->children.push_back(listedItem("entry " + std::to_string(number)));
        disk->children.back()->size = number * 7919 % 10;
    }
    show(disk);
    list->model().sort(ContentListModel::Size, Qt::DescendingOrder);
    ASSERT_TRUE(waitFor([this] { return shown().front() == "largest"; }));
    markSums = 0;
    const auto began = std::chrono::steady_clock::now();
    for (int time = 1; time <= 1000; ++time) {
        auto item = listedItem("new " + std::to_string(time));
        item->size = 100 + static_cast<std::uint64_t>(time);
        {
            const std::lock_guard lock(disk->lock);
            disk->children.push_back(std::move(item));
        }
        center.post(Key::kUpdateItemsList, disk.get());
        if (time % 50 == 0) waitFor([] { return false; }, 10);
    }
    EXPECT_TRUE(waitFor([this] { return shown().front() == "new 1000"; }));
    EXPECT_EQ(shown().size(), 21001u) << "none is lost while it is sorted";
    const auto took = std::chrono::steady_clock::now() - began;
    EXPECT_LE(markSums, 3 + took / 100ms) << "one in each pause at most";
    EXPECT_EQ(disk->children.front()->name, "new 1000");
}

TEST_F(QVListCntrlTest, AFilterUnchecksNothingAndTypingEndsWithTheLastText) {
    const auto disk = addSource("Disk", {"apple", "pear", "plum"});
    const auto camera = addSource("Camera", {"apple 2"});
    show(camera);
    mark({0});
    show(disk);
    mark({0, 1});
    EXPECT_EQ(list->checkedFigures(), (CheckedFigures{.count = 3, .size = 30}));
    for (const char* text : {"p", "pl", "plu", "pe"})
        list->setFilter(ItemFilter(QString::fromLatin1(text)));
    EXPECT_TRUE(waitFor([this] { return list->checkedFigures().hiddenCount == 2; }));
    EXPECT_TRUE(waitFor([this] { return shown().size() == 1; }));
    EXPECT_THAT(shown(), ElementsAre("pear"));
    listOperationQueueIsIdle();
    EXPECT_THAT(shown(), ElementsAre("pear"));
    EXPECT_EQ(list->checkedFigures(), (CheckedFigures{.count = 3, .size = 30, .hiddenCount = 2}));
    askToErase();
    EXPECT_THAT(alerts.models.back().text.toStdString(), HasSubstr("2"));
    EXPECT_EQ(alerts.models.back().details.count, 5u) << "two headings and three entries";
    alerts.answerSheet(kAlertSecondButton);
    EXPECT_TRUE(ends());
    list->setFilter(ItemFilter(QString(), EntryKind::Folders));
    EXPECT_TRUE(waitFor([this] { return list->checkedFigures().hiddenCount == 3; }));
    list->setFilter({});
    EXPECT_EQ(list->checkedFigures(), (CheckedFigures{.count = 3, .size = 30}));
}

TEST_F(QVListCntrlTest, ErasesExactlyWhatIsCheckedWhereverItIs) {
    const std::string odd = "odd\xFF\n\xE2\x80\xAE";
    const auto disk = addSource("Disk", {"keep", odd, "replaced"});
    const auto camera = addSource("Camera", {"folder/in/side", "keep"});
    show(camera);
    mark({0});
    show(disk);
    mark({1, 2});
    ASSERT_EQ(disk->children.at(1)->name, odd);
    const std::string replaced = disk->children.at(2)->path();
    std::filesystem::rename(replaced, scratch / "moved");
    writeFile(replaced);
    measured(*camera, 10, 2);
    askToErase();
    // What is checked now is not what was asked about.
    EXPECT_FALSE(list->model().setData(list->model().index(0, 0), Qt::Checked, Qt::CheckStateRole));
    list->deleteBtnDidClick();
    EXPECT_EQ(alerts.sheets.size(), 1u);
    EXPECT_EQ(alerts.sizeLines.back().text, QStringLiteral("5 items in all, 30 B"));
    alerts.answerSheet(kAlertFirstButton);
    EXPECT_TRUE(ends());
    EXPECT_TRUE(waitFor([this] { return closed == 1; }));
    EXPECT_THAT(levels, ElementsAre(0));
    EXPECT_FALSE(exists(scratch / ("Disk/.Trash-1/files/" + odd)));
    EXPECT_FALSE(exists(scratch / "Camera/.Trash-1/files/folder"));
    EXPECT_TRUE(exists(replaced));
    EXPECT_TRUE(exists(scratch / "Disk/.Trash-1/files/keep"));
    EXPECT_TRUE(exists(scratch / "Camera/.Trash-1/files/keep"));
}

TEST_F(QVListCntrlTest, FiguresThatWaitForAFolderComeOnceAndCountItWithoutItself) {
    const auto disk = addSource("Disk", {"file", "folder/in"});
    const auto camera = addSource("Camera", {"folder/in"});
    show(camera);
    mark({0});
    show(disk);
    mark({0, 1});
    std::vector<std::pair<std::uint64_t, std::uint64_t>> totals;
    const Observation figures =
        center.observe(EraseKey::kUpdateCountAndSizeToDelete, [&](const Notification& late) {
            if (late.sender) return;
            totals.emplace_back(late.userInfo.value<std::uint64_t>(EraseKey::kCount),
                                late.userInfo.value<std::uint64_t>(EraseKey::kSize));
        });
    const auto waitForFigures = [&] { return waitFor([&] { return !totals.empty(); }, 1000); };

    askToErase();
    measured(*disk, 100, 7);
    listOperationQueueIsIdle();
    EXPECT_THAT(totals, IsEmpty());
    measured(*camera, 1000, 9);
    ASSERT_TRUE(waitForFigures());
    EXPECT_THAT(totals, ElementsAre(std::pair(17, 1110)));
    alerts.answerSheet(kAlertSecondButton);
    ASSERT_TRUE(ends());

    // What will never be measured is not waited for.
    const std::vector<std::function<void()>> happenings = {
        [&] { list->windowWillClose(); },
        [&] { list.reset(); },
    };
    for (const auto& happen : happenings) {
        totals.clear();
        camera->children.front()->isMeasured = false;
        askToErase();
        EXPECT_THAT(totals, IsEmpty());
        happen();
        EXPECT_TRUE(waitForFigures());
        alerts.answerSheet(kAlertSecondButton);
        EXPECT_TRUE(!list || ends());
    }
}

TEST_F(QVListCntrlTest, AQuestionAboutAVolumeThatGoesIsWithdrawn) {
    const auto disk = addSource("Disk", {"a"});
    const auto camera = addSource("Camera", {"b"});
    show(camera);
    mark({0});
    show(disk);
    mark({0});
    const auto goes = [&] { sources.pop_back(), list->sourcesDidChange(); };
    const std::vector<std::function<void()>> happenings = {
        goes,
        [&] { camera->note = QStringLiteral("it is not answering"), list->sourcesDidChange(); },
        [&] { alerts.answerSheet(kAlertFirstButton), goes(); },
    };
    for (const auto& happen : happenings) {
        sources = {disk, camera};
        camera->note.clear();
        told.clear();
        askToErase();
        happen();
        EXPECT_TRUE(ends());
        EXPECT_THAT(alerts.sheets, IsEmpty());
        EXPECT_EQ(alerts.panelsAlive, 0);
        EXPECT_EQ(list->checkedFigures(), (CheckedFigures{.count = 1, .size = 10}));
        ASSERT_EQ(told.size(), 1);
        EXPECT_THAT(told.front().toStdString(), HasSubstr("“Camera”"));
    }
    EXPECT_THAT(levels, IsEmpty());
    EXPECT_TRUE(exists(disk->children.front()->path()));
    EXPECT_TRUE(exists(camera->children.front()->path()));
}

TEST_F(QVListCntrlTest, WithNothingCheckedItBeepsAndThenSaysSo) {
    const auto disk = addSource("Disk", {"a"});
    show(disk);
    const auto erase = [this] {
        list->deleteBtnDidClick();
        EXPECT_TRUE(ends());
    };
    erase();
    EXPECT_EQ(beeps, 1);
    EXPECT_TRUE(alerts.models.empty());
    erase();
    EXPECT_EQ(alerts.models.back().title,
              texts.text("no_marked_items", StringTable::Table::Errors));
    mark({0});
    askToErase();
    alerts.answerSheet(kAlertSecondButton);
    ASSERT_TRUE(ends());
    list->changeMarks({0}, MarkChange::Unmark);
    erase();
    EXPECT_EQ(beeps, 2) << "a question in between begins it anew";

    // What is checked on a volume that does not answer is not nothing.
    mark({0});
    disk->note = QStringLiteral("it is not answering");
    list->sourcesDidChange();
    EXPECT_EQ(list->checkedFigures(), CheckedFigures());
    erase();
    EXPECT_EQ(beeps, 2);
    EXPECT_THAT(alerts.models.back().text.toStdString(), HasSubstr("not answering"));
}

TEST_F(QVListCntrlTest, EveryEndFreesMarksLevelAndEngine) {
    const auto disk = addSource("Disk", {"a", "b"});
    show(disk);
    mark({0});
    const auto isFree = [this] {
        const bool hasEnded = ends();
        const auto cell = list->model().index(1, ContentListModel::Check);
        return hasEnded && list->model().setData(cell, Qt::Unchecked, Qt::CheckStateRole) &&
               (levels.empty() || levels.back() == 8) && closed == 0;
    };
    askToErase();
    alerts.answerSheet(kAlertSecondButton);
    EXPECT_TRUE(isFree()) << "declined";

    // Another one erases, and its end is not that of this one.
    const auto other = QVDeleteItems::create(eraseServices);
    ASSERT_TRUE(EraseTurn::take(other));
    list->deleteBtnDidClick();
    EXPECT_TRUE(waitFor([this] { return !list->isErasing(); }));
    EraseTurn::giveBack(*other);
    EXPECT_TRUE(isFree()) << "refused";
    askToErase();
    center.post(EraseKey::kStopWorking, other.get(),
                UserInfo()
                    .set(EraseKey::kWasStoppedByUser, false)
                    .set(EraseKey::kErasedCount, std::uint64_t{1}));
    EXPECT_TRUE(list->isErasing());

    // The log cannot be opened.
    const std::string logs = scratch / "no folder";
    writeFile(logs);
    const ScopedVariable state("XDG_STATE_HOME", logs.c_str());
    defaults.set("write_log", true);
    alerts.answerSheet(kAlertFirstButton);
    EXPECT_TRUE(isFree()) << "no log";
    EXPECT_THAT(levels, ElementsAre(0, 8));
    defaults.set("write_log", false);
    if (!alerts.sheets.empty()) alerts.answerSheet(kAlertFirstButton);

    // Nothing is erased, since it has gone already; and without a question.
    defaults.set("show_alert", false);
    std::filesystem::remove(disk->children.front()->path());
    list->deleteBtnDidClick();
    EXPECT_TRUE(isFree()) << "nothing erased";
    EXPECT_THAT(levels, ElementsAre(0, 8, 0, 8));
}

}  // namespace
}  // namespace kestrin
