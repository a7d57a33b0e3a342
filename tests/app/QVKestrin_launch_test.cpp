// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/QVKestrin.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "app/preferences/QVPreferencesWindow.h"
#include "app/support/QVKestrinTest.h"
#include "platform/desktop/LoginItem.h"
#include "support/ScopedVariable.h"

namespace kestrin {
namespace {

using namespace test;

/// The end of the launch, of a user who has the helper's client.
struct GreetingTest : QVKestrinTest {
    GreetingTest() { hasHelperClient = true; }
    void start(QVKestrin::Launch kind, bool isFirstRun) {
        defaults.set("is_first_run", isFirstRun);
        steps.clear();
        windows = {};
        terminated = 0;
        alerts.models.clear();
        controller = std::make_unique<QVKestrin>(services());
        EXPECT_TRUE(controller->applicationDidFinishLaunching(kind));
    }
    /// Everything that a user can ask for.
    void askForAll() {
        controller->requestToEmptyAll();
        controller->requestSmartWindow();
        controller->activate();
        for (const int tag : {20, 30, 31, 33})
            controller->mainMenuAction(tag);
        for (const int tag : {1, 4, 5, 6, 12})
            controller->serviceMenuAction(tag);
    }
};

TEST_F(GreetingTest, asksToAgreeBeforeAnythingElse) {
    using enum QVKestrin::Launch;
    askForAll();
    EXPECT_EQ(steps, "") << "another start, while this one waits for the status area";
    for (const auto kind : {InStatusArea, ForSmartWindow}) {
        defaults.set("is_first_run", true);
        const std::string before = readFile(folder / "settings.conf");
        alerts.addAnswer(kAlertSecondButton, false, [this] { askForAll(); });
        start(kind, true);
        EXPECT_EQ(alerts.models.size(), 1u);
        EXPECT_EQ(alerts.models.at(0).notAnswered, kAlertSecondButton);
        EXPECT_EQ(steps, "") << "nothing is shown";
        EXPECT_EQ(windows.made, 0);
        EXPECT_EQ(terminated, 1);
        EXPECT_EQ(readFile(folder / "settings.conf"), before) << "nothing is stored";

        // The program ends while the question is open, however that is answered then.
        alerts.addAnswer(kAlertFirstButton, false, [this] { controller->quit(); });
        start(kind, true);
        EXPECT_EQ(steps, "");
        EXPECT_EQ(windows.made, 0);

        alerts.addAnswer(kAlertFirstButton);
        duringStep = [this] { EXPECT_EQ(windows.made, 0) << "the helper's question is first"; };
        start(kind, true);
        EXPECT_EQ(steps, "install welcome ");
        EXPECT_EQ(windows.made, kind == ForSmartWindow ? 1 : 0);
    }
    start(InStatusArea, false);
    EXPECT_EQ(steps, "install information ");
    EXPECT_TRUE(alerts.models.empty());
    hasHelperClient = false;
    start(InStatusArea, true);
    EXPECT_EQ(steps + std::to_string(alerts.models.size()), "0");
}

TEST_F(GreetingTest, isPutOffByAStartAtLogin) {
    using enum QVKestrin::Launch;
    start(AtLogin, false);
    EXPECT_EQ(steps, "look ");
    controller->serviceMenuAction(1);
    EXPECT_EQ(steps, "look install welcome ");
    controller->activate();
    controller->activate();
    EXPECT_EQ(steps, "look install welcome information ") << "a start by hand";

    alerts.addAnswer(kAlertSecondButton);
    start(AtLogin, true);
    EXPECT_TRUE(alerts.models.empty());
    controller->requestSmartWindow();
    EXPECT_EQ(steps, "look ");
    EXPECT_EQ(windows.made, 0);
    EXPECT_EQ(terminated, 1);

    duringStep = [this] { controller->requestSmartWindow(); };
    start(AtLogin, false);
    EXPECT_EQ(steps, "look install ");
    EXPECT_EQ(windows.made, 1);

    hasStatusArea = false;
    told.clear();
    controller = std::make_unique<QVKestrin>(services());
    EXPECT_FALSE(controller->applicationDidFinishLaunching(AtLogin));
    EXPECT_TRUE(alerts.models.empty());
    EXPECT_EQ(told.size(), 1) << "no window tells it";
}

TEST_F(GreetingTest, offersTheReportOfACrashWhenNothingIsErased) {
    start(QVKestrin::Launch::AtLogin, false);
    addDisk("disk");
    alerts.addAnswer(kAlertSecondButton, false, [this] {
        crashFound(FileUrl::fromPath("/report"));
        EXPECT_EQ(alerts.models.size(), 1u) << "the question to erase has the user's eyes";
    });
    alerts.addAnswer(kAlertFirstButton);
    controller->requestToEmptyAll();
    ASSERT_TRUE(waitFor([this] { return steps == "look install /report "; }));
    EXPECT_EQ(alerts.models.at(1).title, texts.text("crash_title"_key));
    EXPECT_EQ(alerts.models.at(1).notAnswered, kAlertSecondButton);
}

TEST_F(GreetingTest, offersToRemoveAnOlderVersionUntilTheUserHasAnswered) {
    const auto kind = QVKestrin::Launch::InStatusArea;
    const std::vector<std::string> remains{"helper 2", "entry 2", "settings 2"};
    for (const std::string& name : remains)
        writeFile(folder / name);
    const auto left = [&] {
        return std::ranges::count_if(remains, [&](const auto& name) { return isThere(name); });
    };
    alerts.addAnswer(kAlertFirstButton);
    start(kind, false);
    EXPECT_EQ(alerts.models.at(0).notAnswered, kAlertFirstButton);
    alerts.addAnswer(kAlertSecondButton, false, [this] { controller->quit(); });
    start(kind, false);
    EXPECT_EQ(left(), 3) << "the program ends";

    helperOwner = std::optional(PackageOwner{"helper", "apt remove it", ""});
    alerts.addAnswer(kAlertSecondButton);
    start(kind, false);
    EXPECT_EQ(left(), 1) << "the helper goes with its package";
    helperOwner = std::optional<PackageOwner>();
    alerts.addAnswer(kAlertSecondButton);
    start(kind, false);
    EXPECT_EQ(steps, "install remove 2 information ");
    EXPECT_EQ(alerts.models.size(), 2u) << "the second says that the helper is still there";
    alerts.addAnswer(kAlertFirstButton, true);
    start(kind, false);
    start(kind, false);
    EXPECT_EQ(alerts.models.size(), 0u) << "the user does not want to be asked again";
    EXPECT_FALSE(defaults.boolForKey("ask_unistall_old_kestrin"));
}

TEST(QVFullDiskAuthorizationTest, asksTheSystemAfreshEachTime) {
    using Status = QVFullDiskAuthorization::Status;
    const ScratchFolder home;
    const ScopedVariable variable("HOME", home.path());
    QStringList opened;
    const auto open = [&](const QString& url) { opened.push_back(url); };
    EXPECT_EQ(QVFullDiskAuthorization(fullDiskAccess(), open).authorizationStatus(),
              Status::Granted);
    const QVFullDiskAuthorization access({"/Library/probe", "settings:files"}, open);
    EXPECT_EQ(access.authorizationStatus(), Status::CannotTell);
    writeFile(home / "Library/probe");
    EXPECT_EQ(access.authorizationStatus(), Status::Granted);
    ::chmod((home / "Library/probe").c_str(), 0);
    EXPECT_EQ(access.authorizationStatus(), Status::Denied);
    access.requestAuthorizationWithCompletion([] { FAIL() << "the system never tells"; });
    EXPECT_EQ(opened, QStringList{QStringLiteral("settings:files")});
    const ScopedVariable sandbox("APP_SANDBOX_CONTAINER_ID", "x");
    EXPECT_DEATH(access.userHomeFolderPath(), "pw") << "the user of the tests has no account";
}

/// The removal of the program, by a user who confirms it.
struct UninstallTest : QVKestrinTest {
    void SetUp() override {
        QVKestrinTest::SetUp();
        launch();
        writeFile(folder / "helper");
        removal = [this] { std::remove((folder / "helper").c_str()); };
    }
    /// Answers the steps, what the last alert said, and whether the settings are there.
    std::string uninstall(int answer = kAlertSecondButton) {
        steps.clear();
        alerts.models.clear();
        alerts.addAnswer(answer);
        duringStep = removal;
        controller->serviceMenuAction(12);
        return steps + '/' + alerts.models.back().title.toStdString() + '/' +
               (isThere("settings.conf") ? "kept" : "gone");
    }
    std::function<void()> removal;
};

TEST_F(UninstallTest, removesOneAfterTheOtherAndStopsWhereItCannot) {
    const auto text = [this](const char* key, auto table) {
        return texts.text(key, table).toStdString();
    };
    const std::string question = text("ask_uninstall", StringTable::Table::Default);
    isSomethingOpen = true;
    controller->serviceMenuAction(12);
    EXPECT_TRUE(alerts.models.empty()) << "the alert that is open comes first";
    isSomethingOpen = false;
    EXPECT_EQ(uninstall(kAlertFirstButton), "/" + question + "/kept");
    EXPECT_EQ(alerts.models.at(0).notAnswered, kAlertFirstButton);
    const auto remove = std::exchange(removal, nullptr);
    const std::string failed = text("uninstall_failed", StringTable::Table::Errors);
    EXPECT_EQ(uninstall(), "remove 3 /" + failed + "/kept");
    removal = remove;
    loginItemError = HostError{.domain = {}, .userInfo = {{"errorString", "disk full"}}};
    helperOwner = HostError();
    EXPECT_EQ(uninstall(), "remove 3 login item /disk full/kept");
    EXPECT_TRUE(alerts.models.at(0).text.contains(texts.text("uninstall_package_unknown"_key)));
    loginItemError.reset();
    EXPECT_EQ(terminated, 0);

    // A helper of a package stays, and the rest goes all the same.
    writeFile(folder / "helper");
    removal = nullptr;
    helperOwner = std::optional(PackageOwner{"kestrin-helper", "apt remove it", ""});
    const std::string done = text("uninstall_successful", StringTable::Table::Default);
    EXPECT_EQ(uninstall(), "login item reveal /" + done + "/gone");
    EXPECT_TRUE(alerts.models.at(0).text.contains(QStringLiteral("apt remove it")));
    EXPECT_TRUE(isThere("helper"));
    EXPECT_EQ(terminated, 1);
}

TEST_F(UninstallTest, saysNothingWhenThereAreNoSettings) {
    std::remove((folder / "settings.conf").c_str());
    EXPECT_EQ(uninstall(),
              "remove 3 login item /" + texts.text("ask_uninstall"_key).toStdString() + "/gone");
    EXPECT_EQ(terminated, 0);
    alerts.addAnswer(kAlertSecondButton, false, [this] { controller->quit(); });
    steps.clear();
    controller->serviceMenuAction(12);
    EXPECT_EQ(steps, "") << "the program ends: nothing begins any more";
}

/// A user with settings of the desktop's own.
struct SettingsTest : QVKestrinTest {
    void start(QVKestrin::Launch kind = QVKestrin::Launch::InStatusArea) {
        auto own = services();
        own.makePreferences = [this] {
            return std::make_unique<QVPreferencesWindow>(
                PreferencesServices{.texts = texts,
                                    .numbers = numbers,
                                    .presenter = presenter,
                                    .defaults = defaults,
                                    .setLoginEnabled = &setLoginItemEnabled});
        };
        controller = std::make_unique<QVKestrin>(std::move(own));
        EXPECT_TRUE(controller->applicationDidFinishLaunching(kind));
    }
    const std::string file = folder / "settings.conf";
    const ScopedVariable configuration{"XDG_CONFIG_HOME", folder.path()};
    const std::string entry = folder / "autostart/com.quorvane.Kestrin3.desktop";
};

TEST_F(SettingsTest, restoringTouchesWhatStandsInTheFileAlone) {
    const SettingsMap all = controller->defaultValues();
    SettingsMap general;
    controller->defaultGeneralPreferences(general);
    EXPECT_EQ(all.size(), general.size() + 4);
    EXPECT_EQ(general.at("empty_trash"), controller->defaultEmptyTrashHotKey());
    controller->setupDefaultsPreferences();
    for (const auto& [before, restored, withWarnings] :
         {std::tuple(
              "; mine\n[General]\nshow_alert = no\nmine=1\nis_first_run=no\n"
              "show_install_helper_tool=yes\n\n[smart_delete]\nkeyCode=0x9\nmodifierFlags=1\nmore="
              "2\n",
              "; mine\n[General]\nshow_alert=true\nmine=1\nis_first_run=no\n"
              "show_install_helper_tool=yes\n\n[smart_delete]\nkeyCode=1\nmodifierFlags=1179648\n",
              "; mine\n[General]\nshow_alert=true\nmine=1\nis_first_run=no\n"
              "\n[smart_delete]\nkeyCode=1\nmodifierFlags=1179648\n"),
          {"mine = 1", "mine = 1", "mine = 1"}}) {
        writeFile(file, before);
        controller->revertToInitialValuesInDictionary(general);
        EXPECT_EQ(readFile(file), restored);
        defaults.revertToInitialValues();
        EXPECT_EQ(readFile(file), withWarnings);
    }
    EXPECT_EQ(defaults.registrationDomain(), all);
    std::filesystem::remove(file);
    controller->revertToInitialValuesInDictionary(general);
    EXPECT_FALSE(exists(file));
}

TEST_F(SettingsTest, startsAtLoginAsTheSettingAndTheDesktopSay) {
    start();
    EXPECT_FALSE(exists(entry));
    writeFile(file, "launch_at_login=yes\n");
    EXPECT_TRUE(waitFor([this] { return exists(entry); })) << "somebody edits the file";
    writeFile(entry, readFile(entry) + "Hidden=true\n");
    EXPECT_TRUE(waitFor([this] { return !defaults.boolForKey("launch_at_login"); }))
        << "the user switches it off in the desktop's settings";
    EXPECT_TRUE(exists(entry)) << "where the desktop keeps that";
    start();
    EXPECT_TRUE(exists(entry)) << "a NO is not applied at launch";
    defaults.set("launch_at_login", true);
    EXPECT_EQ(loginItemIsEnabled(), true);
    defaults.set("launch_at_login", false);
    EXPECT_FALSE(exists(entry));
    controller.reset();
    defaults.set("launch_at_login", true);
    const ScopedVariable desktop("XDG_CURRENT_DESKTOP", "Here");
    for (const bool isHere : {false, true}) {
        writeFile(entry, std::string("[Desktop Entry]\nExec=x\nX-Kestrin-Exec=x\nOnlyShowIn=") +
                             (isHere ? "Here;" : "There;"));
        start();
        EXPECT_EQ(defaults.boolForKey("launch_at_login"), isHere);
        controller.reset();
    }
    std::filesystem::remove(entry);
    start(QVKestrin::Launch::AtLogin);
    EXPECT_FALSE(exists(entry)) << "what started the program needs no repair";
    start();
    EXPECT_EQ(loginItemIsEnabled(), true);
    controller.reset();
    std::filesystem::remove(entry);
    makeFolder(entry);
    start();
    ASSERT_EQ(alerts.models.size(), 1u) << "and a failure is told";
    EXPECT_EQ(alerts.models.at(0).title, QStringLiteral("Is a directory"));
    EXPECT_TRUE(defaults.boolForKey("launch_at_login"));
}

}  // namespace
}  // namespace kestrin
