// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/StringTable.h"

#include <gtest/gtest.h>

#include <QStringList>

namespace kestrin {
namespace {

using Table = StringTable::Table;

TEST(StringTable, LooksUpEachTableOnItsOwnWithEnglishBehindEveryLanguage) {
    for (const char* language : {"en", "de", "C", ""}) {
        const StringTable table(QString::fromLatin1(language));
        EXPECT_EQ(table.text("skip"_key), QStringLiteral("Skip")) << language;
        EXPECT_EQ(table.text("skip"_key, Table::Errors), QStringLiteral("skip"));
        EXPECT_EQ(table.text("no such key ü"), QStringLiteral("no such key ü"));
        EXPECT_EQ(table.text("log_name"_key), QStringLiteral(" %@.log")) << "with its blank";
        EXPECT_TRUE(table.text("items_erased"_key).endsWith(QLatin1Char('\n')));
    }
}

TEST(StringTable, TheCountChoosesThePluralForm) {
    const StringTable table(QStringLiteral("en"));
    for (const long long count : {1LL, 0LL, 2LL, 21LL, 1'000'001LL, 4'294'967'297LL}) {
        EXPECT_EQ(table.text("items_size"_key, Table::Default, count),
                  count == 1 ? QStringLiteral("%@ item, %@") : QStringLiteral("%@ items, %@"))
            << count;
    }
}

TEST(StringTable, FillsPlaceholdersInOrderAndLiterally) {
    const auto filled = [](const char* format, const QStringList& arguments) {
        return StringTable::filled(QString::fromUtf8(format), arguments).toStdString();
    };
    const QString x = QStringLiteral("x"), sly = QStringLiteral("%@%1\\");
    EXPECT_EQ(filled("%@ of %@", {sly, x}), "%@%1\\ of x");
    EXPECT_EQ(filled("%@ of %@", {x}), "x of %@");
    EXPECT_EQ(filled("100 %", {x}), "100 %");
}

}  // namespace
}  // namespace kestrin
