// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QPointer>
#include <QTest>
#include <QTextBrowser>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/windows/InformationWindow.h"
#include "app/windows/NewsletterWindow.h"
#include "app/windows/ReleaseNotes.h"
#include "app/windows/UpdatesWindow.h"
#include "app/windows/WelcomeWindow.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

class SmallWindowsTest : public ::testing::Test {
 protected:
    ~SmallWindowsTest() override {
        closeSmallWindows();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    template <class Window>
    static std::vector<Window*> open() {
        std::vector<Window*> windows;
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            auto* const window = qobject_cast<Window*>(widget);
            if (window && window->isVisible()) windows.push_back(window);
        }
        return windows;
    }
    template <class Widget = QAbstractButton>
    static Widget& find(const char* name) {
        return *open<SmallWindow>().at(0)->findChild<Widget*>(QLatin1String(name));
    }
    static std::string text(const char* name) { return find<QLabel>(name).text().toStdString(); }

    const StringTable texts{QStringLiteral("en")};
    ScratchFolder scratch;
    UserDefaults defaults{scratch / "settings.conf"};
    NotificationCenter center;
    std::map<std::string, std::optional<QString>, std::less<>> shortcuts{
        {"empty_trash", QStringLiteral("F5")}};
    std::function<void()> shortcutsDidChange;
    std::vector<QString> opened;
    bool hasBrowser = true;
    int smartWindows = 0;
    const WindowServices services{
        .center = center,
        .texts = texts,
        .defaults = defaults,
        .shortcutText = [this](auto key) { return shortcuts[std::string(key)]; },
        .observeShortcuts =
            [this](auto changed) {
                shortcutsDidChange = changed;
                return Observation();
            },
        .openSmartWindow = [this] { ++smartWindows; },
        .showPreferences = [] {},
        .openUrl =
            [this](const QString& url) {
                opened.push_back(url);
                return hasBrowser;
            },
        .shownVersionFile = FileUrl::fromPath(scratch / "state/Kestrin 3/version")};
};

TEST_F(SmallWindowsTest, WelcomeEndsTheFirstRunOnceAndIsOneWindow) {
    defaults.registerDefaults(defaultSettings());
    int posted = 0;
    const Observation observation = center.observe(
        "openForTheFirstTime", [&](const auto&) { ++posted; }, &kBundleIdentifier);
    for (int i = 0; i < 2; ++i)
        showWelcomeWindow(services);
    EXPECT_EQ(posted, 1);
    EXPECT_EQ(readFile(services.shownVersionFile.path()), KESTRIN_VERSION "\n");
    EXPECT_THAT(readFile(scratch / "settings.conf"), ::testing::EndsWith("\nis_first_run=false\n"));
    ASSERT_EQ(open<WelcomeWindow>().size(), 1);
    const QPointer<QWidget> window = open<WelcomeWindow>().at(0);
    QTest::keyClick(window, Qt::Key_Escape);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(window) << "a closed window is no more";
}

TEST_F(SmallWindowsTest, WelcomeShowsWhatIsInForce) {
    showWelcomeWindow(services);
    EXPECT_EQ(text("empty_trash"), "F5");
    EXPECT_EQ(text("smart_delete"), "not answered by the desktop yet");
    shortcuts["smart_delete"] = QString();
    shortcutsDidChange();
    EXPECT_EQ(text("smart_delete"), "none");
    shortcuts["smart_delete"] = QStringLiteral("F6");
    shortcutsDidChange();
    EXPECT_EQ(text("smart_delete"), "F6");
    EXPECT_EQ(find<QLabel>("smart_delete").accessibleName().toStdString(),
              "Open the Smart Window: F6");
    auto& login = find<QCheckBox>("login");
    defaults.set("launch_at_login", true);
    EXPECT_TRUE(login.isChecked());
    login.click();
    EXPECT_FALSE(defaults.boolForKey("launch_at_login"));
    find("open_button").click();
    EXPECT_EQ(smartWindows, 1);
    EXPECT_TRUE(open<SmallWindow>().empty());
}

TEST_F(SmallWindowsTest, NewsletterRemembersAPageThatOpened) {
    hasBrowser = false;
    showNewsletterWindow(services);
    find("page_button").click();
    EXPECT_FALSE(defaults.boolForKey("newsletter_subscribed"));
    EXPECT_THAT(text("state"), ::testing::HasSubstr("copy its address"));
    hasBrowser = true;
    find("page_button").click();
    EXPECT_TRUE(defaults.boolForKey("newsletter_subscribed"));
    EXPECT_EQ(opened, std::vector<QString>(2, find<QLabel>("page").text()));
    closeSmallWindows();
    showNewsletterWindow(services);
    EXPECT_THAT(text("state"), ::testing::HasSubstr("before"));
}

TEST_F(SmallWindowsTest, InformationComesOnceForEachNewVersion) {
    const std::string state = services.shownVersionFile.path();
    const auto comesFor = [&](const std::string& kept) {
        if (!kept.empty()) writeFile(state, kept);
        showInformationWindowIfNew(services);
        const bool isOpen = !open<InformationWindow>().empty();
        closeSmallWindows();
        return isOpen;
    };
    EXPECT_FALSE(comesFor("")) << "nobody knows what was shown before";
    EXPECT_EQ(readFile(state), KESTRIN_VERSION "\n");
    EXPECT_TRUE(comesFor("2.9.1\n"));
    EXPECT_EQ(readFile(state), KESTRIN_VERSION "\n");
    EXPECT_FALSE(comesFor(""));
    for (const char* kept : {"99.0", "", "no version", KESTRIN_VERSION})
        EXPECT_FALSE(comesFor(kept)) << kept;
    std::filesystem::remove(state);
    writeFile(scratch / "elsewhere", "2.0");
    std::filesystem::create_symlink(scratch / "elsewhere", state);
    EXPECT_FALSE(comesFor(""));
    EXPECT_EQ(readFile(scratch / "elsewhere"), "2.0") << "a link is left alone";
}

TEST_F(SmallWindowsTest, InformationTellsWhatCameAfterAVersion) {
    const QString log = QStringLiteral(
        "# Changelog\nForm.\n\n## [99.0] - 2030-01-01\nfuture\n## [3.0.0] - Unreleased\n\n### "
        "Added\n"
        "- new\n## [2.5.0] - 2020-01-01\n- older\n## [2.0.0] - 2010-01-01\n- oldest\n");
    const auto after = [&](int major, int minor) {
        return changesAfter(QVersionNumber(major, minor), log).toStdString();
    };
    EXPECT_EQ(after(2, 5), "### Added\n- new");
    EXPECT_EQ(after(2, 1), "## 3.0.0\n\n### Added\n- new\n## 2.5.0\n- older");
    showInformationWindow(services);
    EXPECT_GT(find<QTextBrowser>("changes").toPlainText().size(), 500);
}

TEST_F(SmallWindowsTest, UpdatesSayWhatIsKnown) {
    const auto tells = [&](const PackageAnswer& answer) {
        WindowServices asked = services;
        asked.softwareCenterKnowsProgram = [] { return false; };
        asked.findOwnPackage = [&](auto found) { found(answer); };
        closeSmallWindows();
        checkForUpdates(asked);
        return text("state") + " " + text("command");
    };
    EXPECT_THAT(tells(std::optional(PackageOwner{"kestrin", "", "sudo upgrade kestrin"})),
                ::testing::AllOf(::testing::HasSubstr("“kestrin”"),
                                 ::testing::HasSubstr("sudo upgrade kestrin")));
    EXPECT_THAT(tells(std::optional<PackageOwner>()),
                ::testing::HasSubstr("not installed as a package"));
    EXPECT_THAT(tells(HostError{}), ::testing::HasSubstr("could not be found out"));
    WindowServices centered = services;
    centered.softwareCenterKnowsProgram = [] { return true; };
    closeSmallWindows();
    checkForUpdates(centered);
    EXPECT_EQ(opened, std::vector{QStringLiteral("appstream://com.quorvane.Kestrin3")});
    EXPECT_TRUE(open<SmallWindow>().empty());
}

}  // namespace
}  // namespace kestrin
