// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NotificationCenter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace kestrin {
namespace {

TEST(NotificationCenter, DeliversByNameAndSenderInOrderOfRegistration) {
    NotificationCenter center;
    std::vector<std::string> heard;
    const auto note = [&](std::string who) {
        return [&heard, who](const Notification& notification) {
            const auto& info = notification.userInfo;
            heard.push_back(who + notification.name + std::to_string(info.value<int>("count", 7)));
            EXPECT_EQ(info.find<std::uint64_t>("count"), nullptr) << "of another type";
        };
    };
    const auto any = center.observe("a", note("any:"));
    const auto mine = center.observe("a", note("mine:"), &heard);
    const auto other = center.observe("b", note("other:"));
    center.post("a", &heard, UserInfo().set("count", 1));
    center.post("a", &center);
    EXPECT_THAT(heard, ::testing::ElementsAre("any:a1", "mine:a1", "any:a7"));
}

TEST(NotificationCenter, AnObserverMayDropItselfAndOthersWhileCalledAndOutliveTheCentre) {
    int calls = 0;
    Observation first, second, third;
    {
        NotificationCenter center;
        first = center.observe("a", [&](const Notification&) {
            ++calls;
            first.reset();
            second.reset();
            center.post("a");
        });
        second = center.observe("a", [&](const Notification&) { ++calls; });
        third = center.observe("b", [&](const Notification&) { ++calls; });
        center.post("a");
    }
    third.reset();
    EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, AfterTheTokenIsGoneNoOtherThreadCallsBack) {
    NotificationCenter center;
    std::atomic<bool> stop = false, isObserved = false;
    std::jthread poster([&] {
        while (!stop)
            center.post("a");
    });
    for (int i = 0; i < 500; ++i) {
        isObserved = true;
        auto observation = center.observe("a", [&](const Notification&) {
            std::this_thread::yield();
            EXPECT_TRUE(isObserved);
        });
        std::this_thread::yield();
        observation.reset();
        isObserved = false;
    }
    stop = true;
}

}  // namespace
}  // namespace kestrin
