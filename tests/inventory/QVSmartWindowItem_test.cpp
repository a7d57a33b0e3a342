// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/QVSmartWindowItem.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QImage>
#include <QString>
#include <limits>

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
    EXPECT_EQ(sizeWith(QSize()), QSize(100, 100));
}

}  // namespace
}  // namespace kestrin
