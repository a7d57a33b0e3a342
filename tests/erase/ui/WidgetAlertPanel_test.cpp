// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/WidgetAlertPanel.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <memory>
#include <thread>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "erase/QVAlert.h"
#include "erase/ui/AlertDialog.h"
#include "erase/ui/SizeLineView.h"
#include "format/QVNumberUtilities.h"

namespace kestrin {
namespace {

AlertModel question() {
    AlertModel model;
    model.topic = AlertModel::Topic::LockedQuestion;
    model.title = QStringLiteral("Locked");
    model.buttons = {QStringLiteral("Skip"), QStringLiteral("Erase"), QString()};
    model.suppressionTitle = QStringLiteral("Apply to all");
    return model;
}

/// Calls `act` with the alert that is open, once there is one.
void whenOpen(std::function<void(AlertDialog&)> act) {
    QTimer::singleShot(0, qApp, [act = std::move(act)] {
        auto* const dialog = qobject_cast<AlertDialog*>(QApplication::activeModalWidget());
        if (dialog) return act(*dialog);
        whenOpen(act);
    });
}

class WidgetAlertPanelTest : public ::testing::Test {
 protected:
    const StringTable texts{QStringLiteral("en")};
    WidgetAlertPanel panel{texts};
};

TEST_F(WidgetAlertPanelTest, RunsModalUntilAnsweredAndKeepsTheBox) {
    whenOpen([](AlertDialog& dialog) {
        EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
        EXPECT_EQ(dialog.windowModality(), Qt::ApplicationModal);
        dialog.findChild<QAbstractButton*>(QStringLiteral("suppression"))->click();
        dialog.findChild<QPushButton*>(QStringLiteral("button_2"))->click();
    });
    EXPECT_EQ(panel.runModal(question()), kAlertSecondButton);
    EXPECT_TRUE(panel.suppressionIsOn());
}

TEST_F(WidgetAlertPanelTest, ClosingAModalAlertDismissesIt) {
    whenOpen([](AlertDialog& dialog) { dialog.close(); });
    EXPECT_EQ(panel.runModal(question()), kAlertFirstButton);
    EXPECT_FALSE(panel.suppressionIsOn());
}

TEST_F(WidgetAlertPanelTest, ASheetAnswersLaterAndMayBeLetGoByItsAnswer) {
    QWidget parent;
    parent.show();
    auto sheet = std::make_unique<WidgetAlertPanel>(texts);
    int answer = 0;
    sheet->beginSheet(question(), &parent, [&](int button) {
        answer = button;
        sheet.reset();
    });
    EXPECT_EQ(answer, 0);
    auto* const dialog = qobject_cast<AlertDialog*>(QApplication::activeModalWidget());
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->windowModality(), Qt::WindowModal);
    dialog->findChild<QPushButton*>(QStringLiteral("button_2"))->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return answer != 0; }));
    EXPECT_EQ(answer, kAlertSecondButton);
    EXPECT_FALSE(sheet);
}

TEST_F(WidgetAlertPanelTest, ASheetWhoseWindowGoesIsDismissed) {
    auto parent = std::make_unique<QWidget>();
    parent->show();
    int answer = 0;
    panel.beginSheet(question(), parent.get(), [&](int button) { answer = button; });
    parent.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return answer != 0; }));
    EXPECT_EQ(answer, kAlertFirstButton);
}

TEST_F(WidgetAlertPanelTest, AllAlertsEndWithTheProgram) {
    AlertModel choice = question();
    choice.topic = AlertModel::Topic::Other;
    WidgetAlertPanel sheet(texts);
    int answer = 0;
    sheet.beginSheet(choice, nullptr, [&](int button) { answer = button; });
    whenOpen([](AlertDialog&) { WidgetAlertPanel::dismissAll(); });
    EXPECT_EQ(panel.runModal(choice), kAlertFirstButton);
    EXPECT_TRUE(QTest::qWaitFor([&] { return answer == kAlertFirstButton; }));
}

TEST_F(WidgetAlertPanelTest, ASheetThatIsLetGoAnswersNothing) {
    int answers = 0;
    {
        WidgetAlertPanel sheet(texts);
        sheet.beginSheet(question(), nullptr, [&](int) { ++answers; });
    }
    QTest::qWait(20);
    EXPECT_EQ(answers, 0);
    EXPECT_FALSE(QApplication::activeModalWidget());
}

// The whole way: the confirmation opens while items are counted, and a worker brings the figures.
TEST_F(WidgetAlertPanelTest, TheSizeLineFillsInWhileTheConfirmationIsOpen) {
    const AlertPanelFactory factory = [this] { return std::make_unique<WidgetAlertPanel>(texts); };
    QVAlert alert(factory, texts, QVNumberUtilities::sharedControl());
    std::jthread worker;
    whenOpen([&](AlertDialog& dialog) {
        const auto* const line = dialog.findChild<SizeLineView*>();
        EXPECT_EQ(line->line(), texts.text("gathering_info"));
        worker = std::jthread([&] { alert.showSizeInfoString(3'400'000, 12); });
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return line->line().contains(QLatin1String("12 items")); }, 2000));
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    const TrashInfo info{QStringLiteral("erase_all"), "delete_mess", "all_disks", 0, 0, false, {}};
    EXPECT_EQ(alert.showAlertWithTrashInfo(info, nullptr), kAlertSecondButton);
}

}  // namespace
}  // namespace kestrin
