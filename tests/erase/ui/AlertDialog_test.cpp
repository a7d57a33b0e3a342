// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/AlertDialog.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <QTreeView>
#include <optional>

#include "base/StringTable.h"
#include "erase/ui/SizeLineView.h"

namespace kestrin {
namespace {

constexpr int kPastTheGuard = 600;

AlertModel alert(AlertModel::Topic topic, const std::array<QString, 3>& buttons) {
    AlertModel model;
    model.topic = topic;
    model.title = QStringLiteral("Title");
    model.text = QStringLiteral("Text");
    model.buttons = buttons;
    return model;
}

AlertModel confirmation() {
    AlertModel model = alert(AlertModel::Topic::EraseConfirmation,
                             {QStringLiteral("Erase"), QStringLiteral("Cancel"), QString()});
    model.hasSizeLine = true;
    return model;
}

AlertModel question() {
    return alert(AlertModel::Topic::LockedQuestion,
                 {QStringLiteral("Skip"), QStringLiteral("Erase"), QString()});
}

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
    /// The button that `key` ends the alert with; 0 when it goes on.
    int resultOf(const AlertModel& model, Qt::Key key) {
        QTest::keyClick(&show(model), key);
        return m_dialog->isVisible() ? 0 : m_dialog->result();
    }

 private:
    const StringTable m_texts{QStringLiteral("en")};
    std::optional<AlertDialog> m_dialog;
};

TEST_F(AlertDialogTest, DrawsTheButtonsThatHaveTitles) {
    show(question());
    EXPECT_TRUE(find("button_1"));
    EXPECT_TRUE(find("button_2"));
    EXPECT_FALSE(find("button_3"));
    QTest::mouseClick(find("button_2"), Qt::LeftButton);
    EXPECT_EQ(show(question()).findChildren<QPushButton*>().size(), 2);

    show(alert(AlertModel::Topic::Other, {}));
    EXPECT_FALSE(find("button_1")->text().isEmpty());
    EXPECT_FALSE(find("button_2"));
}

TEST_F(AlertDialogTest, EachButtonHasItsOwnResult) {
    const AlertModel model =
        alert(AlertModel::Topic::Other,
              {QStringLiteral("One"), QStringLiteral("Two"), QStringLiteral("Three")});
    const char* const names[] = {"button_1", "button_2", "button_3"};
    for (int index = 0; index < 3; ++index) {
        AlertDialog& dialog = show(model);
        QTest::mouseClick(find(names[index]), Qt::LeftButton);
        EXPECT_EQ(dialog.result(), kAlertFirstButton + index);
    }
}

TEST_F(AlertDialogTest, EscapeMeansWhatDestroysNothing) {
    EXPECT_EQ(resultOf(confirmation(), Qt::Key_Escape), kAlertSecondButton);
    EXPECT_EQ(resultOf(question(), Qt::Key_Escape), kAlertFirstButton);
    EXPECT_EQ(resultOf(alert(AlertModel::Topic::Other, {}), Qt::Key_Escape), kAlertFirstButton);
}

TEST_F(AlertDialogTest, AChoiceWithoutAKnownHarmlessAnswerHasToBeMade) {
    const AlertModel choice = alert(
        AlertModel::Topic::Other, {QStringLiteral("Agree"), QStringLiteral("Disagree"), QString()});
    EXPECT_EQ(resultOf(choice, Qt::Key_Escape), 0);
    AlertDialog& dialog = show(choice);
    dialog.close();
    EXPECT_EQ(dialog.result(), kAlertFirstButton);
}

TEST_F(AlertDialogTest, AStrayKeyErasesNothing) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        AlertDialog& dialog = show(confirmation());
        QTest::keyClick(find("button_1"), key);
        QTest::keyClick(&dialog, key);
        EXPECT_TRUE(dialog.isVisible()) << key;
    }
    AlertDialog& dialog = show(confirmation());
    QTest::qWait(kPastTheGuard);
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QStringLiteral("\r"), true);
    QApplication::sendEvent(find("button_1"), &held);
    EXPECT_TRUE(dialog.isVisible()) << "a key held down since before";
    QTest::keyClick(find("button_1"), Qt::Key_Return);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), kAlertFirstButton);
}

TEST_F(AlertDialogTest, CannotBeHiddenByMinimisingIt) {
    const Qt::WindowFlags withHarmlessAnswer = show(question()).windowFlags();
    EXPECT_FALSE(withHarmlessAnswer & Qt::WindowMinMaxButtonsHint);
    EXPECT_TRUE(withHarmlessAnswer & Qt::WindowCloseButtonHint);
    AlertModel choice = question();
    choice.topic = AlertModel::Topic::Other;
    EXPECT_FALSE(show(choice).windowFlags() &
                 (Qt::WindowMinMaxButtonsHint | Qt::WindowCloseButtonHint));
}

TEST_F(AlertDialogTest, EscapeNeedsNoWaiting) {
    AlertDialog& dialog = show(confirmation());
    QTest::keyClick(find("button_1"), Qt::Key_Escape);
    EXPECT_EQ(dialog.result(), kAlertSecondButton);
}

TEST_F(AlertDialogTest, TheButtonThatDestroysLooksDifferent) {
    const auto colour = [this](const char* name) {
        return find(name)->palette().color(QPalette::ButtonText);
    };
    show(confirmation());
    EXPECT_NE(colour("button_1"), colour("button_2"));
    EXPECT_TRUE(find("button_1")->isDefault());
    show(question());
    EXPECT_NE(colour("button_1"), colour("button_2"));
    EXPECT_TRUE(find("button_1")->isDefault());
    show(alert(AlertModel::Topic::Other, {QStringLiteral("Yes"), QStringLiteral("No"), QString()}));
    EXPECT_EQ(colour("button_1"), colour("button_2"));
}

TEST_F(AlertDialogTest, NamesAreNeverMarkup) {
    AlertModel model = question();
    model.title = QStringLiteral("“<b>x</b>” is locked.");
    model.fullName = QStringLiteral("/trash/<b>x</b>");
    show(model);
    EXPECT_EQ(find<QLabel>("title")->accessibleName(), model.title);
    EXPECT_EQ(find<QLabel>("title")->textFormat(), Qt::PlainText);
    EXPECT_TRUE(find<QLabel>("title")->toolTip().contains(QLatin1String("&lt;b&gt;x")));
}

TEST_F(AlertDialogTest, ALongWordDoesNotWidenTheWindow) {
    AlertModel model = question();
    const int width = show(model).width();
    model.title = QString(300, u'W');
    EXPECT_EQ(show(model).width(), width);
}

TEST_F(AlertDialogTest, HasBoxAndLineOnlyWhereTheModelHas) {
    AlertDialog& plain = show(question());
    EXPECT_FALSE(find<QCheckBox>("suppression"));
    EXPECT_FALSE(find<SizeLineView>("size_line"));
    EXPECT_FALSE(plain.suppressionIsOn());
    plain.setSizeLine(QStringLiteral("ignored"), true);

    AlertModel model = confirmation();
    model.suppressionTitle = QStringLiteral("Apply to all");
    AlertDialog& dialog = show(model);
    EXPECT_FALSE(dialog.suppressionIsOn());
    find<QCheckBox>("suppression")->click();
    EXPECT_TRUE(dialog.suppressionIsOn());
    dialog.setSizeLine(QStringLiteral("12 items"), false);
    EXPECT_EQ(find<SizeLineView>("size_line")->line(), QStringLiteral("12 items"));
}

TEST_F(AlertDialogTest, TheListOfWhatStayedUnfolds) {
    AlertModel model = alert(AlertModel::Topic::Other, {});
    model.details.assign(100'000, {QStringLiteral("name"), QStringLiteral("/a/name"),
                                   QStringLiteral("locked"), QStringLiteral("unlock it")});
    AlertDialog& dialog = show(model);
    auto* const list = find<QTreeView>("details");
    const int height = dialog.height();
    EXPECT_FALSE(list->isVisible());
    find<QToolButton>("details_button")->click();
    EXPECT_TRUE(list->isVisible());
    EXPECT_EQ(list->model()->rowCount(), 100'000);
    EXPECT_EQ(list->model()->index(99'999, 2).data().toString(), QStringLiteral("unlock it"));
    EXPECT_TRUE(list->model()
                    ->index(0, 0)
                    .data(Qt::ToolTipRole)
                    .toString()
                    .contains(QLatin1String("/a/name")));
    find<QToolButton>("details_button")->click();
    QApplication::processEvents();
    EXPECT_LE(dialog.height(), height);
}

}  // namespace
}  // namespace kestrin
