// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/WidgetAlertPanel.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <memory>

#include "base/StringTable.h"
#include "erase/ui/AlertDialog.h"

namespace kestrin {
namespace {

/// The alert that is open.
AlertDialog* openAlert() {
    return qobject_cast<AlertDialog*>(QApplication::activeModalWidget());
}

struct WidgetAlertPanelTest : ::testing::Test {
    void beginSheet(QWidget* parent) {
        answer = 0;
        panel = std::make_unique<WidgetAlertPanel>(texts);
        panel->beginSheet(choice, parent, [this](int button) {
            answer = button;
            panel.reset();  // as whoever hears the answer may
        });
    }
    bool isAnswered(int button) {
        return QTest::qWaitFor([&] { return answer != 0; }) && answer == button;
    }

    const StringTable texts{QStringLiteral("en")};
    std::unique_ptr<WidgetAlertPanel> panel;
    AlertModel choice{.notAnswered = kAlertThirdButton,
                      .buttons = {QStringLiteral("Yes"), QStringLiteral("No"), QString()}};
    int answer = 0;
};

TEST_F(WidgetAlertPanelTest, ASheetAnswersLaterAndIsDismissedWithItsWindow) {
    auto parent = std::make_unique<QWidget>();
    parent->show();
    beginSheet(parent.get());
    ASSERT_TRUE(openAlert());
    EXPECT_EQ(openAlert()->windowModality(), Qt::WindowModal);
    openAlert()->findChild<QPushButton*>(QStringLiteral("button_2"))->click();
    EXPECT_EQ(answer, 0);
    EXPECT_TRUE(isAnswered(kAlertSecondButton));
    beginSheet(parent.get());
    parent.reset();
    EXPECT_TRUE(isAnswered(kAlertThirdButton));
}

TEST_F(WidgetAlertPanelTest, AllAlertsEndWithTheProgram) {
    beginSheet(nullptr);
    WidgetAlertPanel modal(texts);
    QTimer::singleShot(100, &WidgetAlertPanel::dismissAll);
    EXPECT_EQ(modal.runModal(choice), kAlertThirdButton);
    QTimer::singleShot(100, [] { QCoreApplication::exit(); });  // as the end of the session does
    EXPECT_EQ(modal.runModal(choice), kAlertThirdButton);
    EXPECT_TRUE(isAnswered(kAlertThirdButton));
}

}  // namespace
}  // namespace kestrin
