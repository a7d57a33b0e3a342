// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <memory>
#include <optional>

#include "base/StringTable.h"
#include "erase/ui/AlertDialog.h"
#include "erase/ui/WidgetAlertPanel.h"
#include "widgets/Sheet.h"

namespace kestrin {
namespace {

using Topic = AlertModel::Topic;

constexpr int kPastTheGuard = 600;

AlertModel alert(Topic topic, std::size_t buttons = 2) {
    AlertModel model{.notAnswered = buttons > 1 && topic != Topic::LockedQuestion
                                        ? kAlertSecondButton
                                        : kAlertFirstButton,
                     .topic = topic};
    model.title = QStringLiteral("“<b>x</b>” is locked.");
    for (std::size_t index = 0; index < buttons; ++index)
        model.buttons[index] = QStringLiteral("Button");
    return model;
}

const AlertModel kConfirmation = alert(Topic::EraseConfirmation);
const AlertModel kQuestion = alert(Topic::LockedQuestion);
const AlertModel kChoice = alert(Topic::Other);
const AlertModel kMessage = alert(Topic::Other, 0);

class AlertDialogTest : public ::testing::Test {
 protected:
    AlertDialog& show(const AlertModel& model) {
        m_dialog.emplace(model, m_texts);
        m_dialog->bringToFront();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&*m_dialog));
        return *m_dialog;
    }
    template <typename Widget = QPushButton>
    Widget* find(const char* name) {
        return m_dialog->findChild<Widget*>(QLatin1String(name));
    }

 private:
    const StringTable m_texts{QStringLiteral("en")};
    std::optional<AlertDialog> m_dialog;
};

TEST_F(AlertDialogTest, EscapeAndClosingAreNoAnswer) {
    for (AlertModel model : {kConfirmation, kQuestion, kChoice, kMessage}) {
        model.suppressionTitle = QStringLiteral("Do not ask again");
        for (const bool isClosed : {false, true}) {
            AlertDialog& dialog = show(model);
            EXPECT_FALSE(dialog.windowFlags() & Qt::WindowMinMaxButtonsHint);
            find<QCheckBox>("suppression")->click();
            EXPECT_TRUE(dialog.suppressionIsOn());
            isClosed ? void(dialog.close()) : QTest::keyClick(find("button_1"), Qt::Key_Escape);
            EXPECT_EQ(dialog.result(), model.notAnswered);
            EXPECT_FALSE(dialog.suppressionIsOn()) << "a box alone answers nothing";
        }
    }
}

TEST_F(AlertDialogTest, AStrayKeyErasesNothing) {
    AlertDialog& dialog = show(kConfirmation);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        QTest::keyClick(find("button_1"), key);
        QTest::keyClick(&dialog, key);
        EXPECT_TRUE(dialog.isVisible()) << key;
    }
    QTest::qWait(kPastTheGuard);
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QStringLiteral("\r"), true);
    QApplication::sendEvent(find("button_1"), &held);
    EXPECT_TRUE(dialog.isVisible()) << "a key held down since before";
    QTest::keyClick(find("button_1"), Qt::Key_Return);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), kAlertFirstButton);
}

TEST_F(AlertDialogTest, NamesAreNeverMarkupAndDoNotWidenTheWindow) {
    AlertModel model = kQuestion;
    model.fullName = QStringLiteral("/trash/<b>x</b>");
    const int width = show(model).width();
    EXPECT_EQ(find<QLabel>("title")->accessibleName(), model.title);
    EXPECT_EQ(find<QLabel>("title")->textFormat(), Qt::PlainText);
    EXPECT_TRUE(find<QLabel>("title")->toolTip().contains(QLatin1String("&lt;b&gt;x")));
    model.title = QString(300, u'W');
    EXPECT_EQ(show(model).width(), width);
}

TEST_F(AlertDialogTest, AListOfAMillionUnfoldsByKeyboardAndMakesTheRowsThatAreSeen) {
    int made = 0;
    AlertModel model = kMessage;
    model.details = {.title = QStringLiteral("List"),
                     .columns = {},
                     .count = 1'000'000,
                     .row =
                         [&made](std::size_t row) {
                             ++made;
                             return AlertDetail{{QString::number(row)}, {}};
                         },
                     .headings = {0, 500'000}};
    show(model);
    QTest::keyClick(find<QToolButton>("details_button"), Qt::Key_Space);
    auto* const list = find<QTreeView>("details");
    ASSERT_TRUE(list->isVisible());
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_End})
        QTest::keyClick(list, key);
    EXPECT_EQ(list->currentIndex().row(), 999'999);
    EXPECT_GT(list->visualRect(list->currentIndex()).height(), 0);
    EXPECT_LT(made, 10'000);
}

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
    EXPECT_TRUE(sheetOn(*parent));
    openAlert()->findChild<QPushButton*>(QStringLiteral("button_2"))->click();
    EXPECT_EQ(answer, 0);
    EXPECT_TRUE(isAnswered(kAlertSecondButton));
    EXPECT_FALSE(sheetOn(*parent));
    QWidget* const gone = parent.get();
    beginSheet(gone);
    parent.reset();
    EXPECT_TRUE(isAnswered(kAlertThirdButton));
    beginSheet(gone);
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
