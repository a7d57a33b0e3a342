// SPDX-License-Identifier: GPL-3.0-or-later
// The mailbox here is the one that main() made; MainThreadClosing_test.cpp opens and closes its
// own.
#include "base/MainThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <thread>
#include <vector>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;
using test::waitFor;
using ::testing::ElementsAre;

TEST(MainThread, ServesInOrderAndNotBeforeTheEventLoopAlsoANestedOne) {
    std::vector<int> served;
    QEventLoop nested;
    MainThread::post([&] {
        served.push_back(1);
        nested.exec();
        served.push_back(4);
    });
    std::jthread([&] { MainThread::post([&] { served.push_back(2); }); }).join();
    MainThread::post([&] {
        served.push_back(3);
        nested.quit();
    });
    EXPECT_TRUE(served.empty());
    EXPECT_TRUE(waitFor([&] { return served.size() == 4; }));
    EXPECT_THAT(served, ElementsAre(1, 2, 3, 4));
}

TEST(MainThread, EveryWorkerWaitsForItsCallAndTheMainThreadDoesNot) {
    constexpr int kWorkers = 8, kCalls = 200;
    int served = 0, ended = 0;  // no lock: only the main thread counts
    const auto serve = [&served] { ++served; };
    std::vector<std::jthread> workers;
    for (int i = 0; i < kWorkers; ++i) {
        workers.emplace_back([&ended, serve] {
            EXPECT_FALSE(MainThread::isCurrent());
            for (int call = 0; call < kCalls; ++call) {
                MainThread::post(serve);
                std::thread::id servedOn;
                EXPECT_TRUE(
                    MainThread::postAndWait([&] { servedOn = std::this_thread::get_id(); }));
                EXPECT_NE(servedOn, std::thread::id());
                EXPECT_NE(servedOn, std::this_thread::get_id());
            }
            MainThread::post([&ended] { ++ended; });
        });
    }
    EXPECT_TRUE(waitFor([&] { return ended == kWorkers; }));
    EXPECT_EQ(served, kWorkers * kCalls);
    EXPECT_TRUE(MainThread::postAndWait(serve));
    EXPECT_EQ(served, kWorkers * kCalls + 1) << "at once";
}

TEST(MainThread, ADelayedCallIsNotEarly) {
    QElapsedTimer timer;
    timer.start();
    qint64 servedAt = 0;
    std::jthread([&] { MainThread::postAfter(60ms, [&] { servedAt = timer.elapsed(); }); }).join();
    EXPECT_TRUE(waitFor([&] { return servedAt > 0; }));
    EXPECT_GE(servedAt, 59);
}

}  // namespace
}  // namespace kestrin
