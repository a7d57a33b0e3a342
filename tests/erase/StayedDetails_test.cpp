// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/StayedDetails.h"

#include <gtest/gtest.h>

#include <QStringList>

#include "base/StringTable.h"
#include "format/QVNumberUtilities.h"

namespace kestrin {

TEST(StayedDetails, NameTheEntriesAndTheirReasonsFitToBeReadAndCountTheRest) {
    const StringTable texts{QStringLiteral("en")};
    const QVNumberUtilities numbers{"en_US", texts};
    std::vector<StayedEntry> stayed(kMostDetails);
    stayed[0] = {FileUrl::fromPath("/trash/a/b\n\xff"), StayReason::Error, "no “\u202e”\n"};
    stayed[1] = {FileUrl::fromPath("/trash/c"), StayReason::Locked, {}};
    stayed[2] = {FileUrl::fromPath("/trash/c"), StayReason::Forbidden, {}, true};
    auto rows = stayedDetails(stayed, texts, numbers);
    EXPECT_EQ(rows.size(), kMostDetails);
    EXPECT_EQ(rows.at(0).name, QStringLiteral("b\\n\uFFFD"));
    EXPECT_EQ(rows[0].fullName, QStringLiteral("/trash/a/b\\n\uFFFD"));
    EXPECT_EQ(rows[0].reason, QStringLiteral("no “‹U+202E›”\\n"));
    EXPECT_EQ(rows[1].reason, texts.text("stayed_locked"));
    EXPECT_EQ(rows[1].help, texts.text("stayed_help_locked"));
    EXPECT_EQ(rows[2].help, texts.text("stayed_help_skipped"));

    stayed.resize(1'000'000);
    rows = stayedDetails(stayed, texts, numbers);
    ASSERT_EQ(rows.size(), kMostDetails + 1);
    EXPECT_EQ(rows.back().name, StringTable::filled(texts.text("stayed_more", {}, 999'700),
                                                    {QStringLiteral("999,700")}));
}

}  // namespace kestrin
