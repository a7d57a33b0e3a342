// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/EraseReport.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Console.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

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
