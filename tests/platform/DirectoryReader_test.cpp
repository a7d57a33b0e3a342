// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DirectoryReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;

TEST(DirectoryReader, GivesNamesAsBytesWithTheirTypes) {
    const ScratchFolder scratch;
    const std::string odd = "\xff\n%41 ";
    writeFile(scratch / odd);
    makeFolder(scratch / "..folder");
    ASSERT_EQ(symlink("nowhere", (scratch / "link").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / ".fifo").c_str(), 0600), 0);

    const auto entries = readDirectory(FileUrl::fromPath(scratch.path()));
    ASSERT_TRUE(entries);
    std::map<std::string, EntryType> types;
    for (const DirectoryEntry& entry : *entries) {
        types[entry.name] = entry.type;
    }
    EXPECT_EQ(entries->size(), 4u);
    EXPECT_EQ(types, (std::map<std::string, EntryType>{{odd, EntryType::RegularFile},
                                                       {"..folder", EntryType::Directory},
                                                       {"link", EntryType::SymbolicLink},
                                                       {".fifo", EntryType::Other}}));
}

TEST(DirectoryReader, RefusesLinksFilesAndFoldersThatCannotBeListed) {
    const ScratchFolder scratch;
    makeFolder(scratch / "closed");
    ASSERT_EQ(chmod((scratch / "closed").c_str(), 0300), 0);
    ASSERT_EQ(symlink("/", (scratch / "link").c_str()), 0);
    writeFile(scratch / "file");
    EXPECT_EQ(readDirectory(FileUrl::fromPath(scratch / "closed")).error().code,
              kFileReadNoPermission);
    EXPECT_THAT(readDirectory(FileUrl::fromPath(scratch / "link")).error().code,
                ::testing::AnyOf(ELOOP, ENOTDIR));
    EXPECT_EQ(readDirectory(FileUrl::fromPath(scratch / "file")).error().code, ENOTDIR);
    EXPECT_EQ(readDirectory(FileUrl::fromPath(scratch / "none")).error().code, ENOENT);
}

}  // namespace
}  // namespace kestrin
