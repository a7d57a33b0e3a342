// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/ItemDetails.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>

#include "smartwindow/preview/support/PreviewWorld.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace kestrin::test;
using ::testing::ElementsAre;

std::shared_ptr<QVSmartWindowItem> entryAt(const std::string& path) {
    auto entry = PreviewedEntry("").entry;
    const FileUrl url = FileUrl::fromPath(path);
    entry->trash = std::make_shared<FileUrl>(url.parent());
    entry->name = url.lastPathComponent();
    entry->identity = identityAt(AT_FDCWD, path.c_str());
    entry->isMeasured = true;
    return entry;
}

std::vector<std::string> names(const std::vector<ServiceDictionary>& rows) {
    std::vector<std::string> names;
    for (const ServiceDictionary& row : rows)
        names.push_back(row.name_col.toStdString());
    return names;
}

/// Entries of two trashes, the first of which may hang. It outlives the test.
struct Disks {
    std::mutex mutex;
    std::condition_variable answers;
    bool hangs = true;
    std::vector<std::string> asked;

    ItemFacts ask(const QVSmartWindowItem& item) {
        std::unique_lock lock(mutex);
        asked.push_back(item.name);
        const bool isHanging = item.trash->path() == "/hanging";
        answers.wait(lock, [&] { return !isHanging || !hangs; });
        return {};
    }
    std::size_t count() { return std::lock_guard(mutex), asked.size(); }
};

TEST(ItemDetails, SayWhatTheDiskSaysAndOfAnotherItemNothing) {
    const ScratchFolder scratch;
    makeFolder(scratch / "Volumes/Disk");
    writeFile(scratch / "Volumes/Disk/.photo\n.jpg", "12345");
    const auto entry = entryAt(scratch / "Volumes/Disk/.photo\n.jpg");
    entry->size = 5;
    entry->originalFolder = std::make_shared<std::string>("/home/\xff");
    ItemDetails details;
    ItemDetailsReader reader;
    const auto ask = [&] {
        int answers = 0;
        const PreviewTicket ticket = reader.request(entry, [&](const ItemDetails& answer) {
            details = answer;
            ++answers;
        });
        EXPECT_EQ(answers, 0) << "later";
        return waitFor([&] { return answers == 1; });
    };
    ASSERT_TRUE(ask());
    EXPECT_TRUE(details.isThere);
    EXPECT_EQ(details.name, QStringLiteral(".photo\\n.jpg"));
    EXPECT_EQ(details.originalFolder, QStringLiteral("/home/\uFFFD"));
    EXPECT_TRUE(details.kind.contains(QStringLiteral("JPEG")));
    EXPECT_FALSE(details.size.isEmpty() || details.dateModified.isEmpty());
    EXPECT_TRUE(details.dateAdded.isEmpty() && details.label.isEmpty());
    EXPECT_THAT(names(details.path), ElementsAre("Disk", ".photo\n.jpg"));
    EXPECT_THAT(names(knownDetails(*entry).path), ElementsAre("Disk", ".photo\n.jpg"));
    EXPECT_TRUE(details.path.back().isInvisible);
    if (setxattr(entry->path().c_str(), "user.xdg.tags", "green", 5, 0) == 0) {
        ASSERT_TRUE(ask());
        EXPECT_EQ(details.label, QStringLiteral("Green"));
        EXPECT_EQ(details.path.back().finder_tag, 2);
    }
    ASSERT_EQ(unlink(entry->path().c_str()), 0);
    makeFolder(entry->path());
    ASSERT_TRUE(ask());
    EXPECT_FALSE(details.isThere) << "a folder has taken its name";
    EXPECT_TRUE(details.kind.contains(QStringLiteral("JPEG")) && details.dateModified.isEmpty());
}

TEST(ItemDetails, AVolumeThatHangsIsAskedOnceAndKeepsNobodyElseBack) {
    const auto disks = std::make_shared<Disks>();
    const auto entryOf = [](const char* trash, const std::string& name) {
        auto entry = PreviewedEntry(name).entry;
        entry->trash = std::make_shared<FileUrl>(FileUrl::fromPath(trash));
        return entry;
    };
    std::vector<std::string> answered;
    auto reader = std::make_unique<ItemDetailsReader>(
        [disks](const QVSmartWindowItem& item) { return disks->ask(item); });
    std::vector<PreviewTicket> tickets;
    const auto request = [&](const char* trash, const std::string& name) {
        return reader->request(entryOf(trash, name),
                               [&, name](const ItemDetails&) { answered.push_back(name); });
    };
    tickets.push_back(request("/hanging", "first"));
    ASSERT_TRUE(waitFor([&] { return disks->count() == 1; }));
    for (int i = 0; i < 1000; ++i)
        (void)request("/hanging", "passed by");
    tickets.push_back(request("/hanging", "older"));
    tickets.push_back(request("/hanging", "newest"));
    const PreviewTicket other = request("/other", "elsewhere");
    EXPECT_TRUE(waitFor([&] { return answered.size() == 1; }));
    tickets.front() = nullptr;
    {
        const std::lock_guard lock(disks->mutex);
        disks->hangs = false;
        disks->answers.notify_all();
    }
    EXPECT_TRUE(waitFor([&] { return answered.size() == 3; }));
    EXPECT_THAT(answered, ElementsAre("elsewhere", "newest", "older"));
    EXPECT_THAT(disks->asked, ElementsAre("first", "elsewhere", "newest", "older"));
    const PreviewTicket late = request("/other", "late");
    reader = nullptr;
    waitFor([&] { return disks->count() == 5; });
    EXPECT_FALSE(waitFor([&] { return answered.size() > 3; }, 50));
}

TEST(PreviewItem, ImagesAreMadeOnceAndALinksIsThereAtOnce) {
    const PreviewedEntry link("link"), file("file");
    link.entry->mode = S_IFLNK;
    QImage small(3, 3, QImage::Format_RGB32);
    std::atomic<int> thumbnails = 0;
    const PreviewImageMakers makers{[&](const QVSmartWindowItem&, int) { return small; },
                                    [&thumbnails, small](const QVSmartWindowItem&, int value) {
                                        return ++thumbnails == 1 ? QImage()
                                                                 : small.scaled(value, value);
                                    }};
    int done = 0;
    const auto request = [&](const PreviewedEntry& of, double value) {
        of.item->requestPreviewImageWithValue(value, makers, [&] { ++done; });
    };
    request(link, 64);
    EXPECT_EQ(link.item->previewImage().size(), QSize(3, 3));
    request(file, 64);
    EXPECT_TRUE(file.item->previewImage().isNull());
    EXPECT_TRUE(waitFor([&] { return done == 2; })) << "and nothing came of one";
    request(file, 32);
    request(file, 64);
    EXPECT_TRUE(waitFor([&] { return done == 4; }));
    EXPECT_EQ(file.item->previewImage().size(), QSize(32, 32));
    request(file, 64);
    EXPECT_FALSE(waitFor([&] { return done > 4; }, 50)) << "it is there already";
    EXPECT_EQ(thumbnails, 2);
    std::vector<PreviewedEntry> tiles;
    for (int i = 0; i < 60; ++i)
        tiles.emplace_back("tile");
    for (const PreviewedEntry& tile : tiles)
        request(tile, 512);
    EXPECT_TRUE(waitFor([&] { return done == 64; }));
    EXPECT_EQ(
        std::ranges::count_if(
            tiles, [](const PreviewedEntry& tile) { return !tile.item->previewImage().isNull(); }),
        32)
        << "those of a megabyte each that fit";
    EXPECT_EQ(serviceDictionaryWithURL({}).name_col, QStringLiteral("Item not found"));
}

}  // namespace
}  // namespace kestrin
