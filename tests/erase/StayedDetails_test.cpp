// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/StayedDetails.h"

#include <gtest/gtest.h>

#include <QStringList>

#include "base/StringTable.h"
#include "format/QVNumberUtilities.h"

namespace kestrin {
namespace {

class StayedDetailsTest : public ::testing::Test {
 protected:
    std::vector<AlertDetail> details(const std::vector<StayedEntry>& stayed) const {
        return stayedDetails(stayed, texts, numbers);
    }
    StringTable texts{QStringLiteral("en")};
    QVNumberUtilities numbers{"en_US", texts};
};

TEST_F(StayedDetailsTest, ARowNamesTheEntryAndItsReasonFitToBeRead) {
    const auto rows =
        details({{.url = FileUrl::fromPath("/trash/a/b\n\x1b\xff"),
                  .reason = StayReason::Error,
                  .message = QStringLiteral("no “\u202e”\n")},
                 {.url = FileUrl::fromPath("/trash/c"), .reason = StayReason::Locked}});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].name, QStringLiteral("b\\n‹U+001B›\uFFFD"));
    EXPECT_EQ(rows[0].fullName, QStringLiteral("/trash/a/b\\n‹U+001B›\uFFFD"));
    EXPECT_EQ(rows[0].reason, QStringLiteral("no “‹U+202E›”\\n"));
    EXPECT_EQ(rows[1].help, texts.text("stayed_help_locked"));
    EXPECT_EQ(rows[1].name, QStringLiteral("c"));
}

TEST_F(StayedDetailsTest, OfAnEntryThatWasSkippedTheAnswerWouldHelp) {
    const auto rows = details({{.url = FileUrl::fromPath("/trash/c"),
                                .reason = StayReason::Forbidden,
                                .message = {},
                                .skipped = true}});
    EXPECT_EQ(rows.at(0).help, texts.text("stayed_help_skipped"));
}

TEST_F(StayedDetailsTest, AMillionEntriesAreCountedNotListed) {
    EXPECT_EQ(details(std::vector<StayedEntry>(kMostDetails)).size(), kMostDetails);
    const auto rows = details(std::vector<StayedEntry>(1'000'000));
    ASSERT_EQ(rows.size(), kMostDetails + 1);
    EXPECT_EQ(rows.back().name, StringTable::filled(texts.text("stayed_more", {}, 999'700),
                                                    {QStringLiteral("999,700")}));
    EXPECT_TRUE(rows.back().reason.isEmpty());
}

}  // namespace
}  // namespace kestrin
