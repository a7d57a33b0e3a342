// SPDX-License-Identifier: GPL-3.0-or-later
// How the helper is installed, up to what is run as root.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QCryptographicHash>
#include <cstdlib>
#include <optional>

#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVErrorDelegate.h"
#include "erase/QVSecureAccess.h"
#include "erase/support/FakeHelper.h"
#include "platform/Places.h"
#include "platform/ui/support/PrivateBus.h"
#include "support/ScopedVariable.h"
#include "support/ScriptedAlertPanel.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::HasSubstr;

/// Keeps what it was told, and ends as told.
constexpr char kFakePkexec[] = R"(#!/bin/sh
cd "${0%/*}"
echo >>calls
call=$(wc -l <calls)
for word; do printf '%s\0' "$word"; done >"words$call"
cat >"input$call"
echo 'first line
it did not work' >&2
exit $(cat status)
)";

class HelperInstallation : public ::testing::Test {
 protected:
    void SetUp() override {
        if (!PrivateBus::shared()) GTEST_SKIP() << "needs dbus-daemon";
        if (ownHelperTool().isEmpty())
            GTEST_SKIP() << "the helper was not built, or is out of reach";
        address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
        writeFile(scratch / "bin/pkexec", kFakePkexec);
        chmod((scratch / "bin/pkexec").c_str(), 0755);
        end(0);
        access.emplace(SecureAccessServices{.texts = texts,
                                            .presenter = presenter,
                                            .defaults = defaults,
                                            .openBus =
                                                [this](const QString& name) {
                                                    return QDBusConnection::connectToBus(address,
                                                                                         name);
                                                },
                                            .helperFile = FileUrl::fromPath(scratch / "helper")});
    }
    void TearDown() override { access.reset(); }

    void end(int status) const { writeFile(scratch / "bin/status", std::to_string(status)); }
    int calls() const {
        const std::string path = scratch / "bin/calls";
        return exists(path) ? static_cast<int>(readFile(path).size()) : 0;
    }
    /// The words behind "pkexec" of a call.
    std::vector<std::string> words(int call) const {
        std::vector<std::string> found;
        const std::string text = readFile(scratch / ("bin/words" + std::to_string(call)));
        for (std::size_t from = 0; from < text.size(); from += found.back().size() + 1)
            found.emplace_back(text.c_str() + from);
        return found;
    }
    void answer(int button) { alerts.addAnswer(button); }
    QString title(std::size_t alert) const { return alerts.models.at(alert).title; }
    QString errorText(std::string_view key) const {
        return texts.text(key, StringTable::Table::Errors);
    }

    ScratchFolder scratch;
    PrivateBus bus;
    QString address;
    const ScopedVariable programs{"PATH", scratch / "bin" + ":" + std::getenv("PATH")};
    StringTable texts{QStringLiteral("en")};
    ScriptedAlerts alerts;
    UserDefaults defaults{scratch / "settings.conf"};
    QVErrorDelegate presenter{alerts.factory(), texts, defaults};
    std::optional<QVSecureAccess> access;
};

TEST_F(HelperInstallation, IsOfferedOnceAndHandsOverNothingThatCouldBeChanged) {
    answer(kAlertFirstButton);
    EXPECT_TRUE(access->installHelperAppIfNeeded());
    ASSERT_EQ(alerts.models.size(), 1u);
    EXPECT_EQ(title(0), texts.text("install_helper_tool"_key));
    EXPECT_EQ(alerts.models[0].text, texts.text("update_helper_tool_mess"_key));
    EXPECT_EQ(alerts.models[0].buttons.at(0), texts.text("install_button"_key));
    EXPECT_EQ(alerts.models[0].buttons.at(1), texts.text("dont_install_button"_key));
    ASSERT_EQ(calls(), 1);
    const auto found = words(1);
    ASSERT_EQ(found.size(), 9u);
    EXPECT_EQ(found[0], "/bin/sh");
    EXPECT_EQ(found[1], "-c");
    EXPECT_THAT(found[2], HasSubstr("sha256sum"));
    EXPECT_EQ(found[4], "com.quorvane.Kestrin3Helper");
    const std::string program = readFile(ownHelperTool().path());
    EXPECT_EQ(readFile(scratch / "bin/input1"), program);
    EXPECT_EQ(found[5], QCryptographicHash::hash(QByteArray::fromStdString(program),
                                                 QCryptographicHash::Sha256)
                            .toHex()
                            .toStdString());
    EXPECT_THAT(found[6], HasSubstr("Exec=/usr/libexec/com.quorvane.Kestrin3Helper"));
    EXPECT_THAT(found[7], HasSubstr("<busconfig>"));
    EXPECT_THAT(found[8], HasSubstr("com.quorvane.kestrin-3.eraseAuthorized"));
}

TEST_F(HelperInstallation, AnOldHelperIsRemovedBeforeTheNewOneComes) {
    writeFile(scratch / "helper");
    FakeHelper old(address);
    old.version = QStringLiteral("1.0.0");
    answer(kAlertFirstButton);
    EXPECT_TRUE(access->installHelperAppIfNeeded());
    EXPECT_EQ(title(0), texts.text("update_helper_tool"_key));
    EXPECT_EQ(alerts.models[0].buttons.at(0), texts.text("update_button"_key));
    EXPECT_EQ(alerts.models[0].buttons.at(1), texts.text("dont_update_button"_key));
    ASSERT_EQ(calls(), 2);
    EXPECT_EQ(words(1).size(), 4u);
    EXPECT_THAT(words(1)[2], HasSubstr("rm -f"));
    EXPECT_EQ(words(2).size(), 9u);
}

TEST_F(HelperInstallation, NothingIsAskedWhenTheHelperIsCurrentOrTheUserSaidSo) {
    writeFile(scratch / "helper");
    {
        const FakeHelper current(address);
        EXPECT_TRUE(access->installHelperAppIfNeeded());
    }
    std::filesystem::remove(scratch / "helper");
    defaults.set("show_install_helper_tool", true);
    EXPECT_TRUE(access->installHelperAppIfNeeded());
    EXPECT_EQ(alerts.models.size(), 0u);
    EXPECT_EQ(calls(), 0);
}

TEST_F(HelperInstallation, ADeclinedQuestionAndADismissedPasswordAreNoErrors) {
    answer(kAlertSecondButton);
    EXPECT_FALSE(access->installHelperAppIfNeeded());
    EXPECT_EQ(calls(), 0);
    answer(kAlertFirstButton);
    end(126);
    const MaybeError error = access->authorizeTheAccess();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, kOSStatusErrorDomain);
    EXPECT_EQ(error->code, -60006);
    answer(kAlertFirstButton);
    EXPECT_FALSE(access->installHelperAppIfNeeded());
    EXPECT_EQ(alerts.models.size(), 3u) << "the questions alone";
}

TEST_F(HelperInstallation, WhatGoesWrongIsShown) {
    const auto shownFor = [&](int status) {
        alerts.models.clear();
        end(status);
        answer(kAlertFirstButton);
        EXPECT_FALSE(access->installHelperAppIfNeeded());
        return alerts.models.size() == 2 ? title(1) : QString();
    };
    EXPECT_EQ(shownFor(127), errorText("user_not_authorized"_errorKey));
    EXPECT_THAT(shownFor(1).toStdString(), HasSubstr("it did not work"));
    std::filesystem::remove(scratch / "bin/pkexec");
    const ScopedVariable nowhere("PATH", scratch / "bin");
    EXPECT_EQ(shownFor(0), errorText("pkexec_missing"_errorKey));
}

}  // namespace
}  // namespace kestrin
