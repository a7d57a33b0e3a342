// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Columns.h"
#include "cli/Console.h"
#include "cli/EntryOrder.h"
#include "cli/EraseReport.h"
#include "cli/JsonWriter.h"
#include "cli/ProgressLine.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

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

ShownEntry entry(std::string name, std::uint64_t size = 0,
                 std::optional<std::int64_t> date = std::nullopt) {
    return {{.name = std::move(name), .size = size}, 0, date};
}

ShownEntry entry(std::string name, EntryKind kind) {
    return {.entry = {.name = std::move(name)}, .kind = kind};
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
    EXPECT_EQ(sortedNames({entry("z", EntryKind::Images), entry("b", EntryKind::Other),
                           entry("a", EntryKind::Other), entry("c", EntryKind::Sounds)},
                          SortOrder::Kind),
              (Names{"z", "c", "a", "b"}));
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

TEST(ProgressLine, ItIsFullOnlyAtTheEndAndGivesFiguresUpBeforeItOverflows) {
    const ProgressLine half{.percent = 50.0, .text = {}, .figures = {QStringLiteral("5 items")}};
    EXPECT_EQ(progressText(half, 30), QStringLiteral("[#######-------]  50%  5 items"));
    EXPECT_EQ(progressText(half, 5), QStringLiteral(" 50%"));
    for (int width = 0; width < 100; ++width)
        EXPECT_LE(displayWidth(progressText(half, width)), width);
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

class EraseReport : public ::testing::Test {
 protected:
    /// The report's standard output and error.
    struct Printed {
        std::string out, err;
    };
    Printed report(const EraseResult& result, const Arguments& arguments = {}) {
        Console console(stdout, m_texts);
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        reportErase(result, arguments, console);
        return {::testing::internal::GetCapturedStdout(), ::testing::internal::GetCapturedStderr()};
    }
    static EraseResult withStayed(std::size_t count) {
        EraseResult result{.erasedCount = 1, .erasedSize = 5};
        for (std::size_t index = 0; index < count; ++index) {
            result.stayed.push_back({.url = FileUrl::fromPath("/t/" + std::to_string(index) + "\n"),
                                     .reason = StayReason::Locked,
                                     .cause = "It is locked."});
        }
        return result;
    }
    const StringTable m_texts{QStringLiteral("en")};
};

TEST_F(EraseReport, SaysInPlainWordsWhatWentAndNamesWhatStayedButNotAThousand) {
    const std::string size = Console(stdout, m_texts).size(5).toStdString();
    const Printed one = report(withStayed(1));
    EXPECT_EQ(one.out, "Erased 1 item, " + size + ".\n");
    EXPECT_EQ(one.err, "1 item stayed:\n  /t/0\\n: It is locked.\n");
    EXPECT_EQ(report({.erasedCount = 1204, .erasedSize = 5}).out,
              "Erased 1,204 items, " + size + ".\n");
    const Printed quiet = report(withStayed(22), {.quiet = true});
    EXPECT_EQ(quiet.out, "");
    EXPECT_NE(quiet.err.find("22 items stayed:\n"), std::string::npos);
    EXPECT_NE(quiet.err.find("and 2 more\n"), std::string::npos);
    EXPECT_EQ(std::ranges::count(quiet.err, '\n'), 1 + 20 + 1);
}

TEST_F(EraseReport, TheDiskHasTheLastWord) {
    const test::ScratchFolder folder;
    for (const char* name : {"explained/inside", "silent"})
        test::writeFile(folder / name);
    ASSERT_EQ(::symlink("nowhere", (folder / "dangling").c_str()), 0);
    ItemsToErase items;
    const auto trash = std::make_shared<const FileUrl>(FileUrl::fromPath(folder.path()));
    for (const char* name : {"explained", "silent", "dangling", "gone", "gone/too"})
        items.push_back({.trash = trash, .name = name});
    items.push_back({.trash = trash, .name = "silent", .identity = {.deviceId = 1}});  // another
    EraseResult result;
    result.stayed.emplace_back().url = FileUrl::fromPath(folder / "explained/inside");
    const Console console(stdout, m_texts);
    addWhatIsStillThere(result, items, console);
    ASSERT_EQ(result.stayed.size(), 3U);
    EXPECT_EQ(result.stayed[1].url.path(), folder / "silent");
    EXPECT_EQ(result.stayed[2].url.path(), folder / "dangling");

    EraseResult stopped{.wasStopped = true};
    addWhatIsStillThere(stopped, items, console);
    EXPECT_TRUE(stopped.stayed.empty());
}

}  // namespace
}  // namespace kestrin
