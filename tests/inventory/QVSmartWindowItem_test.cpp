// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/QVSmartWindowItem.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QCryptographicHash>
#include <QImage>
#include <QString>
#include <limits>

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

class Thumbnail : public ::testing::Test {
 protected:
    static constexpr int kModified = 1700000000;

    Thumbnail() : m_path(m_scratch / "a picture; (caf\xE9).png") {
        test::writeFile(m_path, "not a picture");
        const timespec times[2] = {{kModified, 5}, {kModified, 999000000}};
        utimensat(AT_FDCWD, m_path.c_str(), times, 0);
    }

    std::string uri() const {
        return "file://" + m_scratch.path() + "/a%20picture%3B%20(caf%E9).png";
    }
    void cache(const std::string& folder, int side, const std::string& thumbUri,
               int modified = kModified) const {
        QImage image(side, side / 8, QImage::Format_ARGB32);
        image.fill(0xFF0000FF);
        image.setText(QStringLiteral("Thumb::URI"), QString::fromStdString(thumbUri));
        image.setText(QStringLiteral("Thumb::MTime"), QString::number(modified));
        const QByteArray name =
            QCryptographicHash::hash(QByteArray::fromStdString(uri()), QCryptographicHash::Md5);
        const std::string directory = m_scratch / ("thumbnails/" + folder);
        test::makeFolder(directory);
        ASSERT_TRUE(image.save(QString::fromStdString(directory) + QLatin1Char('/') +
                               QString::fromLatin1(name.toHex()) + QStringLiteral(".png")));
    }
    QSize thumbnailSize(int value) const {
        return itemAt(m_path)->thumbnailWithValue(value).size();
    }

    ScratchFolder m_scratch;
    std::string m_path;
    const test::ScopedVariable m_cache{"XDG_CACHE_HOME", m_scratch.path()};
};

TEST_F(Thumbnail, OfAnotherPlaceOrTimeIsNotUsed) {
    cache("normal", 128, uri(), kModified - 1);
    EXPECT_EQ(thumbnailSize(100), QSize(100, 100));
    cache("normal", 128, "file:///elsewhere.png");
    EXPECT_EQ(thumbnailSize(100), QSize(100, 100));
    cache("xx-large", 1200, uri());
    EXPECT_EQ(thumbnailSize(100), QSize(100, 100));
    cache("x-large", 512, uri());
    EXPECT_EQ(thumbnailSize(256), QSize(256, 32)) << "fitted";
}

}  // namespace
}  // namespace kestrin
