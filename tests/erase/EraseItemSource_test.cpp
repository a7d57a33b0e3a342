// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseItemSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>

#include "inventory/ThumbnailCache.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::ElementsAre;

TEST(EraseItemSourceTest, HandsOutInOrderAndRemovesTheRecordsOfWhatIsGone) {
    using enum RemovalOutcome;
    const std::map<std::string, RemovalOutcome> outcomes{
        {"gone", Gone}, {"left", Stayed}, {"other", Replaced}, {"begun", Stopped}};
    const ScratchFolder scratch;
    const std::string closed = scratch / "closed", shut = scratch / "shut",
                      trash = scratch / "trash";
    const auto record = [](const std::string& in, const std::string& name) {
        return in + "/info/" + name + ".trashinfo";
    };
    const ScopedVariable cache("XDG_CACHE_HOME", scratch.path());
    const auto thumbnail = [&](const std::string& name) {
        return cachedThumbnailsOf(FileUrl::fromPath(trash + "/files/" + name)).back().file.path();
    };
    for (const auto& [name, outcome] : outcomes)
        writeFile(thumbnail(name));
    ItemsToErase items;
    for (const auto& [in, name] : {std::pair(trash, "other"),
                                   {closed, "a"},
                                   {shut, "c"},
                                   {trash, "gone"},
                                   {trash, "left"},
                                   {closed, "b"},
                                   {trash, "begun"}}) {
        writeFile(in + "/files/" + name);
        writeFile(record(in, name));
        items.push_back({.trash = std::make_shared<const FileUrl>(FileUrl::fromPath(in + "/files")),
                         .name = name});
    }
    ASSERT_EQ(chmod(closed.c_str(), 0), 0);
    std::vector<std::string> notBegun, begun, stayed;
    EraseItemSource source(items,
                           {[&](const FileUrl& folder) { return folder.path() != shut + "/files"; },
                            [&](const FileUrl& entry, const HostError& error) {
                                EXPECT_EQ(error.code, kFileReadNoPermission);
                                notBegun.push_back(entry.path());
                            },
                            [&](const QVItemToErase& entry) { stayed.push_back(entry.name); }});
    for (RemovalItem item; source.next(item);) {
        if (begun.empty()) {  // what was opened is what was meant, whatever has its path now
            std::filesystem::rename(trash, scratch / "moved");
            writeFile(record(trash, "gone"));
        }
        begun.push_back(item.name);
        source.finished(item, outcomes.at(item.name));
    }
    EXPECT_THAT(begun, ElementsAre("other", "gone", "left", "begun"));
    EXPECT_THAT(notBegun, ElementsAre(closed + "/files/a", closed + "/files/b"));
    EXPECT_THAT(stayed, ElementsAre("left", "begun"));
    for (const auto& [name, outcome] : outcomes)
        EXPECT_EQ(exists(record(scratch / "moved", name)), outcome != Gone) << name;
    source.tidy();
    for (const auto& [name, outcome] : outcomes)
        EXPECT_EQ(exists(thumbnail(name)), outcome != Gone) << name;
    EXPECT_TRUE(exists(record(trash, "gone")));
    ASSERT_EQ(chmod(closed.c_str(), 0700), 0);
}

}  // namespace
}  // namespace kestrin
