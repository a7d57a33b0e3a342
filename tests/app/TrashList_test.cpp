// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TrashList.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

TEST(TrashList, keepsTheLastAnswersWhileAVolumeHangs) {
    std::promise<void> answers;
    std::atomic<int> listings = 0;
    TrashList list([&, gate = answers.get_future().share()] {
        const int listing = ++listings;
        if (listing == 2) gate.wait();
        return std::vector<TrashLocation>(static_cast<std::size_t>(listing));
    });
    list.refresh();
    ASSERT_TRUE(test::waitFor([&] { return list.latest().size() == 1; }));

    int waited = 0;
    list.refresh();
    list.refresh([&] { ++waited; });
    list.refresh([&] { ++waited; });
    ASSERT_TRUE(test::waitFor([&] { return listings == 2; }));
    EXPECT_EQ(list.latest().size(), 1u);
    EXPECT_EQ(waited, 0);

    answers.set_value();
    ASSERT_TRUE(test::waitFor([&] { return waited == 2; }));
    EXPECT_EQ(list.latest().size(), 3u)
        << "a listing that began before the call must not answer it";
    EXPECT_EQ(listings, 3);
}

}  // namespace
}  // namespace kestrin
