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
    SizePair iterate(const SizeIterationDelegate* delegate, Counts& counts,
                     bool stopAtContent = false) const {
        return m_files.iterateFolderForSize(trash(), delegate, counts, true, stopAtContent, false);
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
}

TEST_F(FolderSize, StopsBetweenEntriesWithTheSumsSoFarAndAtTheFirstContent) {
    // Once before the start, then before and after each entry.
    for (int entries = 0; entries <= 6; ++entries) {
        const StopAfter stop(1 + 2 * entries);
        Counts counts{};
        iterate(&stop, counts);
        EXPECT_EQ(counts[0] + counts[1], static_cast<std::uint64_t>(entries));
    }
    Counts counts{};
    const auto size = iterate(nullptr, counts, true).totalFileSize;
    EXPECT_TRUE(size == 7 || size == 3 || size == 5) << size;
}

TEST(CantBeCalculated, IsFalseForDotsAndFinderFilesOnly) {
    const QVFilesUtilities files;
    for (const char* name : {".", "..", ".DS_Store", ".DS_Store2"})
        EXPECT_FALSE(files.cantBeCalculated(name)) << name;
    for (const char* name : {"", "...", ".DS_Stor", ".ds_store", "x.DS_Store"})
        EXPECT_TRUE(files.cantBeCalculated(name)) << name;
}

}  // namespace
}  // namespace kestrin
