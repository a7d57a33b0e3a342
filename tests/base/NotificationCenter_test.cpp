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

using ::testing::ElementsAre;

TEST(NotificationCenter, DeliversByNameAndSenderInOrderOfRegistration) {
    NotificationCenter center;
    std::vector<std::string> heard;
    const int sender = 0;
    const auto note = [&](std::string who) {
        return [&heard, who](const Notification& notification) {
            heard.push_back(who + notification.name +
                            std::to_string(notification.userInfo.value<int>("count")));
        };
    };
    const auto any = center.observe("a", note("any:"));
    const auto mine = center.observe("a", note("mine:"), &sender);
    const auto other = center.observe("b", note("other:"));
    center.post("a", &sender, UserInfo().set("count", 1));
    center.post("a", &center, UserInfo().set("count", 2));
    EXPECT_THAT(heard, ElementsAre("any:a1", "mine:a1", "any:a2"));
}

TEST(NotificationCenter, AValueIsReadWithItsOwnType) {
    const UserInfo info = UserInfo().set("size", std::uint64_t{5});
    EXPECT_EQ(info.value<std::uint64_t>("size"), 5U);
    EXPECT_EQ(info.find<int>("size"), nullptr);
    EXPECT_EQ(info.value<int>("count", 7), 7);
}

TEST(NotificationCenter, AnObserverMayDropItselfAndOthersWhileCalled) {
    NotificationCenter center;
    int calls = 0;
    Observation second;
    Observation first;
    first = center.observe("a", [&](const Notification&) {
        ++calls;
        first.reset();
        second.reset();
        center.post("a");
    });
    second = center.observe("a", [&](const Notification&) { ++calls; });
    center.post("a");
    EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, ATokenMayOutliveTheCentre) {
    Observation observation;
    {
        NotificationCenter center;
        observation = center.observe("a", [](const Notification&) {});
    }
    observation.reset();
    EXPECT_FALSE(observation);
}

TEST(NotificationCenter, AfterTheTokenIsGoneNoOtherThreadCallsBack) {
    NotificationCenter center;
    std::atomic<bool> stop = false;
    std::jthread poster([&] {
        while (!stop)
            center.post("a");
    });
    for (int i = 0; i < 200; ++i) {
        auto alive = std::make_unique<int>(0);  // a call after its end is a use after free
        auto observation = center.observe("a", [&](const Notification&) { ++*alive; });
        observation.reset();
        alive.reset();
    }
    stop = true;
}

}  // namespace
}  // namespace kestrin
