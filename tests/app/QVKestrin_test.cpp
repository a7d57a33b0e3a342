// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/QVKestrin.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "app/support/QVKestrinTest.h"

namespace kestrin {
namespace {

using namespace test;

TEST_F(QVKestrinTest, survivesItsDiskGoingDuringTheConfirmation) {
    openWithTwoDisks();
    alerts.addAnswer(kAlertSecondButton, false, [&] {
        mountChanged(false, folder / "second");
        waitFor([&] { return controller->submenuViews().size() == 1; });
    });
    controller->itemWithTag(1002)->trigger();
    EXPECT_FALSE(controller->isWorking());
    EXPECT_TRUE(isThere("second/files/0"));
}

TEST_F(QVKestrinTest, saysThatItRunsWhereItMayNotOpenItsMenu) {
    launch();
    isSomethingOpen = true;
    controller->activate();
    EXPECT_EQ(told, QStringList());
    isSomethingOpen = false;
    controller->activate();
    EXPECT_EQ(told, QStringList{texts.text("app_is_running"_key)});
}

struct SilentDisksTest : QVKestrinTest {
    SilentDisksTest() : QVKestrinTest(1s) {}
};

TEST_F(SilentDisksTest, callsNoTrashEmptyOfWhichItKnowsNothing) {
    addUnusableDisk("bad");
    addDisk("silent");
    disks->hang(urlOf("silent"));
    ASSERT_TRUE(controller->applicationDidFinishLaunching());
    EXPECT_EQ(toolTip, texts.text("app_looking"_key));
    settle();
    EXPECT_EQ(toolTip, texts.text("app_no_trash"_key) +
                           QStringLiteral("\nbad: Cannot be used: a link\nsilent: Not answering"));
}

TEST_F(SilentDisksTest, leavesOutWhatDoesNotAnswerOrMayNotBeUsedAndSaysSo) {
    addUnusableDisk("bad");
    openWithTwoDisks();
    settle();
    EXPECT_EQ(told, QStringList{QStringLiteral("The trash of “bad” cannot be used. /x: a link")});
    disks->hang(urlOf("second"));
    settle();
    const auto text = [this](int tag) { return controller->itemWithTag(tag)->text(); };
    EXPECT_EQ(text(1001), QStringLiteral("bad: Cannot be used: a link"));
    EXPECT_EQ(text(1002), QStringLiteral("first: 1 item, 1 B"));
    EXPECT_EQ(text(1003), QStringLiteral("second: Not answering (1 item, 1 B)"));
    EXPECT_FALSE(controller->itemWithTag(1001)->isEnabled());
    EXPECT_TRUE(controller->itemWithTag(1002)->isEnabled());
    EXPECT_FALSE(controller->itemWithTag(1003)->isEnabled());
    Q_EMIT controller->subTrashMenu().aboutToHide();
    controller->trashContentsDidChange();  // which drops the rows
    Q_EMIT controller->subTrashMenu().aboutToShow();
    settle();
    EXPECT_EQ(text(1003), QStringLiteral("second: Not answering (1 item, 1 B)"));

    told.clear();
    alerts.addAnswer(kAlertFirstButton);
    controller->mainMenuAction(MenuTag::kEmptyAll);
    ASSERT_TRUE(waitFor([&] { return timers.fire(100ms); }));
    ASSERT_TRUE(waitFor([&] { return !told.isEmpty(); }));
    const QString bad = QStringLiteral("“bad” is left out: a link.");
    const QString second = QStringLiteral("“second” is left out: it is not answering.");
    EXPECT_EQ(told, QStringList{bad + u' ' + second});
    EXPECT_TRUE(alerts.models.at(0).text.endsWith(bad + u'\n' + second));
    EXPECT_FALSE(isThere("first/files/0"));
    EXPECT_TRUE(isThere("second/files/0"));
}

TEST_F(QVKestrinTest, releasesRowsAfterTheirMenuClosedUnlessWorking) {
    openWithTwoDisks();
    EXPECT_EQ(timers.count(120s), 0);
    Q_EMIT controller->subTrashMenu().aboutToHide();
    alerts.addAnswer(kAlertSecondButton, false, [&] {
        EXPECT_TRUE(timers.fire(120s));
        EXPECT_EQ(controller->submenuViews().size(), 2u);
        EXPECT_EQ(timers.count(120s), 1);
    });
    controller->itemWithTag(1001)->trigger();
    EXPECT_TRUE(timers.fire(120s));
    EXPECT_TRUE(controller->submenuViews().empty());
    EXPECT_EQ(timers.count(120s), 0);
}

TEST_F(QVKestrinTest, keepsTheSmartWindowForAWhileAfterItClosed) {
    launch();
    const auto enabled = [this] {
        QList<QAction*> items = controller->serviceMenu().actions();
        for (const int tag : {20, 30, 31, 33})
            items.push_back(controller->itemWithTag(tag));
        return std::ranges::count_if(items, &QAction::isEnabled);
    };
    const auto all = enabled();
    controller->itemWithTag(MenuTag::kSmartWindow)->trigger();
    EXPECT_EQ(enabled(), 0);
    controller->requestSmartWindow();
    controller->requestToEmptyAll();
    controller->requestPreferences();
    controller->activate();
    EXPECT_EQ(windows.shown, 5) << "each of them brings the window forward";
    smartWindow->close();
    EXPECT_EQ(enabled(), all);
    EXPECT_EQ(timers.count(120s), 1);
    controller->requestSmartWindow();
    EXPECT_EQ(timers.count(120s), 0) << "it is not let go while it shows";
    controller->trashContentsDidChange();
    EXPECT_EQ(windows.changes, 1);
    smartWindow->close();
    EXPECT_TRUE(timers.fire(120s));
    EXPECT_EQ(windows.gone, 1);

    controller->requestSmartWindow();
    const auto stop = [this](std::uint64_t erased) {
        center.post(EraseNotification::kStopWorking, nullptr,
                    UserInfo().set(EraseNotification::kErasedCount, erased));
    };
    stop(0);
    EXPECT_EQ(enabled(), 0) << "the window is open";
    stop(1);
    EXPECT_EQ(windows.gone, 2) << "what it shows is gone";
    EXPECT_EQ(windows.made, 2);
    EXPECT_EQ(enabled(), all);
    EXPECT_EQ(timers.count(120s), 0);
    settle();
}

TEST_F(QVKestrinTest, doesWhatItsMenusSay) {
    launch();
    const QList<QAction*> service = controller->serviceMenu().actions();
    for (QAction* const item : service)
        item->trigger();
    EXPECT_EQ(alerts.models.size(), 1u) << "the question to uninstall";
    for (const int tag : {2, 3, 7, 11, 13})
        controller->serviceMenuAction(tag);
    EXPECT_TRUE(steps.starts_with("welcome newsletter mailto:?subject=Kestrin&body=I%20use%20"));
    EXPECT_TRUE(steps.ends_with("mailto:kestrin@quorvane.com "));
    steps.clear();
    controller->itemWithTag(MenuTag::kUpdates)->trigger();
    EXPECT_EQ(steps, "");
    EXPECT_TRUE(waitFor([this] { return steps == "updates "; }));
    EXPECT_FALSE(controller->isWorking());
}

TEST_F(QVKestrinTest, livesAsLongAsTheSmartWindowWithoutAStatusArea) {
    hasStatusArea = false;
    ASSERT_TRUE(controller->applicationDidFinishLaunching(QVKestrin::Launch::ForSmartWindow));
    EXPECT_EQ(windows.shown, 1);
    hasStatusArea = true;
    controller->statusAreaDidAppear();
    smartWindow->close();
    EXPECT_EQ(terminated, 0) << "the icon came meanwhile";

    // Another start asks for the window while this one tells that there is no status area.
    hasStatusArea = false;
    controller = std::make_unique<QVKestrin>(services());
    alerts.addAnswer(kAlertFirstButton, false, [this] { controller->launchForSmartWindow(); });
    ASSERT_TRUE(controller->applicationDidFinishLaunching());
    EXPECT_EQ(terminated, 0);
    smartWindow->close();
    EXPECT_EQ(terminated, 1);
    EXPECT_EQ(windows.made, windows.gone);
}

TEST_F(QVKestrinTest, followsWhatOthersDoToATrash) {
    openWithTwoDisks();
    controller->trashContentsDidChange();
    settle();
    EXPECT_EQ(controller->submenuViews().size(), 2u) << "those of an open menu stay";

    Q_EMIT controller->subTrashMenu().aboutToHide();
    controller->trashContentsDidChange();
    EXPECT_TRUE(controller->submenuViews().empty()) << "what they counted is out of date";
    settle();
}

TEST_F(QVKestrinTest, doesNotBeginAConfirmedEraseAfterQuit) {
    addDisk("first");
    launch();
    controller->mainMenuAction(MenuTag::kEmptyAll);
    ASSERT_TRUE(waitFor([&] { return timers.count(100ms) == 1; }));
    controller->quit();
    EXPECT_EQ(terminated, 1);
    EXPECT_EQ(timers.count(100ms), 0);
    EXPECT_TRUE(isThere("first/files/0"));
}

TEST_F(QVKestrinTest, quitWaitsForTheEngineThatHasTheTurn) {
    addDisk("first");
    launch();
    alerts.answersSheets = false;
    int window = 0;
    const EraseRequest request{.isSmartErase = true, .size = 1, .count = 1, .window = &window};
    for (const bool isConfirmed : {false, true}) {  // an open sheet; an erase that is to begin
        alerts.sheets.clear();
        controller = std::make_unique<QVKestrin>(services());
        launch();
        terminated = 0;
        auto engine = makeEngine();  // not the controller's own
        ASSERT_TRUE(engine->askToContinue(request));
        ASSERT_TRUE(waitFor([&] { return !alerts.sheets.empty(); }));
        controller->quit();
        EXPECT_TRUE(engine->isStoppedByUser());
        EXPECT_EQ(terminated, 0) << "it has not ended yet";
        alerts.answerSheet(isConfirmed ? kAlertFirstButton : kAlertSecondButton);
        if (isConfirmed) {
            ASSERT_TRUE(engine->proceedToEraseWithArray());
        }
        EXPECT_TRUE(waitFor([&] { return terminated == 1; }));
    }
    EXPECT_TRUE(isThere("first/files/0"));
}

TEST_F(QVKestrinTest, tellsOnceOfALogWithGapsThatNoReportTold) {
    addDisk("first");
    launch();
    defaults.set("write_log", true);
    const std::string logs = location(Place::Logs).path();
    controller->mainMenuAction(MenuTag::kEmptyAll);
    ASSERT_TRUE(waitFor([&] { return timers.count(100ms) == 1; }));
    rlimit size{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &size), 0);
    const rlimit none{0, size.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);  // as a full disk
    EXPECT_TRUE(timers.fire(100ms));
    EXPECT_TRUE(waitFor([&] { return !told.isEmpty(); }));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &size), 0);
    settle();
    ASSERT_EQ(told.size(), 1);
    EXPECT_TRUE(told[0].contains(QString::fromStdString(logs))) << told[0].toStdString();
    EXPECT_FALSE(isThere("first/files/0"));
}

}  // namespace
}  // namespace kestrin
