// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/linux/WorkerBudget.h"

#include <gtest/gtest.h>

#include <deque>

namespace kestrin {
namespace {

TEST(WorkerBudget, LeavesHalfToOthersAndNeverGivesMoreThanThereAre) {
    WorkerBudget budget(30);
    EXPECT_EQ(WorkerBudget::Share(budget, 15).threads(), 15u);
    EXPECT_EQ(WorkerBudget::Share(budget, 7).threads(), 7u) << "the first has given its share back";
    std::deque<WorkerBudget::Share> hanging;
    unsigned given = 0;
    for (int i = 0; i < 1000; ++i)
        given += hanging.emplace_back(budget, 15).threads();
    EXPECT_EQ(hanging[1].threads(), 8u);
    EXPECT_EQ(given, 30u);
    EXPECT_EQ(hanging.back().threads(), 0u);
    hanging.pop_front();
    EXPECT_EQ(WorkerBudget::Share(budget, 15).threads(), 8u);
}

}  // namespace
}  // namespace kestrin
