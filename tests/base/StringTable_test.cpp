// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/StringTable.h"

#include <gtest/gtest.h>

#include <QStringList>
#include <thread>
#include <vector>

namespace kestrin {
namespace {

using Table = StringTable::Table;

TEST(StringTable, LooksUpEachTableOnItsOwn) {
    const StringTable table(QStringLiteral("en"));
    EXPECT_EQ(table.text("skip"_key), QStringLiteral("Skip"));
    EXPECT_EQ(table.text("skip"_key, Table::Errors), QStringLiteral("skip"));
    EXPECT_TRUE(table.text("busy_plur"_errorKey, Table::Errors).contains(QStringLiteral("%@")));
    EXPECT_EQ(table.text("busy_plur"), QStringLiteral("busy_plur"));
}

TEST(StringTable, AMissingKeyShowsItself) {
    const StringTable table(QStringLiteral("en"));
    EXPECT_EQ(table.text("no such key ü"), QStringLiteral("no such key ü"));
    EXPECT_TRUE(table.text("").isEmpty());
}

TEST(StringTable, EnglishStandsBehindOtherLanguages) {
    for (const auto* language : {"de", "xx", "C", ""}) {
        const StringTable table(QString::fromLatin1(language));
        EXPECT_NE(table.text("gathering_info"_key), QStringLiteral("gathering_info")) << language;
    }
}

TEST(StringTable, TheCountChoosesThePluralForm) {
    const StringTable table(QStringLiteral("en"));
    const auto form = [&](long long count) {
        return table.text("items_size"_key, Table::Default, count);
    };
    EXPECT_EQ(form(1), QStringLiteral("%@ item, %@"));
    for (const long long many : {0LL, 2LL, 21LL, 1'000'001LL, 4'294'967'297LL}) {
        EXPECT_EQ(form(many), QStringLiteral("%@ items, %@")) << many;
    }
}

TEST(StringTable, TextsKeepTheirBlanksAndLineFeeds) {
    const StringTable table(QStringLiteral("en"));
    EXPECT_EQ(table.text("Gb"_key), QStringLiteral(" GB"));
    EXPECT_EQ(table.text("log_name"_key), QStringLiteral(" %@.log"));
    EXPECT_TRUE(table.text("items_erased"_key).endsWith(QLatin1Char('\n')));
    EXPECT_EQ(table.text("items_erased"_key).count(QStringLiteral("%@")), 3);
}

TEST(StringTable, FillsPlaceholdersInOrderAndLiterally) {
    const auto filled = [](const char* format, const QStringList& arguments) {
        return StringTable::filled(QString::fromUtf8(format), arguments);
    };
    const QString x = QStringLiteral("x");
    const QString sly = QStringLiteral("%@%1\\");
    EXPECT_EQ(filled("%@ of %@", {sly, x}), QStringLiteral("%@%1\\ of x"));
    EXPECT_EQ(filled("%@ of %@", {x}), QStringLiteral("x of %@"));
    EXPECT_EQ(filled("100 %", {x}), QStringLiteral("100 %"));
    EXPECT_EQ(filled("%@", {}), QStringLiteral("%@"));
    EXPECT_EQ(filled("a%@", {x, x}), QStringLiteral("ax"));
}

TEST(StringTable, AnyThreadMayLookUp) {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int look = 0; look < 200; ++look) {
                EXPECT_EQ(StringTable::sharedControl().text("skip"_key), QStringLiteral("Skip"));
            }
        });
    }
}

}  // namespace
}  // namespace kestrin
