// SPDX-License-Identifier: GPL-3.0-or-later
// How the helper is installed, up to what is run as root.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdlib>

#include "erase/support/SecureAccessTest.h"
#include "platform/desktop/Places.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::HasSubstr;

/// Keeps how many words it was told, and ends as told.
constexpr char kFakePkexec[] = R"(#!/bin/sh
cd "${0%/*}"
echo $# >>calls
cat >/dev/null
echo 'first line
it did not work' >&2
exit $(cat status)
)";

class HelperInstallation : public SecureAccessTest {
 protected:
    void SetUp() override {
        SecureAccessTest::SetUp();
        if (ownHelperTool().isEmpty())
            GTEST_SKIP() << "the helper was not built, or is out of reach";
        writeFile(scratch / "bin/pkexec", kFakePkexec);
        chmod((scratch / "bin/pkexec").c_str(), 0755);
        access.emplace(services());
    }
    /// Offers the helper to a user who answers so, and an administrator whose pkexec ends so.
    bool offer(int button, int status = 0) {
        alerts.models.clear();
        alerts.addAnswer(button);
        writeFile(scratch / "bin/status", std::to_string(status));
        return access->installHelperAppIfNeeded();
    }
    bool wasRun() const { return exists(scratch / "bin/calls"); }

    const ScopedVariable programs{"PATH", scratch / "bin" + ":" + std::getenv("PATH")};
};

TEST_F(HelperInstallation, AnyOtherVersionIsRemovedBeforeTheNewOneComes) {
    EXPECT_TRUE(offer(kAlertFirstButton));
    EXPECT_EQ(alerts.models.at(0).title, texts.text("install_helper_tool"_key));
    writeFile(helperFile);
    FakeHelper helper(address());
    helper.version += u' ';
    EXPECT_TRUE(offer(kAlertFirstButton));
    EXPECT_EQ(alerts.models.at(0).title, texts.text("update_helper_tool"_key));
    EXPECT_EQ(alerts.models[0].buttons[0], texts.text("update_button"_key));
    EXPECT_EQ(readFile(scratch / "bin/calls"), "9\n4\n9\n");

    std::filesystem::remove(scratch / "bin/calls");
    SecureAccessServices ending = services();
    ending.programEnds = [this] { return wasRun(); };
    access.emplace(std::move(ending));
    EXPECT_FALSE(offer(kAlertFirstButton));
    EXPECT_EQ(readFile(scratch / "bin/calls"), "4\n") << "the program ended during the removal";
    helper.version.chop(1);
    EXPECT_TRUE(offer(kAlertSecondButton));
    EXPECT_EQ(alerts.models.size(), 0u) << "it is current";
}

TEST_F(HelperInstallation, WhatGoesWrongIsShownUnlessTheUserWantedItSo) {
    EXPECT_FALSE(offer(kAlertSecondButton));
    EXPECT_EQ(alerts.models.size(), 1u);
    EXPECT_FALSE(wasRun());
    EXPECT_FALSE(offer(kAlertFirstButton, 126));
    EXPECT_EQ(alerts.models.size(), 1u) << "the password was not entered";
    EXPECT_FALSE(offer(kAlertFirstButton, 127));
    EXPECT_EQ(alerts.models.at(1).title, errorText("user_not_authorized"_errorKey));
    EXPECT_FALSE(offer(kAlertFirstButton, 1));
    EXPECT_THAT(alerts.models.at(1).title.toStdString(), HasSubstr("it did not work"));
    std::filesystem::remove(scratch / "bin/pkexec");
    const ScopedVariable nowhere("PATH", scratch / "bin");
    EXPECT_FALSE(offer(kAlertFirstButton));
    EXPECT_EQ(alerts.models.at(1).title, errorText("pkexec_missing"_errorKey));
}

}  // namespace
}  // namespace kestrin
