// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/DirectoryReader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;

TEST(DirectoryReader, GivesNamesAsBytesWithTheirTypesAndListsFoldersOnly) {
    const ScratchFolder scratch;
    const std::string odd = "\xff\n%41 ";
    writeFile(scratch / odd);
    makeFolder(scratch / "..folder");
    ASSERT_EQ(symlink("..folder", (scratch / "link").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / ".fifo").c_str(), 0600), 0);
    const auto entries = readDirectory(FileUrl::fromPath(scratch.path()));
    ASSERT_TRUE(entries);
    std::map<std::string, EntryType> types;
    for (const DirectoryEntry& entry : *entries)
        types[entry.name] = entry.type;
    EXPECT_EQ(types, (std::map<std::string, EntryType>{{odd, EntryType::RegularFile},
                                                       {"..folder", EntryType::Directory},
                                                       {"link", EntryType::SymbolicLink},
                                                       {".fifo", EntryType::Other}}));

    ASSERT_EQ(chmod((scratch / "..folder").c_str(), 0300), 0);
    for (const auto& [name, code] : {std::pair("..folder", kFileReadNoPermission),
                                     {"link", ENOTDIR},
                                     {".fifo", ENOTDIR},
                                     {"none", ENOENT}}) {
        EXPECT_EQ(readDirectory(FileUrl::fromPath(scratch / name)).error().code, code) << name;
    }
}

}  // namespace
}  // namespace kestrin
