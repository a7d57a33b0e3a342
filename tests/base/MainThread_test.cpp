// SPDX-License-Identifier: GPL-3.0-or-later
// The mailbox here is the one that main() made; MainThreadClosing_test.cpp opens and closes its
// own.
#include "base/MainThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <atomic>
#include <optional>
#include <thread>
#include <vector>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;
using test::waitFor;
using ::testing::ElementsAre;

TEST(MainThread, ServesInOrderAndNotBeforeTheEventLoop) {
    std::vector<int> served;
    MainThread::post([&] { served.push_back(1); });
    std::jthread([&] { MainThread::post([&] { served.push_back(2); }); }).join();
    MainThread::post([&] { served.push_back(3); });
    EXPECT_TRUE(served.empty());
    EXPECT_TRUE(waitFor([&] { return served.size() == 3; }));
    EXPECT_THAT(served, ElementsAre(1, 2, 3));
}

TEST(MainThread, AWorkerWaitsForItsCall) {
    std::thread::id servedOn;
    std::atomic<bool> isDone = false;
    bool wasServed = false;
    bool workerIsMain = true;
    std::jthread worker([&] {
        workerIsMain = MainThread::isCurrent();
        wasServed = MainThread::postAndWait([&] { servedOn = std::this_thread::get_id(); });
        isDone = true;
    });
    EXPECT_TRUE(waitFor([&] { return isDone.load(); }));
    EXPECT_TRUE(wasServed);
    EXPECT_FALSE(workerIsMain);
    EXPECT_EQ(servedOn, std::this_thread::get_id());
}

TEST(MainThread, OnTheMainThreadNobodyWaits) {
    EXPECT_TRUE(MainThread::isCurrent());
    bool wasCalled = false;
    EXPECT_TRUE(MainThread::postAndWait([&] { wasCalled = true; }));
    EXPECT_TRUE(wasCalled);
}

TEST(MainThread, ANestedLoopServesWhatWasPostedBeforeIt) {
    std::vector<int> served;
    QEventLoop nested;
    MainThread::post([&] {
        served.push_back(1);
        nested.exec();
        served.push_back(4);
    });
    MainThread::post([&] { served.push_back(2); });
    MainThread::post([&] {
        served.push_back(3);
        nested.quit();
    });
    EXPECT_TRUE(waitFor([&] { return served.size() == 4; }));
    EXPECT_THAT(served, ElementsAre(1, 2, 3, 4));
}

TEST(MainThread, ManyWorkersAreAllServed) {
    constexpr int kWorkers = 8;
    constexpr int kCalls = 200;
    int served = 0;  // no lock: only the main thread counts
    std::vector<std::jthread> workers;
    for (int i = 0; i < kWorkers; ++i) {
        workers.emplace_back([&served] {
            for (int call = 0; call < kCalls; ++call) {
                if (call % 10 == 0) {
                    MainThread::postAndWait([&served] { ++served; });
                } else {
                    MainThread::post([&served] { ++served; });
                }
            }
        });
    }
    EXPECT_TRUE(waitFor([&] { return served == kWorkers * kCalls; }));
}

TEST(MainThread, ADelayedCallIsNotEarly) {
    QElapsedTimer timer;
    timer.start();
    std::optional<qint64> servedAt;
    std::jthread([&] { MainThread::postAfter(60ms, [&] { servedAt = timer.elapsed(); }); }).join();
    EXPECT_TRUE(waitFor([&] { return servedAt.has_value(); }));
    EXPECT_GE(*servedAt, 59);
}

}  // namespace
}  // namespace kestrin
