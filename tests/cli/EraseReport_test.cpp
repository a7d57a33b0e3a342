// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/EraseReport.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Console.h"
#include "cli/support/CapturedOutput.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using End = EraseResult::End;

class EraseReport : public ::testing::Test {
 protected:
    /// The report's standard output and error.
    struct Printed {
        int status = 0;
        std::string out;
        std::string err;
    };
    Printed report(const EraseResult& result, const Arguments& arguments = {}) {
        const test::CapturedOutput captured;
        Console console(captured.stream(), m_texts);
        ::testing::internal::CaptureStderr();
        const int status = reportErase(result, arguments, console);
        return {status, captured.text(), ::testing::internal::GetCapturedStderr()};
    }
    static EraseResult withStayed(std::size_t count) {
        EraseResult result{.erasedCount = 1, .erasedSize = 5};
        for (std::size_t index = 0; index < count; ++index) {
            result.stayed.push_back({.url = FileUrl::fromPath("/t/" + std::to_string(index) + "\n"),
                                     .reason = StayReason::Locked,
                                     .message = QStringLiteral("It is locked.")});
        }
        return result;
    }
    const StringTable m_texts{QStringLiteral("en")};
};

TEST_F(EraseReport, TheStatusTellsTheTruth) {
    EXPECT_EQ(report({.erasedCount = 2}).status, 0);
    EXPECT_EQ(report({.end = End::Declined}).status, 3);
    EXPECT_EQ(report({.wasStopped = true, .erasedCount = 2}).status, 3);
    EXPECT_EQ(report({.end = End::NotStarted, .startProblem = QStringLiteral("No log.")}).status,
              1);
    EXPECT_EQ(report(withStayed(1)).status, 1);
    EXPECT_EQ(report({.erasedCount = 2, .logProblem = QStringLiteral("Disk full.")}).status, 0);
}

TEST_F(EraseReport, SaysInPlainWordsWhatWent) {
    const Console console(stdout, m_texts);
    const std::string small = console.size(7).toStdString();
    const std::string large = console.size(3'400'000'000).toStdString();
    EXPECT_EQ(report({.erasedCount = 1, .erasedSize = 7}).out, "Erased 1 item, " + small + ".\n");
    EXPECT_EQ(report({.erasedCount = 1204, .erasedSize = 3'400'000'000}).out,
              "Erased 1,204 items, " + large + ".\n");
    EXPECT_EQ(report({.end = End::Declined}).out, "Nothing was erased.\n");
}

TEST_F(EraseReport, NamesWhatStayedButNotAThousand) {
    EXPECT_EQ(report(withStayed(1)).err, "1 item stayed:\n  /t/0\\n: It is locked.\n");
    const std::string err = report(withStayed(22)).err;
    EXPECT_NE(err.find("22 items stayed:\n"), std::string::npos);
    EXPECT_NE(err.find("/t/19\\n: "), std::string::npos);
    EXPECT_EQ(err.find("/t/20\\n: "), std::string::npos);
    EXPECT_NE(err.find("and 2 more\n"), std::string::npos);
}

TEST_F(EraseReport, QuietAndJsonKeepStandardOutputToThemselves) {
    const Printed quiet = report(withStayed(1), {.quiet = true});
    EXPECT_EQ(quiet.out, "");
    EXPECT_NE(quiet.err, "");
    EraseResult result = withStayed(1);
    result.stayed.front().skipped = true;
    EXPECT_EQ(report(result, {.json = true}).out,
              "{\"erasedCount\": 1, \"erasedSize\": 5, \"wasStoppedByUser\": false, "
              "\"dryRun\": false, \"notErased\": [{\"url\": \"file:///t/0%0A\", "
              "\"reason\": \"locked\", \"message\": \"It is locked.\", \"skipped\": true}]}\n");
}

TEST_F(EraseReport, TheDiskHasTheLastWord) {
    const test::ScratchFolder folder;
    for (const char* name : {"explained/inside", "silent"})
        test::writeFile(folder / name);
    ASSERT_EQ(::symlink("nowhere", (folder / "dangling").c_str()), 0);
    ItemsToErase items;
    for (const char* name : {"explained", "silent", "dangling", "gone", "gone/too"}) {
        items.push_back({.url = FileUrl::fromPath(folder / name)});
    }
    EraseResult result;
    result.stayed.emplace_back().url = FileUrl::fromPath(folder / "explained/inside");
    const Console console(stdout, m_texts);
    addWhatIsStillThere(result, items, console);
    ASSERT_EQ(result.stayed.size(), 3U);
    EXPECT_EQ(result.stayed[1].url.path(), folder / "silent");
    EXPECT_EQ(result.stayed[2].url.path(), folder / "dangling");
    EXPECT_FALSE(result.stayed[1].message.isEmpty());

    EraseResult stopped{.wasStopped = true};
    addWhatIsStillThere(stopped, items, console);
    EXPECT_TRUE(stopped.stayed.empty());
}

}  // namespace
}  // namespace kestrin
