// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QPointer>
#include <QTest>
#include <map>
#include <string>
#include <vector>

#include "app/windows/NewsletterWindow.h"
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
    std::map<std::string, QString, std::less<>> shortcuts{{"empty_trash", QStringLiteral("F5")}};
    std::vector<QString> opened;
    bool hasBrowser = true;
    int smartWindows = 0;
    const WindowServices services{
        .center = center,
        .texts = texts,
        .defaults = defaults,
        .shortcutText = [this](auto key) { return shortcuts[std::string(key)]; },
        .openSmartWindow = [this] { ++smartWindows; },
        .showPreferences = [] {},
        .openUrl =
            [this](const QString& url) {
                opened.push_back(url);
                return hasBrowser;
            }};
};

TEST_F(SmallWindowsTest, WelcomeEndsTheFirstRunOnceAndIsOneWindow) {
    defaults.registerDefaults(defaultSettings());
    int posted = 0;
    const Observation observation = center.observe(
        "openForTheFirstTime", [&](const auto&) { ++posted; }, &kBundleIdentifier);
    for (int i = 0; i < 2; ++i)
        showWelcomeWindow(services);
    EXPECT_EQ(posted, 1);
    EXPECT_EQ(readFile(scratch / "settings.conf"), "[General]\nis_first_run=false\n");
    ASSERT_EQ(open<WelcomeWindow>().size(), 1);
    const QPointer<QWidget> window = open<WelcomeWindow>().at(0);
    QTest::keyClick(window, Qt::Key_Escape);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(window) << "a closed window is no more";
}

TEST_F(SmallWindowsTest, WelcomeShowsWhatIsInForce) {
    showWelcomeWindow(services);
    EXPECT_EQ(text("empty_trash"), "F5");
    EXPECT_EQ(text("smart_delete"), "none");
    shortcuts["smart_delete"] = QStringLiteral("F6");
    defaults.set("smart_delete", QVariantMap{{QStringLiteral("keyCode"), 97}});
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

}  // namespace
}  // namespace kestrin
