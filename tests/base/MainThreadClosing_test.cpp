// SPDX-License-Identifier: GPL-3.0-or-later
// A program of its own, because main() of the others keeps a mailbox open.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <latch>
#include <memory>
#include <thread>

#include "base/MainThread.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

TEST(MainThreadClosing, DropsWhatWasNotServedAndLetsWaitersGo) {
    const auto kept = std::make_shared<int>(0);
    const auto count = [kept] { ++*kept; };
    std::jthread([] {
        EXPECT_TRUE(MainThread::isCurrent()) << "there never was a mailbox";
    }).join();
    MainThread::post(count);
    {
        std::latch hasPosted(1);
        std::jthread worker;
        {
            const MainThread mailbox;
            MainThread::postAfter(10ms, count);
            QCoreApplication::processEvents();  // the timer begins
            worker = std::jthread([&] {
                MainThread::post(count);
                MainThread::postAfter(1ms, count);
                hasPosted.count_down();
                EXPECT_FALSE(MainThread::postAndWait(count)) << "before the end";
                EXPECT_FALSE(MainThread::postAndWait(count)) << "after the end";
            });
            hasPosted.wait();
            std::this_thread::sleep_for(20ms);
        }
        QCoreApplication::processEvents();
    }
    MainThread::post(count);
    EXPECT_EQ(*kept, 0);
    EXPECT_EQ(kept.use_count(), 2) << "what was dropped is freed";
    EXPECT_TRUE(MainThread::isCurrent());
    std::jthread([] { EXPECT_FALSE(MainThread::isCurrent()); }).join();
}

}  // namespace
}  // namespace kestrin

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
