// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/processes/AnswerWithin.h"
#include "platform/processes/BackgroundPriority.h"
#include "platform/processes/ChildProgram.h"
#include "platform/processes/DisplayTick.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

TEST(AnswerWithin, ComesWithinTheLimitOrNotAtAll) {
    EXPECT_EQ(answerWithin<int>(10s, [] { return 7; }), 7);
    auto release = std::make_shared<std::promise<void>>();
    auto done = std::make_shared<std::promise<void>>();
    EXPECT_FALSE(answerWithin<std::string>(20ms, [released = release->get_future().share(), done] {
        released.wait();
        done->set_value_at_thread_exit();
        return std::string(100, 'x');
    }));
    release->set_value();
    EXPECT_EQ(done->get_future().wait_for(10s), std::future_status::ready);
}

/// What the program says next; an empty text when it has ended.
std::string hear(const ChildProgram& program) {
    pollfd ready{program.socket(), POLLIN, 0};
    ::poll(&ready, 1, 10'000);
    std::string message(4096, '\0');
    const ssize_t length = ::recv(program.socket(), message.data(), message.size(), 0);
    message.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return message;
}

TEST(ChildProgram, GetsItsSocketAndNothingElseAndIsKilledAndCollected) {
    const test::ScratchFolder scratch;
    // This shell keeps its script at 10 and lists a folder at 3.
    test::writeFile(scratch / "program",
                    "#!/bin/dash\nexec 1>&0\necho $$\ncd /proc/$$/fd\n"
                    "echo $SAID$HOME *\nwhile :; do :; done\n");
    std::filesystem::permissions(scratch / "program", std::filesystem::perms::all);
    const int stray = ::dup(0);  // open in every program that is started carelessly
    std::string process;
    {
        auto program = ChildProgram::start(FileUrl::fromPath(scratch / "program"), {"SAID=us"});
        ASSERT_TRUE(program);
        process = hear(*program);
        EXPECT_EQ(hear(*program), "us 0 1 10 2 3\n");
        EXPECT_FALSE(program->limitProcessorTime(1s));
        EXPECT_EQ(hear(*program), "");
        EXPECT_TRUE(program->ranOutOfProcessorTime());
    }
    ::close(stray);
    EXPECT_TRUE(test::waitFor([&] { return ::kill(std::stoi(process), 0) != 0; }));
    EXPECT_FALSE(ChildProgram::start(FileUrl::fromPath(scratch / "absent"), {}));
}

TEST(BackgroundPriority, IsThatOfTheWorkAndOfWhatItStartsAlone) {
    int ofItsThread = -1;
    const auto work = [&] {
        std::thread([&] { ofItsThread = sched_getscheduler(0); }).join();
        throw std::runtime_error("handed on");
    };
    EXPECT_THROW(runAtBackgroundPriority(work), std::runtime_error);
    EXPECT_EQ(ofItsThread, SCHED_IDLE);
    EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
}

TEST(DisplayTick, TicksAtTheRateOfADisplayMakesNothingUpAndEndsWhenToldTo) {
    std::atomic<int> ticks = 0, ofTheOther = 0;
    const auto other = DisplayTick::start([&] { return ++ofTheOther < 2; });
    const auto tick = DisplayTick::start([&] {
        // The first tick takes as long as ten: they are lost.
        if (ticks++ == 0) std::this_thread::sleep_for(160ms);
        return true;
    });
    ASSERT_TRUE(tick);
    std::this_thread::sleep_for(500ms);
    EXPECT_GE(ticks, 5);
    EXPECT_LE(ticks, 25);
    EXPECT_EQ(ofTheOther, 2);
}

TEST(DisplayTick, DestructionWaitsForARunningCallback) {
    std::promise<void> entered;
    std::atomic<bool> left = false;
    auto tick = DisplayTick::start([&] {
        entered.set_value();
        std::this_thread::sleep_for(100ms);
        left = true;
        return false;
    });
    entered.get_future().wait();
    tick->reset();
    EXPECT_TRUE(left);
}

TEST(DisplayTick, CallbackMayDestroyItsOwnTick) {
    std::promise<void> handedOver, destroyed;
    std::unique_ptr<DisplayTick> owner;
    auto started = DisplayTick::start([&] {
        handedOver.get_future().wait();
        owner.reset();
        destroyed.set_value();
        return true;
    });
    owner = std::move(*started);
    handedOver.set_value();
    EXPECT_EQ(destroyed.get_future().wait_for(10s), std::future_status::ready);
}

}  // namespace
}  // namespace kestrin
