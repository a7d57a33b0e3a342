// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TrashTotals.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

TEST(TrashTotals, sumsUpWhatIsThereNowBesideACountThatHangs) {
    std::promise<void> volumeAnswers;
    std::atomic<int> counted = 0;
    std::vector<std::function<void()>> delays;
    TrashTotals totals(
        [&, gate = volumeAnswers.get_future().share()](const std::vector<FileUrl>& trashes,
                                                       const std::stop_token&) {
            if (trashes[0] == FileUrl::fromPath("/hangs")) gate.wait();
            ++counted;
            return TrashContents{.figures = {.size = 20, .count = 2 * trashes.size()}};
        },
        [&](auto, auto call) {
            delays.push_back(std::move(call));
            return std::make_unique<QObject>();
        });
    int changes = 0;
    totals.setChangeHandler([&] { ++changes; });

    totals.want({FileUrl::fromPath("/hangs")});
    totals.want({FileUrl::fromPath("/hangs")});
    ASSERT_EQ(delays.size(), 1u) << "it is under way";
    delays[0]();
    totals.forget();
    totals.want({FileUrl::fromPath("/one"), FileUrl::fromPath("/two")});
    EXPECT_FALSE(totals.figures());
    delays[1]();
    ASSERT_TRUE(test::waitFor([&] { return changes == 1; }));
    EXPECT_EQ(totals.figures()->count, 4u);
    EXPECT_EQ(totals.figures()->size, 20u);

    volumeAnswers.set_value();
    ASSERT_TRUE(test::waitFor([&] { return counted == 2; }));
    test::waitFor([] { return false; }, 50);
    EXPECT_EQ(changes, 1) << "an old count came late";
}

}  // namespace
}  // namespace kestrin
