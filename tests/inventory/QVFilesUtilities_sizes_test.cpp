// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>

#include "fsutil/QVFilesUtilities.h"
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

class Undecided : public SizeIterationDelegate {
 public:
    std::optional<bool> wasStopped() const override { return std::nullopt; }
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
    SizePair iterate(const SizeIterationDelegate* delegate, Counts& counts, bool increment = true,
                     bool stopAtContent = false) const {
        return m_files.iterateFolderForSize(trash(), delegate, counts, increment, stopAtContent,
                                            false);
    }

    ScratchFolder m_scratch;
    QVFilesUtilities m_files;
};

TEST_F(FolderSize, CountsFoldersAsEntriesAndAddsToTheCounter) {
    std::uint64_t found = 100;
    EXPECT_EQ(m_files.iterateFolderForSize(trash(), found), (SizePair{15, 15}));
    EXPECT_EQ(found, 106U);
}

TEST_F(FolderSize, LeavesTheCounterAloneForNoneAbsentAndLinkedFolders) {
    ASSERT_EQ(symlink(trash().path().c_str(), (m_scratch / "link").c_str()), 0);
    std::uint64_t found = 7;
    for (const FileUrl& folder :
         {FileUrl(), FileUrl::fromPath("/nonexistent"), FileUrl::fromPath(m_scratch / "link")}) {
        EXPECT_EQ(m_files.iterateFolderForSize(folder, found), SizePair());
    }
    EXPECT_EQ(found, 7U);
}

TEST_F(FolderSize, TellsFoldersFromFilesAndPackages) {
    Counts counts{};
    EXPECT_EQ(iterate(nullptr, counts), (SizePair{15, 15}));
    EXPECT_EQ(counts, (Counts{2, 4}));
    EXPECT_EQ(iterate(nullptr, counts, false), (SizePair{15, 15}));
    EXPECT_EQ(counts, (Counts{2, 4}));
}

TEST_F(FolderSize, TheDelegateDecidesBeforeTheFlagDoes) {
    const Undecided undecided;
    const StopAfter never(1000);
    Counts counts{};
    m_files.gatheringSizeIsWorking = false;
    EXPECT_EQ(iterate(nullptr, counts), SizePair());
    EXPECT_EQ(iterate(&undecided, counts), SizePair());
    EXPECT_EQ(counts, (Counts{0, 0}));
    EXPECT_EQ(iterate(&never, counts), (SizePair{15, 15}));
}

TEST_F(FolderSize, StopsBetweenEntriesWithTheSumsSoFar) {
    // Once before the start, then before and after each entry.
    for (int entries = 0; entries <= 6; ++entries) {
        const StopAfter stop(1 + 2 * entries);
        Counts counts{};
        iterate(&stop, counts);
        EXPECT_EQ(counts[0] + counts[1], static_cast<std::uint64_t>(entries));
    }
}

TEST_F(FolderSize, TheSearchForContentEndsAtTheFirstByte) {
    Counts counts{};
    const SizePair sums = iterate(nullptr, counts, true, true);
    EXPECT_TRUE(sums.totalFileSize == 7 || sums.totalFileSize == 3 || sums.totalFileSize == 5);
}

TEST(CantBeCalculated, IsFalseForDotsAndFinderFilesOnly) {
    const QVFilesUtilities files;
    for (const char* name : {".", "..", ".DS_Store", ".DS_Store2"}) {
        EXPECT_FALSE(files.cantBeCalculated(name)) << name;
    }
    for (const char* name : {"", "...", ".DS_Stor", ".ds_store", "x.DS_Store", "file"}) {
        EXPECT_TRUE(files.cantBeCalculated(name)) << name;
    }
}

}  // namespace
}  // namespace kestrin
