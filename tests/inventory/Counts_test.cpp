// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <future>
#include <new>

#include "base/OperationQueue.h"
#include "fsutil/QVFilesUtilities.h"
#include "inventory/QVKestrinFileUtilities.h"
#include "inventory/TrashCount.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::ScratchFolder;

using Counts = std::array<std::uint64_t, 2>;

/// Stops after it was asked `questions` times.
class StopAfter : public SizeIterationDelegate {
 public:
    explicit StopAfter(int questions) : m_questions(questions) {}
    std::optional<bool> wasStopped() const override { return m_questions-- <= 0; }

 private:
    mutable int m_questions;
};

class FolderSize : public ::testing::Test {
 protected:
    FolderSize() {
        test::writeFile(m_scratch / "trash/folder/one", "1234567");
        test::writeFile(m_scratch / "trash/folder/.two", "123");
        test::writeFile(m_scratch / "trash/Program.app/inside", "12345");
        test::makeFolder(m_scratch / "trash/empty.folder");
        // 15 bytes in 3 files, 3 folders of which one is a package.
        m_files.gatheringSizeIsWorking = true;
    }
    FileUrl trash() const { return FileUrl::fromPath(m_scratch / "trash"); }
    SizePair iterate(const SizeIterationDelegate* delegate, Counts& counts) const {
        return m_files.iterateFolderForSize(trash(), delegate, counts, true, false, false);
    }

    ScratchFolder m_scratch;
    QVFilesUtilities m_files;
};

TEST_F(FolderSize, CountsFoldersAsEntriesAndNothingWhereNoFolderIs) {
    std::uint64_t found = 100;
    EXPECT_EQ(m_files.iterateFolderForSize(trash(), found), (SizePair{15, 15}));
    EXPECT_EQ(found, 106u);
    ASSERT_EQ(symlink(trash().path().c_str(), (m_scratch / "link").c_str()), 0);
    for (const FileUrl& folder :
         {FileUrl(), FileUrl::fromPath("/nonexistent"), FileUrl::fromPath(m_scratch / "link")}) {
        EXPECT_EQ(m_files.iterateFolderForSize(folder, found), SizePair());
    }
    EXPECT_EQ(found, 106u);
}

TEST_F(FolderSize, TheDelegateDecidesBeforeTheFlagDoes) {
    const StopAfter never(1000);
    Counts counts{};
    EXPECT_EQ(iterate(nullptr, counts), (SizePair{15, 15}));
    EXPECT_EQ(counts, (Counts{2, 4})) << "folders, and files with packages";
    m_files.gatheringSizeIsWorking = false;
    EXPECT_EQ(iterate(nullptr, counts), SizePair());
    EXPECT_EQ(iterate(&never, counts), (SizePair{15, 15}));
    // Asked once before the start, then before and after each entry.
    const StopAfter afterTwo(5);
    counts = {};
    iterate(&afterTwo, counts);
    EXPECT_EQ(counts[0] + counts[1], 2u);
}

TEST(TrashScan, EntriesCarryTheirBytesAndTheirIdentity) {
    const ScratchFolder scratch;
    test::writeFile(scratch / "caf\xE9%0A\n/.b", "123");
    test::writeFile(scratch / ".hidden", "");
    const auto scan =
        QVKestrinFileUtilities().binItemsAndInfoWithURL(FileUrl::fromPath(scratch.path()));
    ASSERT_TRUE(scan.has_value());
    EXPECT_EQ(scan->size, 3u);
    EXPECT_EQ(scan->count, 3u);
    ASSERT_EQ(scan->itemsToErase->size(), 2u);
    for (const QVItemToErase& item : *scan->itemsToErase) {
        EXPECT_EQ(presenceOf(item.url(), item.identity), ItemPresence::There);
        EXPECT_TRUE(item.identity.isKnown());
        const bool isHidden = item.path() == scratch / ".hidden";
        EXPECT_TRUE(isHidden || item.path() == scratch / "caf\xE9%0A\n") << item.path();
        EXPECT_EQ(item.count, isHidden ? 1u : 2u);
        EXPECT_EQ(item.size, isHidden ? 0u : 3u);
    }
}

TEST(TrashScan, GivesNoneForNoneAndNothingForWhatCannotBeListed) {
    const ScratchFolder scratch;
    ASSERT_EQ(symlink("/usr", (scratch / "link").c_str()), 0);
    const QVKestrinFileUtilities utilities;
    EXPECT_FALSE(utilities.binItemsAndInfoWithURL(FileUrl()).has_value());
    for (const std::string& path : {scratch / "absent", scratch / "link"}) {
        const auto scan = utilities.binItemsAndInfoWithURL(FileUrl::fromPath(path));
        ASSERT_TRUE(scan && scan->itemsToErase) << path;
        EXPECT_TRUE(scan->itemsToErase->empty() && scan->size == 0 && scan->count == 0);
    }
}

TEST(DeleteItem, RemovesTheItemAndNotWhatItPointsTo) {
    const ScratchFolder scratch;
    test::writeFile(scratch / "kept/file");
    test::writeFile(scratch / "gone/below/file");
    ASSERT_EQ(symlink((scratch / "kept").c_str(), (scratch / "gone/link").c_str()), 0);
    const QVKestrinFileUtilities utilities;
    EXPECT_TRUE(utilities.deleteItemWithURL(FileUrl::fromPath(scratch / "kept/..")).has_value());
    EXPECT_FALSE(utilities.deleteItemWithURL(FileUrl::fromPath(scratch / "gone")).has_value());
    EXPECT_EQ(utilities.deleteItemWithURL(FileUrl::fromPath(scratch / "gone"))->code, ENOENT);
    EXPECT_FALSE(test::exists(scratch / "gone"));
    EXPECT_TRUE(test::exists(scratch / "kept/file"));
}

using State = TrashCount::State;
const std::vector<FileUrl> kNone;

TEST(TrashCount, SumsUpTrashesAndTellsThoseItCannotRead) {
    const test::ScratchFolder scratch;
    test::writeFile(scratch / "one/folder/file", "1234");
    test::writeFile(scratch / "two/.hidden", "12");
    test::makeFolder(scratch / "closed");
    ASSERT_EQ(::chmod((scratch / "closed").c_str(), 0), 0);
    std::vector<FileUrl> trashes;
    for (const char* name : {"one", "absent", "closed", "two"})
        trashes.push_back(FileUrl::fromPath(scratch / name));
    EXPECT_EQ(*trashHoldsEntries(trashes[3]), true);
    EXPECT_EQ(*trashHoldsEntries(trashes[1]), false);
    EXPECT_FALSE(trashHoldsEntries(trashes[2]));

    OperationQueue queue("count");
    const auto count = TrashCount::start(queue, trashes, countEntries, {});
    EXPECT_EQ(count->state(), State::Counting);
    ASSERT_TRUE(test::waitFor([&] { return count->state() == State::Finished; }));
    const TrashContents& contents = count->contents();
    EXPECT_EQ(contents.figures, (TrashFigures{.size = 6, .count = 3}));
    ASSERT_EQ(contents.itemsToErase->size(), 2u);
    EXPECT_EQ(contents.itemsToErase->back().url(), trashes[3].appending(".hidden"));
    ASSERT_EQ(contents.unreadable.size(), 1u);
    EXPECT_EQ(contents.unreadable[0].trash, trashes[2]);
    EXPECT_EQ(countFigures(trashes).figures, contents.figures);
}

TEST(TrashCount, IsToldOnceAndNeverAfterAStop) {
    std::promise<void> volumeAnswers;
    OperationQueue queue("count");
    int told = 0;
    const auto tell = [&](const TrashCount&) { ++told; };
    const auto stopped = TrashCount::start(
        queue, kNone,
        [gate = volumeAnswers.get_future().share()](auto&, auto&) {
            gate.wait();
            return TrashContents();
        },
        tell);
    stopped->stop();
    volumeAnswers.set_value();
    queue.waitUntilAllOperationsAreFinished();
    // Nobody keeps this one, and its counter fails.
    TrashCount::start(
        queue, {FileUrl::fromPath("/trash")},
        [](auto&, auto&) -> TrashContents { throw std::bad_alloc(); },
        [&](const TrashCount& count) { told += count.contents().unreadable.size() == 1 ? 10 : 0; });
    EXPECT_TRUE(test::waitFor([&] { return told != 0; }));
    EXPECT_EQ(told, 10) << "an erase would take the figures of a count that was called off";
    EXPECT_EQ(stopped->state(), State::Stopped);
}

}  // namespace
}  // namespace kestrin
