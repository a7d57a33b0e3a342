// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <optional>

#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/HelperBatches.h"
#include "erase/QVErrorDelegate.h"
#include "erase/QVSecureAccess.h"
#include "erase/support/FakeHelper.h"
#include "platform/desktop/Places.h"
#include "platform/desktop/ui/support/PrivateBus.h"
#include "support/ScopedVariable.h"
#include "support/ScriptedAlertPanel.h"
#include "support/SilentVolume.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// The way to the helper over a bus of the test's own, with nothing but questions at its end.
class SecureAccessTest : public ::testing::Test {
 protected:
    void SetUp() override { KESTRIN_REQUIRE_BUS(); }
    void TearDown() override { access.reset(); }

    SecureAccessServices services() {
        return {.texts = texts,
                .presenter = presenter,
                .defaults = defaults,
                .openBus =
                    [this](const QString& name) {
                        return QDBusConnection::connectToBus(address(), name);
                    },
                .helperFile = FileUrl::fromPath(helperFile)};
    }
    static QString address() { return qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"); }
    QString errorText(std::string_view key) const {
        return texts.text(key, StringTable::Table::Errors);
    }

    ScratchFolder scratch;
    const std::string helperFile = scratch / "helper";
    std::optional<PrivateBus> bus{std::in_place};
    StringTable texts{QStringLiteral("en")};
    ScriptedAlerts alerts;
    UserDefaults defaults{scratch / "settings.conf"};
    QVErrorDelegate presenter{alerts.factory(), texts, defaults};
    std::optional<QVSecureAccess> access;
};

class RecordingDelegate final : public HelperDelegate {
 public:
    void setTotItemsDeleted(std::uint64_t count) override { counts.push_back(count); }
    void setTotSizeDeleted(std::uint64_t bytes) override { sizes.push_back(bytes); }
    void setNotErasedCount(std::uint64_t count) override { notErased.push_back(count); }
    void setIsWorking(bool working) override { ends += working ? 0 : 1; }
    void writeLogEntryWithPath(const std::string& path, std::uint64_t itemSize) override {
        log.push_back(std::to_string(itemSize) + " " + path);
    }
    void attributesNotRestored(const std::string& path) override { unlocked.push_back(path); }
    void showErrorWithError(const HostError& error) override {
        EXPECT_EQ(ends, 0) << "the end is reported with it";
        errors.push_back(QString::fromStdString(error.localizedDescription()));
    }
    bool isStoppedByUser() const override { return isStopped; }

    std::vector<std::uint64_t> counts, sizes, notErased;
    std::vector<std::string> log, unlocked;
    std::vector<QString> errors;
    int ends = 0;
    bool isStopped = false;
};

class QVSecureAccessTest : public SecureAccessTest {
 protected:
    void SetUp() override {
        SecureAccessTest::SetUp();
        writeFile(helperFile);
        helper.emplace(address());
        connect(kMaximumList);
    }
    void connect(std::size_t maximumList, std::chrono::milliseconds signOfLife = 30s) {
        SecureAccessServices made = services();
        made.maximumList = maximumList;
        made.stopAgain = 500ms;
        made.signOfLife = signOfLife;
        access.emplace(std::move(made), &delegate);
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
    static void wait() {
        waitFor([] { return false; }, 50);
    }
    /// Until the helper has its command and the answer to it has arrived.
    void begin(const HelperRequest& work) {
        delegate = {};
        helper->commands.clear();
        access->authorizedEraseWithDictionary(std::make_shared<HelperRequest>(work));
        ASSERT_TRUE(waitFor([&] { return !helper->commands.empty(); }));
        wait();
    }
    bool waitForEnd() {
        const bool hasEnded = waitFor([&] { return delegate.ends > 0; });
        wait();  // nothing may follow
        return hasEnded && delegate.ends == 1 && delegate.notErased.size() == 1;
    }

    RecordingDelegate delegate;
    std::optional<FakeHelper> helper;
};

TEST_F(QVSecureAccessTest, ItemsAreHandedOverAndLoggedAndZeroFiguresChangeNothing) {
    HelperRequest work = request();
    work.notTrashedBecauseFolderNotEmpty = {FileUrl::fromPath("/f\xff")};
    begin(work);
    const EraseItems expected{
        {scratch / "locked"},        {scratch / "forbidden", scratch / "gone"}, 30, 3, {{"/f\xff"}},
        std::vector<ItemIdentity>(4)};
    EXPECT_EQ(helper->commands[0], expected);
    helper->tellErased(helper->caller, {{4, 35, 5, QStringLiteral("/a%FF%0A")}, {0, 36, 1, {}}});
    helper->tellErased(helper->caller, {{6, 0, 0, QStringLiteral("/c%")}});
    helper->tell(helper->caller, "attributesNotRestored", QStringList{QStringLiteral("/u%FF")});
    helper->tellFinished(helper->caller, 2);
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(delegate.unlocked, ElementsAre("/u\xff"));
    EXPECT_THAT(delegate.counts, ElementsAre(4, 6));
    EXPECT_THAT(delegate.sizes, ElementsAre(35, 36));
    EXPECT_THAT(delegate.log, ElementsAre("5 /a\xff\n", "1 ", "0 /c%"));
    EXPECT_THAT(delegate.notErased, ElementsAre(2));
    EXPECT_THAT(delegate.errors, IsEmpty());
}

TEST_F(QVSecureAccessTest, NobodyButTheHelperIsBelieved) {
    FakeHelper stranger(address(), false);
    begin(request());
    stranger.tellErased(helper->caller, {{9, 9, 9, QStringLiteral("/lie")}});
    stranger.tellFinished(helper->caller, 0);
    stranger.tell(helper->caller, "interrupted", false);
    stranger.tell(helper->caller, "attributesNotRestored", QStringList{QStringLiteral("/lie")});
    ASSERT_TRUE(waitFor([&] { return stranger.refusals == 4; }));
    EXPECT_THAT(delegate.log, IsEmpty());
    EXPECT_THAT(delegate.unlocked, IsEmpty());
    EXPECT_EQ(delegate.ends, 0);
    helper->tellFinished(helper->caller, 1);
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(helper->refusals, 0);
}

TEST_F(QVSecureAccessTest, ARunEndsWithItsHelperOrItsBusAndTheNextOneConnectsAgain) {
    for (const bool isBus : {false, true}) {
        for (const bool isAccepted : {false, true}) {
            SCOPED_TRACE(std::to_string(isBus) + std::to_string(isAccepted));
            helper->holdsCommands = !isAccepted;
            begin(request());
            helper->tellErased(helper->caller, {{4, 35, 5, QStringLiteral("/a")}});
            ASSERT_TRUE(waitFor([&] { return !delegate.log.empty(); }));
            std::filesystem::remove(scratch / "locked");
            isBus ? bus.reset() : helper.reset();
            ASSERT_TRUE(waitForEnd());
            EXPECT_THAT(delegate.notErased, ElementsAre(1));
            EXPECT_EQ(delegate.errors.size(), 1u);
            helper.reset();
            if (isBus) bus.emplace();
            helper.emplace(address());
        }
    }
}

TEST_F(QVSecureAccessTest, WhatTheHelperCannotTellIsLookedUp) {
    for (const bool mayGoOn : {false, true}) {
        begin(request());
        std::filesystem::remove(scratch / "forbidden");
        helper->tell(helper->caller, "interrupted", mayGoOn);
        ASSERT_TRUE(waitForEnd());
        EXPECT_THAT(delegate.notErased, ElementsAre(1)) << "one is still there";
        EXPECT_THAT(delegate.errors,
                    ElementsAre(errorText(mayGoOn ? "helper_hangs"_errorKey
                                                  : "helper_interrupted"_errorKey)));
    }
    KESTRIN_REQUIRE_MOUNTS();
    makeFolder(scratch / "silent");
    const SilentVolume volume(scratch / "silent");
    HelperRequest work = request();
    work.unlockItems.push_back({FileUrl::fromPath(scratch / "silent/item"), {.deviceId = 1}});
    begin(work);
    helper->tell(helper->caller, "interrupted", false);
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(delegate.notErased, ElementsAre(3)) << "what is silent counts, and what is there";
    // The refusal of a command that Stop took back is no error.
    helper->holdsCommands = true;
    begin(request());
    delegate.isStopped = true;
    helper->refuse(HelperErrorName::kCancelled);
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(delegate.errors, IsEmpty());
}

TEST_F(QVSecureAccessTest, LongListsComeAsFilesAndSplitOnesCountOn) {
    connect(std::size_t{3} << 20);
    HelperRequest work = request();
    const std::string folder = "/nowhere/" + std::string(40, '\xff');
    for (int i = 0; i < 40'000; ++i)
        work.permissionsItems.push_back(FileUrl::fromPath(folder + std::to_string(i)));
    std::uint64_t erased = 3;
    std::uint64_t nonErased = 0;
    helper->commanded = [&] {
        const EraseItems& items = helper->commands.back();
        EXPECT_EQ(items.erasedCount, erased);
        EXPECT_EQ(items.erasedSize, 29 + helper->commands.size());
        erased += items.permissionsItems.size();
        nonErased += helper->commands.size();
        helper->tellErased(helper->caller, {{erased, items.erasedSize + 1, 0, {}}});
        helper->tellFinished(helper->caller, helper->commands.size());
    };
    begin(work);
    ASSERT_TRUE(waitForEnd());
    EXPECT_GE(helper->commands.size(), 3u);
    EXPECT_TRUE(helper->cameAsFile[0]);
    EXPECT_EQ(erased, 3 + work.permissionsItems.size());
    EXPECT_THAT(delegate.notErased, ElementsAre(nonErased));
}

TEST_F(QVSecureAccessTest, StopReachesTheHelperAndNothingMoreBegins) {
    connect(1);  // a command for each item
    begin(request());
    delegate.isStopped = true;
    access->stoppedByUser();
    ASSERT_TRUE(waitFor([&] { return helper->stops == 1; }));
    wait();
    EXPECT_EQ(delegate.ends, 0) << "an accepted command ends by its own word";
    helper->tellFinished(helper->caller, 1);
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(delegate.notErased, ElementsAre(2));

    for (const bool isAccepted : {true, false}) {
        helper->holdsCommands = helper->hangs = !isAccepted;
        helper->stops = 0;
        begin(request());
        delegate.isStopped = true;
        access->stoppedByUser();
        ASSERT_TRUE(waitFor([&] { return helper->stops == 1; }));
        helper->hangs = true;
        ASSERT_TRUE(waitForEnd());
        EXPECT_EQ(helper->stops, isAccepted ? 2 : 1) << "an end that does not come is asked for";
        EXPECT_THAT(delegate.errors, ElementsAre(errorText("helper_not_answering"_errorKey)));
    }

    connect(kMaximumList, 20ms);
    helper->holdsCommands = helper->hangs = false;
    helper->stops = 0;
    begin(request());
    EXPECT_EQ(delegate.ends, 0) << "it shows that it lives";
    helper->hangs = true;
    ASSERT_TRUE(waitForEnd()) << "though nobody says Stop";
    EXPECT_THAT(delegate.errors, ElementsAre(errorText("helper_not_answering"_errorKey)));
    EXPECT_EQ(helper->stops, 0);
    connect(kMaximumList);

    for (const bool isLate : {false, true}) {
        delegate = {};
        delegate.isStopped = !isLate;
        access->authorizedEraseWithDictionary(std::make_shared<HelperRequest>(request()));
        delegate.isStopped = true;  // while the list is made
        access->stoppedByUser();
        ASSERT_TRUE(waitForEnd());
        EXPECT_THAT(delegate.notErased, ElementsAre(2));
        EXPECT_EQ(helper->commands.size(), 1u) << "who has stopped is not asked for a password";
    }
}

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
    EXPECT_EQ(readFile(scratch / "bin/calls"), "9\n5\n9\n");

    std::filesystem::remove(scratch / "bin/calls");
    SecureAccessServices ending = services();
    ending.programEnds = [this] { return wasRun(); };
    access.emplace(std::move(ending));
    EXPECT_FALSE(offer(kAlertFirstButton));
    EXPECT_EQ(readFile(scratch / "bin/calls"), "5\n") << "the program ended during the removal";
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

/// With the longest identities.
std::vector<HelperItem> paths(char name, int count) {
    std::vector<HelperItem> list;
    const std::uint64_t most = ~std::uint64_t{0};
    for (int i = 0; i < count; ++i)
        list.push_back({FileUrl::fromPath("/" + std::string(400, name) + std::to_string(i)),
                        {most - static_cast<unsigned>(i), most, INT64_MIN}});
    return list;
}

TEST(HelperBatches, HandOutEveryPathOnceInItsOrderAndWithinTheLimit) {
    auto request = std::make_shared<HelperRequest>();
    request->unlockItems = paths('u', 50);
    request->permissionsItems = paths('\xff', 70);
    request->notTrashedBecauseFolderNotEmpty = paths('f', 30);
    const EraseItems whole = *HelperBatches(request).next(7, 9);
    EXPECT_EQ(whole.permissionsItems.at(69), request->permissionsItems[69].url.path());
    for (const std::size_t limit : {1U, 4000U, 8000U}) {
        HelperBatches batches(request, limit);
        EraseItems all{.erasedSize = 9, .erasedCount = 7};
        all.notTrashedBecauseFolderNotEmpty.emplace();
        int count = 0;
        for (auto items = batches.next(7, 9); items; items = batches.next(7, 9), ++count) {
            EXPECT_TRUE(limit == 1 || items->toXml().size() <= limit);
            const auto add = [](auto& to, const auto& from) {
                to.insert(to.end(), from.begin(), from.end());
            };
            add(all.unlockItems, items->unlockItems);
            add(all.permissionsItems, items->permissionsItems);
            add(all.identities, items->identities);
            add(*all.notTrashedBecauseFolderNotEmpty,
                items->notTrashedBecauseFolderNotEmpty.value_or(std::vector<std::string>()));
        }
        EXPECT_TRUE(batches.isAtEnd());
        EXPECT_EQ(count == 150, limit == 1) << "one path a command when there is no room";
        EXPECT_EQ(all, whole);
    }
}

}  // namespace
}  // namespace kestrin
