// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVWindowCntrl.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <algorithm>

#include "smartwindow/CollapsingSplitter.h"
#include "smartwindow/QVContentTableView.h"
#include "smartwindow/QVContentViewCntrl.h"
#include "smartwindow/QVSmartWindowSourceViewCntrl.h"
#include "smartwindow/QVSourceTableView.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "smartwindow/WindowFrame.h"
#include "smartwindow/preview/PreviewNotifications.h"
#include "smartwindow/preview/PreviewPanel.h"
#include "smartwindow/support/WindowWorld.h"
#include "widgets/Sheet.h"

namespace kestrin {
namespace {

TEST(WindowFrame, IsReadBackAndNothingElseIs) {
    const QRect frame(-12, 34, 980, 620);
    EXPECT_EQ(stringFromFrame(frame), QStringLiteral("{{-12, 34}, {980, 620}}"));
    EXPECT_EQ(frameFromString(stringFromFrame(frame)), frame);
    EXPECT_EQ(frameFromString(QStringLiteral("{{ -12.4,33.6},{980.,620} }")), frame);
    for (const auto* text : {"", "{{0, 0}, {0, 620}}", "{{0, 0}, {980, -1}}", "{0, 0, 980, 620}",
                             "{{0, 0}, {980, 1e9}}", "{{0, 0}, {980, 99999999999999}}",
                             "{{nan, 0}, {980, 620}}", "{{0, 0}, {980, 620}} or so"})
        EXPECT_EQ(frameFromString(QLatin1String(text)), std::nullopt) << text;
}

TEST(WindowFrame, ComesBackOntoAScreenThatIsThere) {
    const QRect left(0, 30, 1280, 770);
    const QRect right(1280, 0, 1920, 1080);
    const QRect onRight(1500, 100, 980, 620);
    EXPECT_EQ(frameOnScreens(onRight, {left, right}), onRight);
    EXPECT_EQ(frameOnScreens(onRight, {left}), QRect(300, 100, 980, 620));
    EXPECT_EQ(frameOnScreens(QRect(-900, 500, 980, 620), {left}), QRect(0, 156, 980, 620))
        << "its title has room, too";
    EXPECT_EQ(frameOnScreens(QRect(1100, 700, 980, 620), {left}), QRect(1100, 700, 980, 620))
        << "its title can be taken hold of";
    EXPECT_EQ(frameOnScreens(QRect(0, 0, 980, 620), {left}), QRect(0, 30, 980, 620))
        << "its title is behind a panel";
    EXPECT_EQ(frameOnScreens(QRect(100, 100, 5000, 5000), {left}), QRect(0, 30, 1280, 746));
    EXPECT_EQ(frameOnScreens(QRect(-1920, 50, 2500, 600), {left}), QRect(0, 50, 1280, 600));
    EXPECT_EQ(frameOnScreens(onRight, {}), onRight);
}

TEST(CollapsingSplitter, TellsWhenItsPaneIsFoldedAway) {
    auto* const other = new QWidget;
    other->setMinimumWidth(50);
    CollapsingSplitter splitter(new QListView, other, 0);
    std::vector<bool> told;
    QObject::connect(&splitter, &CollapsingSplitter::collapseDidChange,
                     [&](bool isCollapsed) { told.push_back(isCollapsed); });
    splitter.resize(500, 100);
    splitter.setSizes({180, 319});
    splitter.show();
    splitter.resize(600, 100);
    EXPECT_TRUE(told.empty());
    splitter.setSizes({130, 469});
    const int extent = splitter.sizes()[0];
    const int thin = splitter.handleWidth();
    splitter.setIsCollapsed(true);
    splitter.resize(500, 100);
    EXPECT_EQ(splitter.sizes()[0], 0);
    EXPECT_GT(splitter.handleWidth(), thin);
    EXPECT_FALSE(splitter.widget(0)->isEnabled()) << "the keyboard passes it over";
    QTest::mouseDClick(splitter.handle(1), Qt::LeftButton);
    EXPECT_NEAR(splitter.sizes()[0], extent, thin + 10);
    EXPECT_EQ(splitter.handleWidth(), thin);
    EXPECT_EQ(told, (std::vector<bool>{true, false}));
    splitter.setSizes({500, 0});
    EXPECT_EQ(splitter.sizes()[1], 50) << "the other pane stays";
}

struct QVWindowCntrlTest : ::testing::Test, test::WindowWorld {
    void SetUp() override {
        volumes->mount(volume("first"));
        trash("first", "one");
        trash("first", "two");
        closeObservation = center.observe(SmartWindowNotification::kSmartWindowDidClose,
                                          [this](const Notification&) { ++closed; });
        defaults.set("smart_delete_window", QStringLiteral("{{0, 0}, {700, 500}}"));
        window = new QVWindowCntrl(given);
        table = window->findChild<QVContentTableView*>();
        window->showWindow();
        ASSERT_TRUE(test::waitFor([this] { return table->model()->rowCount() == 2; }));
    }
    void TearDown() override {
        if (window) window->letGo();
        EXPECT_TRUE(test::waitFor([this] { return isGone(); })) << "it deletes itself";
    }
    bool isGone() const {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return !window;
    }
    QString eraseText() const {
        return window->findChild<QPushButton*>(QStringLiteral("erase"))->text();
    }

    const SmartWindowServices given = services();
    QPointer<QVWindowCntrl> window;
    QVContentTableView* table = nullptr;
    Observation closeObservation;
    int closed = 0;
};

TEST_F(QVWindowCntrlTest, tellsWhatIsCheckedAndWhatTheFilterHidesOfIt) {
    auto* const kinds = window->findChild<QComboBox*>();
    window->resize(1400, 600);
    EXPECT_EQ(kinds->width(), kinds->sizeHint().width()) << "however much room there is";
    EXPECT_EQ(eraseText(), QStringLiteral("&Erase Checked Items…"));
    QTest::keyClick(window->findChild<QVSourceTableView*>(), Qt::Key_Space, Qt::ControlModifier);
    EXPECT_TRUE(
        test::waitFor([this] { return eraseText() == QStringLiteral("&Erase 2 Checked Items…"); }));
    window->findChild<QLineEdit*>()->setText(QStringLiteral("tw"));
    const auto isTold = [this] {
        const auto labels = window->findChildren<QLabel*>();
        return std::ranges::any_of(labels, [](const QLabel* label) {
            return label->text().startsWith(QLatin1String("1 of the checked items is hidden"));
        });
    };
    EXPECT_TRUE(test::waitFor(isTold));
    EXPECT_EQ(eraseText(), QStringLiteral("&Erase 2 Checked Items (1 Hidden)…"));
    QTest::keyClicks(kinds, QStringLiteral("Fo"));
    EXPECT_EQ(kinds->currentText(), QStringLiteral("Fonts"));
    EXPECT_TRUE(test::waitFor(
        [this] { return eraseText() == QStringLiteral("&Erase 2 Checked Items (2 Hidden)…"); }));
    QTest::keyClick(kinds, Qt::Key_Home);
    EXPECT_TRUE(test::waitFor(
        [this] { return eraseText() == QStringLiteral("&Erase 2 Checked Items (1 Hidden)…"); }));
    kinds->setCurrentIndex(1);
    EXPECT_TRUE(window->close());
    window->showWindow();
    EXPECT_EQ(kinds->currentText(), QStringLiteral("All kinds"));
    EXPECT_TRUE(test::waitFor([this] { return table->model()->rowCount() == 2; }));
}

TEST_F(QVWindowCntrlTest, namesWhatIsShownInItsTitleWhileTheTrashesAreFoldedAway) {
    window->findChild<CollapsingSplitter*>()->setIsCollapsed(true);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("first – Smart Window"));
    ListedVolume readOnly = volume("first", 2);
    readOnly.state = ListedVolume::State::ReadOnly;
    volumes->mount(readOnly);
    window->findChild<QVSmartWindowSourceViewCntrl*>()->refreshAction();
    EXPECT_TRUE(
        test::waitFor([this] { return window->windowTitle() == QLatin1String("Smart Window"); }));
}

TEST_F(QVWindowCntrlTest, keepsItsFrameAndWhatItShowsWhenItCloses) {
    EXPECT_FALSE(window->findChild<QVContentViewCntrl*>()->isCollapsed());
    window->move(30, 40);
    window->showMaximized();
    EXPECT_TRUE(window->close());
    EXPECT_FALSE(window->isOpen());
    EXPECT_EQ(closed, 1);
    EXPECT_EQ(defaults.stringForKey("smart_delete_window"),
              QStringLiteral("{{30, 40}, {700, 500}}"));
    defaults.set("smart_delete_window", QStringLiteral("{{20, 10}, {650, 450}}"));
    trash("first", "three");
    window->showWindow();
    EXPECT_EQ(window->geometry().size(), QSize(650, 450));
    EXPECT_TRUE(test::waitFor([this] { return table->model()->rowCount() == 3; }));
    window->letGo();
    EXPECT_EQ(closed, 2);
}

TEST_F(QVWindowCntrlTest, opensAndClosesQuickLookFromItsList) {
    std::vector<bool> comings;
    const Observation observation = center.observe(
        PreviewNotification::kQuickLookWindowVisibilityWillChange,
        [&](const Notification& change) {
            comings.push_back(change.userInfo.value<bool>(PreviewNotification::kIsVisible));
        },
        window.data());
    QTest::keyClick(table, Qt::Key_Space);
    EXPECT_EQ(beeps, 1) << "nothing is selected";
    const auto opens = [&](const QString& title) {
        QTest::keyClick(table, Qt::Key_Space);
        return test::waitFor([&] {
            const auto* const panel = window->findChild<PreviewPanel*>();
            return panel && panel->isVisible() && panel->windowTitle() == title;
        });
    };
    table->setCurrentIndex(table->model()->index(1, 1));
    window->findChild<QVContentViewCntrl*>()->setIsCollapsed(true);
    EXPECT_TRUE(opens(QStringLiteral("two"))) << "also with the preview folded away";
    auto* const panel = window->findChild<PreviewPanel*>();
    table->setCurrentIndex(table->model()->index(0, 1));
    EXPECT_TRUE(test::waitFor([&] { return panel->windowTitle() == QLatin1String("one"); }));
    QTest::keyClick(panel->windowHandle(), Qt::Key_Down);
    EXPECT_TRUE(test::waitFor([&] { return panel->windowTitle() == QLatin1String("two"); }));
    QTest::keyClick(table, Qt::Key_Escape);
    EXPECT_FALSE(panel->isOpen());
    EXPECT_TRUE(opens(QStringLiteral("two")));
    QTest::keyClick(table, Qt::Key_Space);
    EXPECT_FALSE(panel->isOpen());
    EXPECT_TRUE(opens(QStringLiteral("two")));
    panel->close();
    EXPECT_TRUE(opens(QStringLiteral("two")));
    EXPECT_TRUE(window->close());
    EXPECT_FALSE(panel->isVisible());
    EXPECT_EQ(comings, (std::vector<bool>{true, false, true, false, true, false, true, false}));
}

TEST_F(QVWindowCntrlTest, staysUnderASheetAndIsKeptUntilThatAndAMenuHaveGone) {
    QDialog sheet;
    makeSheet(sheet, window);
    sheet.show();
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->isOpen());
    window->letGo();
    EXPECT_EQ(closed, 1) << "it closes all the same";
    EXPECT_FALSE(isGone());
    trash("first", "three");
    const QPointer next(new QVWindowCntrl(given));
    next->showWindow();
    const auto* const rows = next->findChild<QVContentTableView*>()->model();
    EXPECT_TRUE(test::waitFor([&] { return rows->rowCount() == 3; }));
    EXPECT_FALSE(isGone());
    EXPECT_EQ(table->model()->rowCount(), 2) << "what the next one shows is not for this one";
    QMenu menu;
    menu.addAction(QStringLiteral("Open"));
    menu.popup({});
    sheet.close();
    QTest::qWait(0);
    EXPECT_FALSE(isGone());
    menu.close();
    EXPECT_TRUE(test::waitFor([this] { return isGone(); }));
    EXPECT_EQ(currentSelectedSourceName(), QStringLiteral("first")) << "of the next one";
    next->letGo();
    EXPECT_TRUE(test::waitFor([&] { return isGone() && !next; }));
}

}  // namespace
}  // namespace kestrin
