// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/ProgressLine.h"

#include <gtest/gtest.h>

#include "cli/Columns.h"

namespace kestrin {
namespace {

using std::chrono::milliseconds;

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
