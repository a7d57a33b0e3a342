// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/AnswerWithin.h"

#include <gtest/gtest.h>

#include <future>
#include <string>

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

}  // namespace
}  // namespace kestrin
