// SPDX-License-Identifier: GPL-3.0-or-later
// A program of its own, because main() of the others keeps a mailbox open.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <latch>
#include <memory>
#include <optional>
#include <thread>

#include "base/MainThread.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

/// What a worker was told, when it asked before and after the end.
struct Answers {
    std::optional<bool> before;
    std::optional<bool> after;
};

Answers closeWhileAWorkerWaits(const std::shared_ptr<int>& kept) {
    Answers answers;
    std::latch hasPosted(1);
    std::jthread worker;
    {
        const MainThread mailbox;
        worker = std::jthread([&] {
            MainThread::post([kept] { ++*kept; });
            MainThread::postAfter(1ms, [kept] { ++*kept; });
            hasPosted.count_down();
            answers.before = MainThread::postAndWait([kept] { ++*kept; });
            answers.after = MainThread::postAndWait([kept] { ++*kept; });
        });
        hasPosted.wait();
        std::this_thread::sleep_for(20ms);
    }
    worker.join();
    return answers;
}

TEST(MainThreadClosing, DropsWhatWasNotServedAndLetsWaitersGo) {
    const auto kept = std::make_shared<int>(0);
    std::jthread([] {
        EXPECT_TRUE(MainThread::isCurrent()) << "there never was a mailbox";
    }).join();
    MainThread::post([kept] { ++*kept; });

    const Answers answers = closeWhileAWorkerWaits(kept);
    EXPECT_EQ(answers.before, false);
    EXPECT_EQ(answers.after, false);
    MainThread::post([kept] { ++*kept; });
    EXPECT_EQ(*kept, 0);
    EXPECT_EQ(kept.use_count(), 1) << "what was dropped is freed";
    EXPECT_TRUE(MainThread::isCurrent());
    std::jthread([] { EXPECT_FALSE(MainThread::isCurrent()); }).join();
}

TEST(MainThreadClosing, APendingTimerEndsWithTheMailbox) {
    const auto kept = std::make_shared<int>(0);
    {
        const MainThread mailbox;
        MainThread::postAfter(10ms, [kept] { ++*kept; });
        QCoreApplication::processEvents();
    }
    std::this_thread::sleep_for(20ms);
    QCoreApplication::processEvents();
    EXPECT_EQ(*kept, 0);
    EXPECT_EQ(kept.use_count(), 1);
}

}  // namespace
}  // namespace kestrin

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
