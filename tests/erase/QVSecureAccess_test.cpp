// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVSecureAccess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <optional>

#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVErrorDelegate.h"
#include "erase/support/FakeHelper.h"
#include "platform/ui/support/PrivateBus.h"
#include "support/ScopedVariable.h"
#include "support/ScriptedAlertPanel.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class RecordingDelegate final : public HelperDelegate {
 public:
    void setTotItemsDeleted(std::uint64_t count) override { counts.push_back(count); }
    void setTotSizeDeleted(std::uint64_t bytes) override { sizes.push_back(bytes); }
    void setNotErasedCount(std::uint64_t count) override { notErased.push_back(count); }
    void setIsWorking(bool working) override { ends += working ? 0 : 1; }
    void writeLogEntry(const std::string& path, std::uint64_t itemSize) override {
        log.push_back(std::to_string(itemSize) + " " + path);
    }
    void showError(const HostError& error) override { errors.push_back(error); }
    bool isStoppedByUser() const override { return isStopped; }

    std::vector<std::uint64_t> counts;
    std::vector<std::uint64_t> sizes;
    std::vector<std::uint64_t> notErased;
    std::vector<std::string> log;
    std::vector<HostError> errors;
    int ends = 0;
    bool isStopped = false;
};

class QVSecureAccessTest : public ::testing::Test {
 protected:
    void SetUp() override {
        if (!PrivateBus::shared()) GTEST_SKIP() << "needs dbus-daemon";
        address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
        writeFile(scratch / "helper");
        helper.emplace(address);
        access.emplace(services(), &delegate);
    }
    void TearDown() override { access.reset(); }

    SecureAccessServices services() {
        return {.texts = texts,
                .presenter = presenter,
                .defaults = defaults,
                .openBus =
                    [this](const QString& name) {
                        return QDBusConnection::connectToBus(address, name);
                    },
                .helperFile = FileUrl::fromPath(scratch / "helper"),
                .maximumList = maximumList};
    }
    /// Of two files that are there and one that is not.
    HelperRequest request() const {
        writeFile(scratch / "locked");
        writeFile(scratch / "forbidden");
        HelperRequest made;
        made.unlockItems = {FileUrl::fromPath(scratch / "locked")};
        made.permissionsItems = {FileUrl::fromPath(scratch / "forbidden"),
                                 FileUrl::fromPath(scratch / "gone")};
        made.erasedCount = 3;
        made.erasedSize = 30;
        return made;
    }
    bool waitForEnd(int milliseconds = 10000) {
        const bool hasEnded = waitFor([&] { return delegate.ends > 0; }, milliseconds);
        waitFor([] { return false; }, 50);  // nothing may follow
        return hasEnded && delegate.ends == 1 && delegate.notErased.size() == 1;
    }
    QString errorText(std::string_view key) const {
        return texts.text(key, StringTable::Table::Errors);
    }

    ScratchFolder scratch;
    std::optional<PrivateBus> bus{std::in_place};
    QString address;
    StringTable texts{QStringLiteral("en")};
    ScriptedAlerts alerts;
    UserDefaults defaults{scratch / "settings.conf"};
    QVErrorDelegate presenter{alerts.factory(), texts, defaults};
    std::size_t maximumList = kMaximumList;
    RecordingDelegate delegate;
    std::optional<FakeHelper> helper;
    std::optional<QVSecureAccess> access;
};

// --- Version ---

TEST_F(QVSecureAccessTest, OnlyTheVersionThatIsNeededIsCurrent) {
    for (const char* version : {"2.0.0", "2.0.0 ", "1.9", "2.0.1", ""}) {
        helper->version = QLatin1String(version);
        bool exists = false;
        EXPECT_EQ(access->isHelperNeedBeInstalled(exists), version == std::string("2.0.0"));
        EXPECT_TRUE(exists);
        EXPECT_EQ(QVSecureAccess::helperVersion(), QLatin1String(version));
    }
    std::filesystem::remove(scratch / "helper");
    bool exists = false;
    EXPECT_FALSE(access->isHelperNeedBeInstalled(exists));
    EXPECT_FALSE(exists);
}

TEST_F(QVSecureAccessTest, WhatKeepsTheVersionAwayStandsInItsPlace) {
    helper->answers = false;
    bool exists = false;
    EXPECT_FALSE(access->isHelperNeedBeInstalled(exists)) << "after five seconds";
    EXPECT_EQ(QVSecureAccess::helperVersion(), errorText("helper_not_answering"_errorKey));
    helper.reset();
    EXPECT_FALSE(access->isHelperNeedBeInstalled(exists));
    EXPECT_EQ(QVSecureAccess::helperVersion(), errorText("helper_unknown"_errorKey));
    address = QStringLiteral("unix:path=/nonexistent");
    EXPECT_FALSE(QVSecureAccess(services()).isHelperNeedBeInstalled(exists));
    EXPECT_EQ(QVSecureAccess::helperVersion(), errorText("helper_no_bus"_errorKey));
    EXPECT_TRUE(exists);
}

// --- Erasing ---

TEST_F(QVSecureAccessTest, ACommandCarriesTheCallerAndTheItems) {
    HelperRequest work = request();
    work.notTrashedBecauseFolderNotEmpty = {FileUrl::fromPath("/f\xff")};
    access->authorizedErase(work);
    ASSERT_TRUE(waitFor([&] { return !helper->commands.empty(); }));
    const EraseItems& items = helper->commands[0];
    EXPECT_THAT(items.unlockItems, ElementsAre(scratch / "locked"));
    EXPECT_EQ(items.permissionsItems.size(), 2u);
    EXPECT_EQ(items.erasedCount, 3u);
    EXPECT_EQ(items.erasedSize, 30u);
    EXPECT_THAT(*items.notTrashedBecauseFolderNotEmpty, ElementsAre("/f\xff"));
    EXPECT_TRUE(helper->mayAskUser);
    const auto form = AuthorizationForm::fromBytes(helper->authorization.toStdString());
    ASSERT_TRUE(form);
    EXPECT_EQ(form->processId, static_cast<std::uint32_t>(getpid()));
    EXPECT_EQ(form->startTime, processStartTime(form->processId));
}

TEST_F(QVSecureAccessTest, EveryItemIsLoggedAndZeroFiguresChangeNothing) {
    access->authorizedErase(request());
    ASSERT_TRUE(waitFor([&] { return !helper->commands.empty(); }));
    helper->tellErased(helper->caller, {{4, 35, 5, QStringLiteral("/a%FF%0A")}, {0, 36, 1, {}}});
    helper->tellErased(helper->caller, {{6, 0, 0, QStringLiteral("/c%")}});
    helper->tellFinished(helper->caller, 2);
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(delegate.counts, ElementsAre(4, 6));
    EXPECT_THAT(delegate.sizes, ElementsAre(35, 36));
    EXPECT_THAT(delegate.log, ElementsAre("5 /a\xff\n", "1 ", "0 /c%"));
    EXPECT_THAT(delegate.notErased, ElementsAre(2));
    EXPECT_THAT(delegate.errors, IsEmpty());
}

TEST_F(QVSecureAccessTest, NobodyButTheHelperIsBelieved) {
    FakeHelper stranger(address, false);
    access->authorizedErase(request());
    ASSERT_TRUE(waitFor([&] { return !helper->commands.empty(); }));
    stranger.tellErased(helper->caller, {{9, 9, 9, QStringLiteral("/lie")}});
    stranger.tellFinished(helper->caller, 0);
    ASSERT_TRUE(waitFor([&] { return stranger.refusals.size() == 2; }));
    EXPECT_THAT(delegate.log, IsEmpty());
    EXPECT_EQ(delegate.ends, 0);
    helper->tellFinished(helper->caller, 1);
    EXPECT_TRUE(waitForEnd());
    EXPECT_THAT(helper->refusals, IsEmpty());
}

TEST_F(QVSecureAccessTest, ARefusedCommandLeavesWhatIsStillThere) {
    const struct {
        const char* name;
        int code;
        std::string_view domain;
        std::string_view key;
    } kCases[] = {
        {HelperErrorName::kNotAuthorized, -60005, kOSStatusErrorDomain, "user_not_authorized"},
        {HelperErrorName::kCancelled, -60006, kOSStatusErrorDomain, "helper_cancelled"},
        {HelperErrorName::kBusy, QDBusError::Other, kBusErrorDomain, "helper_busy"},
        {"org.freedesktop.DBus.Error.NoReply", QDBusError::NoReply, kBusErrorDomain,
         "helper_not_answering"},
    };
    for (const auto& one : kCases) {
        delegate = {};
        helper->refusal = QLatin1String(one.name);
        access->authorizedErase(request());
        ASSERT_TRUE(waitForEnd()) << one.name;
        EXPECT_THAT(delegate.notErased, ElementsAre(2));
        ASSERT_EQ(delegate.errors.size(), 1u);
        EXPECT_EQ(delegate.errors[0].domain, one.domain);
        EXPECT_EQ(delegate.errors[0].code, one.code);
        EXPECT_EQ(delegate.errors[0].localizedDescription(), errorText(one.key).toStdString());
    }
}

TEST_F(QVSecureAccessTest, AnErrorMayComeAtAnyTime) {
    helper->holdsCommands = true;  // no answer yet
    helper->commanded = [&] {
        helper->tellErased(helper->caller, {{4, 35, 5, QStringLiteral("/a")}});
        std::filesystem::remove(scratch / "locked");
    };
    access->authorizedErase(request());
    ASSERT_TRUE(waitFor([&] { return !delegate.log.empty(); }));
    helper.reset();  // dies
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(delegate.notErased, ElementsAre(1));
    ASSERT_EQ(delegate.errors.size(), 1u);

    delegate = {};
    helper.emplace(address);
    helper->commanded = [&] { helper->tellErased(helper->caller, {{4, 35, 5, {}}}); };
    access->authorizedErase(request());
    ASSERT_TRUE(waitFor([&] { return !delegate.log.empty(); }));
    helper.reset();
    ASSERT_TRUE(waitForEnd()) << "accepted, then dies";
    EXPECT_THAT(delegate.notErased, ElementsAre(2));
    ASSERT_EQ(delegate.errors.size(), 1u);
    EXPECT_EQ(delegate.errors[0].localizedDescription(),
              errorText("helper_ended"_errorKey).toStdString());
}

TEST_F(QVSecureAccessTest, WithoutHelperOrBusEveryItemCountsAndTheNextCommandConnectsAgain) {
    helper.reset();
    access->authorizedErase(request());
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(delegate.notErased, ElementsAre(2)) << "those that are there";
    EXPECT_EQ(delegate.errors.at(0).localizedDescription(),
              errorText("helper_unknown"_errorKey).toStdString());

    delegate = {};
    helper.emplace(address);
    helper->commanded = [&] { helper->tellFinished(helper->caller, 0); };
    access->authorizedErase(request());
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(delegate.errors, IsEmpty());

    delegate = {};
    address = QStringLiteral("unix:path=/nonexistent");
    QVSecureAccess withoutBus(services(), &delegate);
    withoutBus.authorizedErase(request());
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(delegate.notErased, ElementsAre(3)) << "nothing was tried";
    EXPECT_EQ(delegate.errors.at(0).localizedDescription(),
              errorText("helper_no_bus"_errorKey).toStdString());
}

TEST_F(QVSecureAccessTest, ABusThatGoesAwayEndsTheRun) {
    for (const bool isAccepted : {true, false}) {
        delegate = {};
        helper->holdsCommands = !isAccepted;
        access->authorizedErase(request());
        ASSERT_TRUE(waitFor([&] { return !helper->commands.empty(); }));
        waitFor([] { return false; }, 50);  // the answer arrives
        bus.reset();
        ASSERT_TRUE(waitForEnd()) << isAccepted;
        EXPECT_THAT(delegate.notErased, ElementsAre(2));
        EXPECT_EQ(delegate.errors.size(), 1u);
        helper.reset();
        bus.emplace();
        address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
        helper.emplace(address);
    }
}

TEST_F(QVSecureAccessTest, LongListsComeAsFilesAndSplitOnesCountOn) {
    maximumList = std::size_t{3} << 20;
    access.emplace(services(), &delegate);
    HelperRequest work = request();
    const std::string folder = "/nowhere/" + std::string(40, '\xff');
    for (int i = 0; i < 40'000; ++i)
        work.permissionsItems.push_back(FileUrl::fromPath(folder + std::to_string(i)));
    helper->commanded = [&] {
        const EraseItems& items = helper->commands.back();
        const quint64 count = items.erasedCount + items.permissionsItems.size();
        helper->tellErased(helper->caller, {{count, items.erasedSize + 1, 0, {}}});
        helper->tellFinished(helper->caller, helper->commands.size());
    };
    access->authorizedErase(work);
    ASSERT_TRUE(waitForEnd());
    ASSERT_GE(helper->commands.size(), 3u);
    EXPECT_TRUE(helper->cameAsFile[0]);
    std::uint64_t expected = 3;
    std::uint64_t nonErased = 0;
    for (std::size_t i = 0; i < helper->commands.size(); ++i) {
        EXPECT_EQ(helper->commands[i].erasedCount, expected);
        EXPECT_EQ(helper->commands[i].erasedSize, 30 + i);
        expected += helper->commands[i].permissionsItems.size();
        nonErased += i + 1;
    }
    EXPECT_EQ(expected, 3 + work.permissionsItems.size());
    EXPECT_THAT(delegate.notErased, ElementsAre(nonErased));
}

TEST_F(QVSecureAccessTest, StopReachesTheHelperAndBeginsNothingMore) {
    maximumList = 1;  // a command for each item
    access.emplace(services(), &delegate);
    access->authorizedErase(request());
    ASSERT_TRUE(waitFor([&] { return !helper->commands.empty(); }));
    waitFor([] { return false; }, 50);  // the answer arrives
    delegate.isStopped = true;
    access->stoppedByUser();
    ASSERT_TRUE(waitFor([&] { return helper->stops == 1; }));
    waitFor([] { return false; }, 50);
    EXPECT_EQ(delegate.ends, 0) << "an accepted command ends by its own word";
    helper->tellFinished(helper->caller, 1);
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(helper->commands.size(), 1u);
    EXPECT_THAT(delegate.notErased, ElementsAre(2));
}

TEST_F(QVSecureAccessTest, StopTakesTheQuestionForThePasswordBack) {
    helper->holdsCommands = true;
    access->authorizedErase(request());
    ASSERT_TRUE(waitFor([&] { return !helper->commands.empty(); }));
    delegate.isStopped = true;
    access->stoppedByUser();
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(delegate.notErased, ElementsAre(2));
    EXPECT_THAT(delegate.errors, IsEmpty());

    delegate = {};
    delegate.isStopped = true;
    helper->commands.clear();
    access->authorizedErase(request());
    ASSERT_TRUE(waitForEnd());
    EXPECT_TRUE(helper->commands.empty()) << "who has stopped is not asked";
}

}  // namespace
}  // namespace kestrin
