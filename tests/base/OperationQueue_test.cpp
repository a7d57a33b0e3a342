// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/OperationQueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <memory>
#include <numeric>
#include <optional>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

namespace kestrin {
namespace {

using namespace std::chrono_literals;

TEST(OperationQueue, OneAtATimeKeepsTheOrder) {
    OperationQueue queue("order", 1);
    std::vector<int> begun;  // no lock: the thread sanitizer sees two at once
    for (int i = 0; i < 500; ++i)
        queue.enqueue([&begun, i] { begun.push_back(i); });
    queue.waitUntilAllOperationsAreFinished();
    std::vector<int> expected(500);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(begun, expected);
    EXPECT_EQ(queue.operationCount(), 0U);
}

TEST(OperationQueue, WithoutALimitOperationsMayWaitForEachOther) {
    OperationQueue queue("unlimited");
    constexpr int kMany = 20;
    std::latch everyone(kMany);
    for (int i = 0; i < kMany; ++i)
        queue.enqueue([&] { everyone.arrive_and_wait(); });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(everyone.try_wait());
}

TEST(OperationQueue, NeverRunsMoreThanItsLimit) {
    OperationQueue queue("limited", 3);
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    for (int i = 0; i < 60; ++i) {
        queue.enqueue([&] {
            const int now = ++running;
            for (int seen = most; seen < now && !most.compare_exchange_weak(seen, now);) {
            }
            std::this_thread::sleep_for(1ms);
            --running;
        });
    }
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(most, 3);
}

TEST(OperationQueue, AnOperationMayEnqueueTheNext) {
    OperationQueue queue("chain", 1);
    std::atomic<int> done = 0;
    queue.enqueue([&] {
        queue.enqueue([&] { ++done; });
        ++done;
    });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(done, 2);
}

TEST(OperationQueue, AnExceptionEndsOnlyItsOperation) {
    OperationQueue queue("throwing", 1);
    bool wentOn = false;
    queue.enqueue([] { throw std::runtime_error("on purpose"); });
    queue.enqueue([] { throw 1; });
    queue.enqueue([&] { wentOn = true; });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(wentOn);
}

TEST(OperationQueue, TheEndDropsWhatHasNotBegunAndWaitsForTheRest) {
    std::atomic<bool> finished = false;
    std::atomic<bool> droppedRan = false;
    const auto held = std::make_shared<int>(0);
    {
        OperationQueue queue("ending", 1);
        std::latch begun(1);
        queue.enqueue([&] {
            begun.count_down();
            std::this_thread::sleep_for(50ms);
            finished = true;
        });
        queue.enqueue([&, held] { droppedRan = true; });
        begun.wait();
    }
    EXPECT_TRUE(finished);
    EXPECT_FALSE(droppedRan);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(OperationQueue, WhatAnOperationKeepsAliveGoesBeforeItCountsAsFinished) {
    OperationQueue queue("keeping");
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    queue.enqueue([held = std::move(held)] {});
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(watched.expired());
}

TEST(OperationQueue, IdleThreadsEndAndNewOnesTakeTheirPlace) {
    OperationQueue queue("idle", 1);
    std::vector<std::weak_ptr<int>> lives;
    const auto liveAsLongAsTheThread = [&lives] {
        thread_local std::shared_ptr<int> life;
        life = std::make_shared<int>(0);
        lives.push_back(life);
    };
    queue.enqueue(liveAsLongAsTheThread);
    queue.waitUntilAllOperationsAreFinished();
    ASSERT_FALSE(lives.front().expired());
    for (int i = 0; i < 500 && !lives.front().expired(); ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_TRUE(lives.front().expired());
    queue.enqueue(liveAsLongAsTheThread);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(lives.size(), 2U);
}

}  // namespace
}  // namespace kestrin
