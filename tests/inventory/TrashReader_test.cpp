// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/TrashReader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>

#include "platform/items/ItemIdentity.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using Items = std::map<std::string, std::shared_ptr<QVSmartWindowItem>>;

class TrashReaderTest : public ::testing::Test {
 protected:
    TrashReaderTest() {
        test::makeFolder(m_scratch / "T/files");
        test::makeFolder(m_scratch / "T/info");
    }
    std::string files(const std::string& name) const { return m_scratch / ("T/files/" + name); }
    void record(const std::string& name, const std::string& path, const std::string& date) const {
        test::writeFile(m_scratch / ("T/info/" + name + ".trashinfo"),
                        "[Trash Info]\nPath=" + path + "\nDeletionDate=" + date + "\n");
    }
    std::unique_ptr<TrashReader> reader() const {
        auto opened = TrashReader::open(
            std::make_shared<const FileUrl>(FileUrl::fromPath(m_scratch / "T/files")),
            FileUrl::fromPath("/volume"));
        EXPECT_TRUE(opened);
        return std::move(*opened);
    }
    TrashReader::Take into(Items& items) {
        return [this, &items](ItemList piece) {
            const std::lock_guard lock(m_mutex);
            for (auto& item : piece)
                EXPECT_TRUE(items.emplace(item->name, item).second) << item->name;
        };
    }
    Items all(const std::stop_token& stop = {}) {
        Items items;
        EXPECT_FALSE(reader()->readAll(stop, into(items)));
        return items;
    }

    const test::ScratchFolder m_scratch;
    std::mutex m_mutex;
};

TEST_F(TrashReaderTest, TellsOfEachEntryWhatListsShow) {
    const test::ScopedVariable zone("TZ", "UTC");
    const std::string odd = "-\xFF \n\u202E.txt";
    test::writeFile(files(odd), "12345");
    record(odd, "/home/a%20b/x", "2001-01-01T00:01:05");
    test::writeFile(files(".hidden"), "");
    record(".hidden", "/top", "2001-01-01T00:01:07");
    test::makeFolder(files("folder/below"));
    record("folder", "docs/folder", "no date");
    ASSERT_EQ(symlink("folder", files("link").c_str()), 0);
    Items items = all();
    ASSERT_EQ(items.size(), 4);
    const QVSmartWindowItem &file = *items[odd], &hidden = *items[".hidden"],
                            &folder = *items["folder"], &link = *items["link"];
    EXPECT_EQ(file.url(), FileUrl::fromPath(files(odd)));
    EXPECT_EQ(file.dateAdded, 65);
    EXPECT_EQ(*file.originalFolder, "/home/a b");
    EXPECT_EQ(hidden.dateAdded, 67);
    EXPECT_EQ(*hidden.originalFolder, "/");
    EXPECT_EQ(*folder.originalFolder, "/volume/docs");
    EXPECT_EQ(folder.dateAdded, 0);
    EXPECT_FALSE(link.originalFolder);
    EXPECT_TRUE(hidden.isHidden && !file.isHidden);
    EXPECT_TRUE(folder.isFolder() && !folder.isMeasured && folder.actualCount == 0);
    EXPECT_TRUE(link.isLink() && !link.isFolder() && link.isMeasured && link.size == 6);
    EXPECT_TRUE(file.isMeasured && file.size == 5 && file.actualCount == 1);
    EXPECT_EQ(presenceOf(file.url(), file.identity), ItemPresence::There);
}

TEST_F(TrashReaderTest, ReadsThousandsOnceAndThoseThatAreAskedFor) {
    for (int i = 0; i < 2500; ++i)
        ASSERT_EQ(symlink("x", files(std::to_string(i)).c_str()), 0);
    EXPECT_EQ(all().size(), 2500);
    std::stop_source stopped;
    stopped.request_stop();
    EXPECT_TRUE(all(stopped.get_token()).empty());
    EXPECT_TRUE(reader()->readAll({}, [](ItemList) { throw std::bad_alloc(); }));
    const auto names = reader()->readNames({});
    ASSERT_TRUE(names);
    EXPECT_EQ(names->size(), 2500);
    Items items;
    EXPECT_FALSE(reader()->read({{"7"}, {"gone"}, {"2499"}}, {}, into(items)));
    EXPECT_EQ(items.size(), 2);
}

TEST_F(TrashReaderTest, KeepsWhatItCannotLookAtAndSaysWhatItCannotList) {
    test::writeFile(files("file"));
    test::makeFolder(files("folder"));
    chmod(files("").c_str(), S_IRUSR);
    Items items = all();
    ASSERT_EQ(items.size(), 2);
    EXPECT_TRUE(items["file"]->isMeasured && items["file"]->actualCount == 0);
    EXPECT_EQ(items["file"]->mode, S_IFREG);
    EXPECT_TRUE(items["folder"]->isFolder() && !items["folder"]->identity.isKnown());
    chmod(files("").c_str(), 0);
    items.clear();
    EXPECT_TRUE(reader()->readAll({}, into(items)));
    chmod(files("").c_str(), S_IRWXU);
}

TEST_F(TrashReaderTest, TakesNothingOfWhatIsMountedInATrash) {
    KESTRIN_REQUIRE_MOUNTS();
    const test::TestVolume volume(test::TestVolume::Kind::Tmpfs, files("mounted"));
    ASSERT_TRUE(volume.isMounted());
    Items items = all();
    EXPECT_TRUE(items["mounted"]->isFolder() && items["mounted"]->isMeasured);
}

}  // namespace
}  // namespace kestrin
