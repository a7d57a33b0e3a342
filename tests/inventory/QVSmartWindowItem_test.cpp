// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/QVSmartWindowItem.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <QCryptographicHash>
#include <QImage>
#include <QString>
#include <limits>

#include "inventory/ThumbnailCache.h"
#include "platform/items/UniqueFd.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::ScratchFolder;

std::shared_ptr<QVSmartWindowItem> itemAt(const std::string& path) {
    auto item = QVSmartWindowItem::item();
    const FileUrl url = FileUrl::fromPath(path);
    item->trash = std::make_shared<const FileUrl>(url.parent());
    item->name = url.lastPathComponent();
    return item;
}

TEST(SmartWindowItem, UnknownDatesAndBlankTextsSortLast) {
    QVSmartWindowItem dated, undated;
    dated.name = "caf\xE9";
    dated.dateAdded = 1e18;
    EXPECT_EQ(dated.valueForUndefinedKey("name_col"), ColumnValue(QStringLiteral("caf\uFFFD")));
    EXPECT_EQ(undated.cfDateAdded(), ColumnValue(std::numeric_limits<std::int64_t>::max()));
    EXPECT_LT(dated.cfDateAdded(), undated.cfDateAdded());
    const QString blank = std::get<QString>(undated.valueForUndefinedKey("other_col"));
    EXPECT_EQ(blank, QStringLiteral("\u00FF\u00FF\u00FF\u00FF\u00FF\u00FF\u00FF\u00FF"));
    EXPECT_LT(QStringLiteral("zebra"), blank);
}

TEST(SmartWindowItem, ReadsTheFileSystemAtEveryCall) {
    const ScratchFolder scratch;
    const auto item = itemAt(scratch / ".entry");
    EXPECT_FALSE(item->isDirectory() || item->isAlias() || item->isEmptyDirectory());
    EXPECT_EQ(item->dateModified(), 0);
    EXPECT_TRUE(item->isInvisible());
    test::makeFolder(scratch / ".entry");
    EXPECT_TRUE(item->isDirectory() && item->isEmptyDirectory());
    EXPECT_GT(item->dateModified(), 700000000);
    EXPECT_FALSE(item->kind().isEmpty() || item->formattedDateModified().isEmpty());
    ASSERT_EQ(rmdir((scratch / ".entry").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", (scratch / ".entry").c_str()), 0);
    EXPECT_TRUE(item->isAlias() && !item->isDirectory());
}

TEST(Thumbnail, IsWhatTheDecoderMakesFittedOrTheIcon) {
    const ScratchFolder scratch;
    test::writeFile(scratch / "f");
    const auto item = itemAt(scratch / "f");
    const auto sizeWith = [&](QSize decoded) {
        const auto decode = [&](const QVSmartWindowItem& decodedItem, int side) {
            EXPECT_EQ(&decodedItem, item.get());
            EXPECT_EQ(side, 100);
            return QImage(decoded, QImage::Format_ARGB32);
        };
        return item->thumbnailWithValue(100, decode).size();
    };
    EXPECT_EQ(sizeWith(QSize(80, 10)), QSize(80, 10));
    EXPECT_EQ(sizeWith(QSize(400, 50)), QSize(100, 12));
    const std::string entry = scratch / "f.desktop";
    test::writeFile(entry, "[Desktop Entry]\nIcon=folder\n");
    const UniqueFd opened(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    ASSERT_GE(::inotify_add_watch(opened.get(), entry.c_str(), IN_OPEN), 0);
    for (const char* const name : {"f", "f.desktop"}) {
        item->name = name;
        EXPECT_EQ(sizeWith(QSize()), QSize(100, 100));
    }
    char events[4096];
    EXPECT_LT(::read(opened.get(), events, sizeof events), 0) << "an icon asks no content";
}

TEST(Thumbnail, GoesWithAnErasedEntryFromEveryFolderOfTheCacheAndNoneElsewhere) {
    const ScratchFolder scratch;
    const test::ScopedVariable cache("XDG_CACHE_HOME", scratch.path());
    const test::ScopedVariable data("XDG_DATA_HOME", scratch / "data");
    const auto place = [&](const std::string& folder, const std::string& uri) {
        const QByteArray name =
            QCryptographicHash::hash(QByteArray::fromStdString(uri), QCryptographicHash::Md5);
        return scratch / (folder + "/" + name.toHex().toStdString() + ".png");
    };
    const std::string home = scratch.path() + "/data/Trash/files";
    const std::vector<std::string> gone{
        place("thumbnails/normal", "file://" + home + "/%60a%3B%20(caf%E9)"),
        place("thumbnails/xx-large", "trash:///%60%60a;%20(caf%E9)"),
        place("thumbnails/fail/some-program", "file:///v/.Trash-1/files/b%23"),
        place("thumbnails/large", "trash:///%5Cv%5C.Trash-1%5Cfiles%5Cb%2523")};
    const std::vector<std::string> kept{
        place("thumbnails/normal", "trash:///b%23"),
        place("elsewhere", "trash:///%60%60a;%20(caf%E9)"),
        place("thumbnails/fail/some-program", "file:///v/.Trash-1/files/c")};
    for (const auto* const files : {&gone, &kept}) {
        for (const std::string& file : *files)
            test::writeFile(file);
    }
    ASSERT_EQ(symlink("../elsewhere", (scratch / "thumbnails/x-large").c_str()), 0);
    ErasedThumbnails thumbnails;
    thumbnails.add(FileUrl::fromPath(home), "`a; (caf\xE9)");
    thumbnails.add(FileUrl::fromPath("/v/.Trash-1/files"), "b#");
    thumbnails.remove();
    for (const std::string& file : gone)
        EXPECT_FALSE(test::exists(file)) << file;
    for (const std::string& file : kept)
        EXPECT_TRUE(test::exists(file)) << file;
}

}  // namespace
}  // namespace kestrin
