// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <latch>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "base/LastLogLines.h"
#include "base/MainThread.h"
#include "base/OperationQueue.h"
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

TEST(LastLogLines, AreWholeAndTheNewestWhileOthersWriteThem) {
    const QtMessageHandler before =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    keepLastLogLines();
    std::atomic<bool> ends = false;
    std::vector<std::jthread> writers;
    for (const char letter : {'a', 'b', 'c', 'd'}) {
        writers.emplace_back([letter, &ends] {
            for (std::size_t length = 1; !ends; length = length % 300 + 1)
                qWarning("%s", std::string(length, letter).c_str());
        });
    }
    std::FILE* const file = std::tmpfile();
    while (lseek(fileno(file), 0, SEEK_CUR) < 1'000'000)
        writeLastLogLines(fileno(file), "");
    ends = true;
    writers.clear();
    qInstallMessageHandler(before);
    std::rewind(file);
    std::array<char, 512> line;
    while (std::fgets(line.data(), line.size(), file)) {
        const std::string text = std::string(line.data()).substr(std::strlen("00:00:00.000 "));
        ASSERT_THAT(text, ::testing::MatchesRegex("warning default: (a+|b+|c+|d+)\n"));
    }
    std::fclose(file);
    EXPECT_EQ(withoutNames("a\nb [/x"), "a b …");
}

TEST(OperationQueue, OneAtATimeKeepsTheOrderWhateverIsThrown) {
    OperationQueue queue("order", 1);
    std::vector<int> begun;  // no lock: the thread sanitizer sees two at once
    for (int i = 0; i < 500; ++i) {
        queue.enqueue([&begun, i] {
            begun.push_back(i);
            if (i == 7) throw std::runtime_error("on purpose");
            if (i == 8) throw 1;
        });
    }
    queue.waitUntilAllOperationsAreFinished();
    ASSERT_EQ(begun.size(), 500u);
    for (int i = 0; i < 500; ++i)
        EXPECT_EQ(begun[i], i);
    EXPECT_EQ(queue.operationCount(), 0u);
}

TEST(OperationQueue, RunsAsManyAsItsLimitAndNoMoreOrAllAtOnce) {
    OperationQueue limited("limited", 3), unlimited("unlimited");
    std::latch three(3), twenty(20);
    std::atomic<int> running = 0, above = 0;
    for (int i = 0; i < 60; ++i) {
        limited.enqueue([&, i] {
            if (++running > 3) ++above;
            if (i < 3) three.arrive_and_wait();
            std::this_thread::sleep_for(1ms);
            --running;
        });
    }
    for (int i = 0; i < 20; ++i)
        unlimited.enqueue([&] { twenty.arrive_and_wait(); });
    limited.waitUntilAllOperationsAreFinished();
    unlimited.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(above, 0);
}

TEST(OperationQueue, AnOperationMayEnqueueTheNextAndFreesWhatItKeepsBeforeItIsFinished) {
    OperationQueue queue("chain", 1);
    auto held = std::make_shared<std::atomic<int>>(0);
    const std::weak_ptr watched = held;
    int done = 0;
    queue.enqueue([&done, &queue, held = std::move(held)] {
        queue.enqueue([&done, held] { ++done; });
        ++done;
    });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(done, 2);
    EXPECT_TRUE(watched.expired());
}

TEST(OperationQueue, TheEndDropsWhatHasNotBegunAndWaitsForTheRest) {
    std::atomic<bool> finished = false;
    const auto held = std::make_shared<int>(0);
    {
        OperationQueue queue("ending", 1);
        std::latch begun(1);
        queue.enqueue([&] {
            begun.count_down();
            std::this_thread::sleep_for(50ms);
            finished = true;
        });
        queue.enqueue([held] { ++*held; });
        begun.wait();
    }
    EXPECT_TRUE(finished);
    EXPECT_EQ(*held, 0);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(OperationQueue, IdleThreadsEndAndNewOnesTakeTheirPlace) {
    OperationQueue queue("idle", 1);
    std::vector<std::weak_ptr<int>> lives;
    const auto liveOnAThread = [&] {
        queue.enqueue([&lives] {
            thread_local std::shared_ptr<int> life;
            life = std::make_shared<int>(0);
            lives.push_back(life);
        });
        queue.waitUntilAllOperationsAreFinished();
    };
    liveOnAThread();
    for (int i = 0; i < 500 && !lives.front().expired(); ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_TRUE(lives.front().expired());
    liveOnAThread();
    EXPECT_EQ(lives.size(), 2u);
}

}  // namespace
}  // namespace kestrin
