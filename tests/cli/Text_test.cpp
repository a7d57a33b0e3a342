// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <ctime>

#include "cli/Columns.h"
#include "cli/EntryOrder.h"
#include "cli/JsonWriter.h"
#include "cli/ProgressLine.h"
#include "support/ScopedVariable.h"

namespace kestrin {
namespace {

using std::chrono::milliseconds;

TEST(Columns, WidthIsInCellsAndFittingTearsNoCharacterApart) {
    const QString cells = QStringLiteral("\u65e5e\u0301\U0001F600");
    EXPECT_EQ(displayWidth(cells), 5);
    const qsizetype lengths[] = {0, 0, 1, 3, 3, 5, 5};
    for (int width = 0; width < 7; ++width)
        EXPECT_EQ(fittedToWidth(cells, width), cells.left(lengths[width])) << width;
}

TEST(Columns, RowsAreAlignedByTheirWidestCellAndALongTextPushesTheRestAside) {
    const std::vector<QStringList> rows{
        {QStringLiteral("Name"), QStringLiteral("Size")},
        {QStringLiteral("\u65e5\u672c\u8a9e"), QStringLiteral("12")},
        {QStringLiteral("x"), QString()}};
    EXPECT_EQ(alignedRows(rows, {{}, {.alignsRight = true}}),
              (QStringList{QStringLiteral("Name    Size"),
                           QStringLiteral("\u65e5\u672c\u8a9e    12"), QStringLiteral("x")}));
    EXPECT_EQ(rowText(rows[0], {{.width = 3}, {.width = 5, .alignsRight = true}}),
              QStringLiteral("Name   Size"));
}

ShownEntry entry(std::string name, std::uint64_t size = 0,
                 std::optional<std::int64_t> date = std::nullopt) {
    return {{.name = std::move(name), .size = size}, 0, date};
}

std::vector<std::string> sortedNames(std::vector<ShownEntry> entries, SortOrder order) {
    sortEntries(entries, order);
    std::vector<std::string> names;
    for (const ShownEntry& shown : entries)
        names.push_back(shown.entry.name);
    return names;
}

using Names = std::vector<std::string>;

TEST(EntryOrder, NamesGoByBytesLargestAndNewestComeFirstAndUndatedLast) {
    EXPECT_EQ(sortedNames({entry("b"), entry("\xff"), entry("a"), entry("B"), entry("A")},
                          SortOrder::Name),
              (Names{"A", "a", "B", "b", "\xff"}));
    EXPECT_EQ(sortedNames({entry("b", 1), entry("c", 9), entry("a", 1)}, SortOrder::Size),
              (Names{"c", "a", "b"}));
    EXPECT_EQ(sortedNames({entry("none"), entry("old", 0, -5), entry("new", 0, 7), entry("also")},
                          SortOrder::Date),
              (Names{"new", "old", "also", "none"}));
}

TEST(EntryOrder, DatesAreLocalTime) {
    const test::ScopedVariable zone("TZ", "Asia/Tokyo");
    ::tzset();
    EXPECT_EQ(localTimeText(1795227762, 'T'), "2026-11-21T11:22:42");
    EXPECT_EQ(localTimeText(-62135500000, ' ').substr(0, 11), "0001-01-02 ");
    EXPECT_EQ(localTimeText(std::nullopt, 'T'), "");
}

std::string asJson(std::string_view bytes) {
    std::string json;
    appendJsonString(json, bytes);
    return json;
}

TEST(JsonWriter, NothingThatATerminalObeysIsWrittenAndBytesThatAreNoTextAreReplaced) {
    EXPECT_EQ(asJson("a\"b\\c/\n\r\t"), R"("a\"b\\c/\n\r\t")");
    EXPECT_EQ(asJson(std::string_view("\0\x1b\x7f\xC2\x9B", 5)), R"("\u0000\u001b\u007f\u009b")");
    EXPECT_EQ(asJson("\uFEFF\u00FC\u65E5\U0001F5D1"), "\"\uFEFF\u00FC\u65E5\U0001F5D1\"");
    // Cut short, overlong, surrogate, above U+10FFFF.
    for (const std::string bytes : {"\xFF", "\xC3", "\xE6\x97", "\xC0\xAF", "\xE0\x80\xAF",
                                    "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF0\x80\x80\x80"}) {
        std::string expected;
        for (std::size_t count = 0; count < bytes.size(); ++count)
            expected += "\uFFFD";
        EXPECT_EQ(asJson("a" + bytes + "("), "\"a" + expected + "(\"");
    }
}

const ProgressLine kHalf{.percent = 50.0,
                         .text = {},
                         .figures = {QStringLiteral("5 of 10 items"), QStringLiteral("1.00 MB")}};

TEST(ProgressLine, GivesFiguresUpBeforeItOverflows) {
    EXPECT_EQ(progressText(kHalf, 80),
              QStringLiteral("[############------------]  50%  5 of 10 items  1.00 MB"));
    EXPECT_EQ(progressText(kHalf, 40), QStringLiteral("[####-----]  50%  5 of 10 items  1.00 MB"));
    EXPECT_EQ(progressText(kHalf, 30), QStringLiteral(" 50%  5 of 10 items  1.00 MB"));
    EXPECT_EQ(progressText(kHalf, 5), QStringLiteral(" 50%"));
    for (int width = 0; width < 100; ++width)
        EXPECT_LE(displayWidth(progressText(kHalf, width)), width);
}

TEST(ProgressLine, ItIsFullOnlyAtTheEndAndWithoutATotalSaysWhatIsDone) {
    ProgressLine line;
    line.percent = 99.99;
    EXPECT_EQ(progressText(line, 16), QStringLiteral("[########-]  99%"));
    line.percent = 130.0;
    EXPECT_EQ(progressText(line, 16), QStringLiteral("[#########] 100%"));
    line = {.percent = std::nullopt, .text = QStringLiteral("Counting"), .figures = {}};
    EXPECT_EQ(progressText(line, 80), QStringLiteral("Counting"));
    EXPECT_EQ(progressText(line, 4), QStringLiteral("Coun"));
}

TEST(RateMeter, JudgesByTheLastSeconds) {
    RateMeter meter;
    const RateMeter::Clock::time_point start{};
    EXPECT_FALSE(meter.bytesPerSecond());
    meter.add(start, 0);
    meter.add(start + milliseconds(100), 1000);
    EXPECT_FALSE(meter.bytesPerSecond()) << "too early";
    meter.add(start + milliseconds(1000), 10'000);
    EXPECT_EQ(meter.bytesPerSecond(), 10'000U);
    for (int step = 1; step <= 60; ++step)
        meter.add(start + milliseconds(1000 + step * 100), 10'000);
    EXPECT_EQ(meter.bytesPerSecond(), 0U);
}

}  // namespace
}  // namespace kestrin
