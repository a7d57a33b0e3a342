// SPDX-License-Identifier: GPL-3.0-or-later
// The window under random operations at any moment, with real folders and the real engine: nothing
// goes that was not agreed to, and in the end model, sources and disk agree.
//   KESTRIN_RANDOM_STEPS    how many steps; 1,000 when it is not set
//   KESTRIN_RANDOM_SEED     the seed of a run that is to be seen again
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QAbstractItemModelTester>
#include <QComboBox>
#include <QCoreApplication>
#include <QEvent>
#include <QHeaderView>
#include <QLineEdit>
#include <QPointer>
#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <random>
#include <set>

#include "smartwindow/QVContentTableView.h"
#include "smartwindow/QVListCntrl.h"
#include "smartwindow/QVSmartWindowSourceViewCntrl.h"
#include "smartwindow/QVSourceTableView.h"
#include "smartwindow/QVWindowCntrl.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "smartwindow/support/WindowWorld.h"
#include "support/RecordingProgressView.h"

namespace kestrin {
namespace {

using namespace test;
using namespace std::chrono_literals;
using Tester = QAbstractItemModelTester;

unsigned long numberFrom(const char* variable, unsigned long otherwise) {
    const char* const text = std::getenv(variable);
    return text ? std::strtoul(text, nullptr, 10) : otherwise;
}

/// 0 where nothing is.
ino_t inodeAt(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

class RandomOperations : public ::testing::Test {
 protected:
    struct Disk {
        std::string name;
        int mountId = 0;
        bool isMounted = false;
        std::map<std::string, ino_t> entries{};  ///< as they must be, by name
    };

    RandomOperations() {
        std::cout << "KESTRIN_RANDOM_SEED=" << m_seed << std::endl;
        m_world.alerts.answersSheets = false;
        m_world.defaults.registerDefaults(defaultSettings());
        m_world.defaults.set("write_log", false);
        for (Disk& disk : m_disks) {
            mount(disk);
            for (int entry = 0; entry < 8; ++entry)
                add(disk);
        }
        openWindow();
    }
    ~RandomOperations() override {
        m_progress.pressStop();
        while (!m_world.alerts.sheets.empty())
            m_world.alerts.answerSheet(kAlertSecondButton);
        if (m_window) m_window->letGo();
        EXPECT_TRUE(waitFor([this] { return m_lastEngine.expired(); }, 15000));
    }

    void openWindow();
    std::shared_ptr<QVDeleteItems> makeEngine();
    void step();
    void checkDisks();
    void checkRows();
    void settle();
    std::string listingOf(const Disk& disk) const;
    std::string disagreement();
    std::string disagreementOf(const QVSourceItem& source);
    void refreshAndCompare();

    // The disks
    std::string folder(const Disk& disk) {
        return m_world.scratch / (disk.name + "/.Trash-1/files/");
    }
    void mount(Disk& disk);
    void unmount(Disk& disk);
    void tellOf(const Disk& disk, bool wasAdded);
    void hear();
    void add(Disk& disk);
    void remove(Disk& disk);
    void exchange(Disk& disk);

    // The user
    void check();
    void sort();
    void erase();
    void answer();

    std::size_t pick(std::size_t count) { return m_random() % count; }
    Disk& anyDisk() { return m_disks[pick(m_disks.size())]; }
    const QVSourceItem* sourceOf(const Disk& disk) const;

    const unsigned long m_seed = numberFrom("KESTRIN_RANDOM_SEED", std::random_device()());
    std::mt19937 m_random{static_cast<std::mt19937::result_type>(m_seed)};
    WindowWorld m_world{200ms};
    ProgressRecord m_progress;
    SmartWindowServices m_services = m_world.services();
    std::array<Disk, 3> m_disks{Disk{"one"}, Disk{"two"}, Disk{"three"}};
    std::size_t m_made = 0;  ///< entries and mounts
    /// What was checked when the erase was begun, by the window.
    std::map<WindowHandle, std::set<ino_t>> m_asked;
    std::size_t m_erased = 0;
    std::set<ino_t> m_agreed;  ///< what the user agreed to erase
    std::weak_ptr<QVDeleteItems> m_lastEngine;
    QPointer<QVWindowCntrl> m_window;
    QVListCntrl* m_list = nullptr;
    QVContentTableView* m_table = nullptr;
    QVSmartWindowSourceViewCntrl* m_sources = nullptr;
    QVSourceTableView* m_sourceTable = nullptr;
};

void RandomOperations::openWindow() {
    m_services.makeEngine = [this] { return makeEngine(); };
    m_window = new QVWindowCntrl(m_services);
    m_list = m_window->findChild<QVListCntrl*>();
    m_table = m_window->findChild<QVContentTableView*>();
    m_sources = m_window->findChild<QVSmartWindowSourceViewCntrl*>();
    m_sourceTable = m_window->findChild<QVSourceTableView*>();
    new Tester(&m_list->model(), Tester::FailureReportingMode::Fatal, &m_list->model());
    new Tester(&m_sources->model(), Tester::FailureReportingMode::Fatal, &m_sources->model());
    m_window->showWindow();
}

std::shared_ptr<QVDeleteItems> RandomOperations::makeEngine() {
    const auto isMounted = [volumes = m_world.volumes](const FileUrl& volume, auto) {
        return std::ranges::any_of(volumes->mounts(), [&](const MountedVolume& mounted) {
            return mounted.root == volume;
        });
    };
    auto engine = QVDeleteItems::create({.files = QVFilesUtilities::sharedControl(),
                                         .numbers = m_world.numbers,
                                         .dates = m_world.dates,
                                         .presenter = m_world.presenter,
                                         .defaults = m_world.defaults,
                                         .center = m_world.center,
                                         .texts = m_world.texts,
                                         .makeProgressView = m_progress.factory(),
                                         .helper = HelperAccess(),
                                         .isMounted = isMounted});
    m_lastEngine = engine;
    return engine;
}

// --- The disks ---

/// Lets the listing know what the disk holds now.
void RandomOperations::hear() {
    for (const Disk& disk : m_disks) {
        if (!disk.isMounted) continue;
        ListedVolume volume = m_world.volume(disk.name, disk.mountId);
        volume.trashes[0].trashIsEmpty = std::filesystem::is_empty(folder(disk));
        m_world.volumes->mount(volume);
    }
}

void RandomOperations::tellOf(const Disk& disk, bool wasAdded) {
    namespace Key = SmartWindowNotification;
    m_world.center.post(Key::kMountedVolumeDidChange, this,
                        UserInfo()
                            .set(Key::kDiskWasAdded, wasAdded)
                            .set(Key::kDevicePath, m_world.scratch / disk.name));
}

void RandomOperations::mount(Disk& disk) {
    disk.isMounted = true;
    disk.mountId = static_cast<int>(++m_made);
    m_world.volume(disk.name, disk.mountId);
    hear();
    tellOf(disk, true);
}

/// One is always left, as on every computer.
void RandomOperations::unmount(Disk& disk) {
    if (std::ranges::count(m_disks, true, &Disk::isMounted) == 1) return;
    disk.isMounted = false;
    m_world.volumes->unmount(FileUrl::fromPath(m_world.scratch / disk.name));
    tellOf(disk, false);
}

void RandomOperations::add(Disk& disk) {
    const std::string name = "e" + std::to_string(++m_made);
    const std::string inside[] = {"", "/a", "/b/c"};
    m_world.trash(disk.name, name + inside[pick(3)], pick(100), "/home/" + std::to_string(pick(3)));
    disk.entries[name] = inodeAt(folder(disk) + name);
    m_agreed.erase(disk.entries[name]);  // of an entry that has gone
}

void RandomOperations::remove(Disk& disk) {
    if (disk.entries.empty()) return;
    const auto gone = std::next(disk.entries.begin(), static_cast<int>(pick(disk.entries.size())));
    std::filesystem::remove_all(folder(disk) + gone->first);
    disk.entries.erase(gone);
}

/// Another entry takes the place of one.
void RandomOperations::exchange(Disk& disk) {
    if (disk.entries.empty()) return;
    auto& [name, inode] =
        *std::next(disk.entries.begin(), static_cast<int>(pick(disk.entries.size())));
    const std::string path = folder(disk) + name, fresh = m_world.scratch / "fresh";
    writeFile(fresh);
    std::filesystem::remove_all(path);
    std::filesystem::rename(fresh, path);
    inode = inodeAt(path);
    m_agreed.erase(inode);
}

// --- The user ---

const QVSourceItem* RandomOperations::sourceOf(const Disk& disk) const {
    for (const auto& source : m_sources->sourceItems()) {
        if (source->volumePath() == m_world.scratch / disk.name) return source.get();
    }
    return nullptr;
}

void RandomOperations::check() {
    QAbstractItemModel* model = &m_list->model();
    if (pick(4) == 0) model = &m_sources->model();
    if (model->rowCount() == 0) return;
    const QModelIndex box = model->index(static_cast<int>(pick(model->rowCount())), 0);
    const bool wasErasing = m_list->isErasing();
    const QVariant before = box.data(Qt::CheckStateRole);
    model->setData(box, before == Qt::Checked ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
    if (wasErasing) {
        EXPECT_EQ(box.data(Qt::CheckStateRole), before);
    }
}

void RandomOperations::sort() {
    const auto order = pick(2) == 0 ? Qt::AscendingOrder : Qt::DescendingOrder;
    m_table->sortByColumn(static_cast<int>(pick(ContentListModel::ColumnCount)), order);
}

void RandomOperations::erase() {
    if (m_list->isErasing()) return;
    std::set<ino_t>& asked = m_asked[m_window.data()];
    asked.clear();
    for (const auto& source : m_sources->sourceItems()) {
        const std::lock_guard lock(source->lock);
        for (const auto& item : source->children)
            if (item->isMarked) asked.insert(item->identity.inode);
    }
    m_list->deleteBtnDidClick();
}

void RandomOperations::answer() {
    if (m_world.alerts.sheets.empty()) return;
    const bool agrees = pick(3) != 0;
    const std::set<ino_t>& asked = m_asked[m_world.alerts.sheets.front().parent];
    if (agrees) m_agreed.insert(asked.begin(), asked.end());
    m_world.alerts.answerSheet(agrees ? kAlertFirstButton : kAlertSecondButton);
}

void RandomOperations::step() {
    if (!m_window->isVisible() && pick(2) == 0) m_window->showWindow();
    Disk& disk = anyDisk();
    const FileUrl root = FileUrl::fromPath(m_world.scratch / disk.name);
    const auto select = [this] {
        const int row = static_cast<int>(pick(m_sources->model().rowCount() + 1));
        m_sourceTable->setCurrentIndex(m_sources->model().index(row, 0));
    };
    const auto change = [&] {
        const std::size_t which = pick(4);
        if (which < 2) return add(disk);
        which == 2 ? remove(disk) : exchange(disk);
    };
    const auto filter = [this] {
        const QString texts[] = {{}, QStringLiteral("1"), QStringLiteral("HOME/2")};
        m_window->findChild<QLineEdit*>()->setText(texts[pick(3)]);
        m_window->findChild<QComboBox*>()->setCurrentIndex(static_cast<int>(pick(2) * pick(10)));
    };
    const auto another = [this] {
        m_window->letGo();
        openWindow();
    };
    const auto checkSelection = [this] {
        m_table->selectAll();
        m_list->toggleMarksOfSelection();
    };
    const std::function<void()> actions[] = {
        [this] { check(); },
        [this] { check(); },
        [this] { sort(); },
        select,
        select,
        change,
        change,
        filter,
        checkSelection,
        another,
        [this] { m_window->close(); },
        [&] { disk.isMounted ? unmount(disk) : mount(disk); },
        [&] { m_world.volumes->hang(pick(3) == 0 ? root : FileUrl()); },
        [this] { m_sources->refreshAction(); },
        [this] { m_window->trashContentsDidChange(); },
        [this] { erase(); },
        [this] { answer(); },
        [this] { answer(); },
        [this] {
            if (pick(4) == 0) m_progress.pressStop();
        },
        [this] { refreshAndCompare(); }};
    actions[pick(std::size(actions))]();
    hear();
    const int milliseconds = static_cast<int>(pick(8));
    waitFor([] { return false; }, milliseconds);
    // A window that was let go is deleted, which only a running event loop would do by itself.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// --- What must be so ---

/// Always: what went was agreed to.
void RandomOperations::checkDisks() {
    for (Disk& disk : m_disks) {
        std::erase_if(disk.entries, [&](const auto& entry) {
            const ino_t found = inodeAt(folder(disk) + entry.first);
            if (found == entry.second) return false;
            EXPECT_EQ(found, 0u) << entry.first;
            ++m_erased;
            EXPECT_TRUE(m_agreed.contains(entry.second))
                << disk.name << "/" << entry.first << " went unasked";
            return true;
        });
    }
}

/// Always: the rows are entries of the source that is shown.
void RandomOperations::checkRows() {
    const SharedItemList rows = m_list->model().rows();
    const auto& shown = m_list->sourceItem();
    EXPECT_TRUE(shown || rows->empty());
    for (const auto& item : *rows)
        EXPECT_EQ(item->trash, shown->trash);
    EXPECT_EQ(std::set(rows->begin(), rows->end()).size(), rows->size());
}

std::string RandomOperations::disagreementOf(const QVSourceItem& source) {
    const std::lock_guard lock(source.lock);
    std::uint64_t size = 0, marked = 0, markedSize = 0;
    for (const auto& item : source.children) {
        if (!item->isMeasured) return item->name + " is not measured";
        size += item->size;
        marked += item->isMarked;
        markedSize += item->isMarked ? item->size.load() : 0;
    }
    const std::int64_t status = marked == 0 ? 0 : marked == source.children.size() ? 1 : -1;
    if (source.gatheringSizeCount != 0) return "still gathering";
    if (source.count != source.children.size() || source.size != size) return "its totals";
    if (source.markedCount != marked || source.markedSize != markedSize) return "its marked totals";
    return source.markedStatus == status ? "" : "its check box";
}

/// What the listing says of a disk whose row is wrong.
std::string RandomOperations::listingOf(const Disk& disk) const {
    for (const ListedVolume& volume : m_world.trashes.volumes()) {
        if (volume.url.path() != m_world.scratch / disk.name) continue;
        return "has no row; state " + std::to_string(static_cast<int>(volume.state)) +
               (volume.mountId == disk.mountId ? "" : " of another mount") +
               (volume.answers ? "" : ", silent");
    }
    return disk.isMounted ? "is mounted and not listed" : "has gone and has a row";
}

/// What of the list, the sources and the volumes does not fit together; empty when all does.
std::string RandomOperations::disagreement() {
    std::uint64_t marked = 0;
    for (const Disk& disk : m_disks) {
        const QVSourceItem* const source = sourceOf(disk);
        if (disk.isMounted != (source != nullptr)) return disk.name + ": " + listingOf(disk);
        if (!source) continue;
        const std::string problem = disagreementOf(*source);
        if (!problem.empty()) return disk.name + ": " + problem;
        if (source->note.isEmpty()) marked += source->markedCount;
    }
    if (m_list->checkedFigures().count != marked) return "the figures of what is checked";
    const auto& shown = m_list->sourceItem();
    if (!shown) return "";
    if (std::ranges::find(m_sources->sourceItems(), shown) == m_sources->sourceItems().end())
        return "a source is shown that is not listed";
    const std::lock_guard lock(shown->lock);
    const SharedItemList rows = m_list->model().rows();
    ItemList expected = shown->children;
    std::erase_if(expected, [this](const auto& item) { return !m_list->filter().passes(*item); });
    if (!std::ranges::is_permutation(*rows, expected)) return "the rows";
    const QHeaderView& header = *m_table->header();
    const auto key = ContentListModel::keyOf(header.sortIndicatorSection());
    const auto before = [&](const auto& one, const auto& other) {
        const bool isAscending = header.sortIndicatorOrder() == Qt::AscendingOrder;
        const auto first = one->valueForUndefinedKey(key),
                   second = other->valueForUndefinedKey(key);
        return isAscending ? first < second : second < first;
    };
    return key == ColumnKey::kCheck || std::ranges::is_sorted(*rows, before) ? "" : "the order";
}

/// Until nothing is asked, erased or under way.
void RandomOperations::settle() {
    m_world.volumes->hang({});
    hear();
    EXPECT_TRUE(waitFor(
        [this] {
            while (!m_world.alerts.sheets.empty())
                answer();
            return !m_list->isErasing();
        },
        15000));
    waitFor([] { return false; }, 20);  // the end of an erase closes the window a moment later
    m_window->showWindow();
    m_sources->refreshAction();
    std::string problem;
    EXPECT_TRUE(waitFor([&] { return (problem = disagreement()).empty(); }, 15000)) << problem;
}

/// A trash that is read anew is shown as it is when the number of its entries changed, and else as
/// it was.
void RandomOperations::refreshAndCompare() {
    settle();
    const auto namesOf = [this](const Disk& disk) {
        std::set<std::string> names;
        const QVSourceItem* const source = sourceOf(disk);
        if (!source) return names;
        const std::lock_guard lock(source->lock);
        for (const auto& item : source->children)
            names.insert(item->name);
        return names;
    };
    checkDisks();
    std::vector<std::set<std::string>> expected(m_disks.size());
    for (std::size_t i = 0; i < m_disks.size(); ++i) {
        if (!m_disks[i].isMounted) continue;
        for (const auto& entry : m_disks[i].entries)
            expected[i].insert(entry.first);
        const auto names = namesOf(m_disks[i]);
        if (names.size() == expected[i].size()) expected[i] = names;
    }
    m_sources->refreshAction();
    const auto agree = [&] {
        for (std::size_t i = 0; i < m_disks.size(); ++i)
            if (namesOf(m_disks[i]) != expected[i]) return false;
        return disagreement().empty();
    };
    EXPECT_TRUE(waitFor(agree, 15000)) << disagreement();
}

TEST_F(RandomOperations, eraseNothingUnaskedAndEndInAgreement) {
    const unsigned long steps = numberFrom("KESTRIN_RANDOM_STEPS", 1000);
    for (unsigned long number = 0; number < steps && !HasFailure(); ++number) {
        SCOPED_TRACE("step " + std::to_string(number));
        step();
        checkDisks();
        checkRows();
    }
    refreshAndCompare();
    EXPECT_GT(m_erased, steps / 100) << "what was to be tried was not";
}

}  // namespace
}  // namespace kestrin
