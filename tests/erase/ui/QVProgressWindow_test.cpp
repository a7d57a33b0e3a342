// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

#include "base/StringTable.h"
#include "erase/ui/AlertDialog.h"
#include "erase/ui/QVProgressWindow.h"
#include "erase/ui/WidgetProgressView.h"
#include "format/QVNumberUtilities.h"

namespace kestrin {
namespace {

struct QVProgressWindowTest : ::testing::Test {
    const StringTable texts{QStringLiteral("en")};
    int stops = 0;
    const QVNumberUtilities numbers{"en_US", texts};
    WidgetProgressView view{texts, numbers, [this] { ++stops; }};
    QVProgressWindow& window = view.window();
    QPushButton* const stopButton = window.findChild<QPushButton*>(QStringLiteral("stop"));
};

TEST_F(QVProgressWindowTest, ClosingStopsOnceAndTheWindowStaysAndSaysSoUntilTheEnd) {
    view.open(nullptr);
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
    EXPECT_FALSE(stopButton->isEnabled());
    view.show({.mainText = QStringLiteral("Erasing")});
    EXPECT_FALSE(stopButton->isEnabled());
    EXPECT_TRUE(window.windowTitle().startsWith(texts.text("stopping")));
    EXPECT_FALSE(window.close());
    EXPECT_EQ(stops, 1);
    view.close();
    EXPECT_FALSE(window.isVisible());
    EXPECT_TRUE(window.close()) << "a hidden window keeps the program from ending";
}

TEST_F(QVProgressWindowTest, ALongNameDoesNotWidenItAndOfAllKeysOnlyEscapeStops) {
    view.show({.infoText = QString(300, u'x')});
    view.open(nullptr);
    EXPECT_EQ(window.width(), 420);
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_EQ(QApplication::focusWidget(), &window);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Space, Qt::Key_Tab})
        QTest::keyClick(&window, key);
    EXPECT_EQ(QApplication::focusWidget(), stopButton);
    EXPECT_EQ(stops, 0);
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_EQ(stops, 1);
}

TEST_F(QVProgressWindowTest, CoversNoQuestionAndOpensWhenThatIsAnswered) {
    AlertDialog question({.notAnswered = kAlertFirstButton}, texts);
    question.setWindowModality(Qt::ApplicationModal);
    question.bringToFront();
    view.open(nullptr);
    QCoreApplication::processEvents();
    EXPECT_FALSE(window.isVisible());
    question.reject();
    QCoreApplication::processEvents();
    EXPECT_TRUE(window.isVisible());
}

TEST_F(QVProgressWindowTest, WhatIsOverCannotBeStopped) {
    view.open(nullptr);
    view.show({.phase = ProgressState::Phase::Over});
    EXPECT_FALSE(stopButton->isEnabled());
    EXPECT_FALSE(window.close());
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_EQ(stops, 0);
}

/// Of a label that wraps its lines the width decides on the height.
bool isTooSmall(const QWidget& widget) {
    const auto* const label = qobject_cast<const QLabel*>(&widget);
    if (label && label->wordWrap()) return label->height() < label->heightForWidth(label->width());
    const QSize needed = label ? label->minimumSizeHint() : widget.sizeHint();
    return widget.width() < needed.width() || widget.height() < needed.height();
}

/// No visible label, box or button is smaller than its text needs or sticks out of the window.
/// Labels that cut their text on purpose do not count.
void expectNothingIsClipped(QWidget& window, const char* name) {
    QTest::qWait(50);
    for (const QWidget* const widget : window.findChildren<QWidget*>()) {
        const bool holdsText =
            qobject_cast<const QLabel*>(widget) || qobject_cast<const QAbstractButton*>(widget);
        if (!holdsText || !widget->isVisible()) continue;
        const QRect place(widget->mapTo(&window, QPoint()), widget->size());
        EXPECT_FALSE(isTooSmall(*widget) || !window.rect().contains(place))
            << name << ": " << widget->objectName().toStdString();
    }
}

class LongTexts : public ::testing::TestWithParam<Qt::LayoutDirection> {
 protected:
    void SetUp() override { QApplication::setLayoutDirection(GetParam()); }
    void TearDown() override { QApplication::setLayoutDirection(Qt::LeftToRight); }

    QString text(const char* key) const { return lengthened(m_texts.text(key)); }
    /// With accents and 40 % longer, marked as of a language written in that direction.
    static QString lengthened(QString text) {
        if (text.isEmpty()) return text;
        text.replace(u'a', u'å').replace(u'E', u'É').replace(u'g', u'ğ');
        text += QString(text.size() * 2 / 5, u'~');
        return GetParam() == Qt::RightToLeft ? QChar(0x200F) + text : text;
    }
    const StringTable m_texts{QStringLiteral("en")};
};

TEST_P(LongTexts, FitIntoAQuestion) {
    AlertModel model{.notAnswered = kAlertSecondButton};
    model.topic = AlertModel::Topic::EraseConfirmation;
    model.title = text("undeleted_locked_sing_str") +
                  QStringLiteral("WWWWWWWWWW_without_a_single…_blank_to_break_at_WWWWWWW.jpg");
    model.text = text("delete_mess");
    model.buttons = {text("empty_trash_button"), text("cancel_btn"), QString()};
    model.hasSizeLine = true;
    model.suppressionTitle = text("apply_to_all");
    AlertDialog dialog(model, m_texts);
    dialog.setSizeLine(text("gathering_info"), true);
    dialog.bringToFront();
    expectNothingIsClipped(dialog, "question");
}

TEST_P(LongTexts, FitIntoTheEndReport) {
    AlertModel model{.notAnswered = kAlertFirstButton};
    model.title = lengthened(m_texts.text("user_not_authorized", StringTable::Table::Errors));
    model.details = {
        .title = text("stayed_details"),
        .columns = {text("stayed_name"), text("stayed_reason"), text("stayed_help")},
        .count = 1,
        .row = [this](std::size_t) -> AlertDetail {
            return {{QStringLiteral("A"), text("stayed_busy"), text("stayed_help_busy")}, {}};
        }};
    AlertDialog dialog(model, m_texts);
    dialog.bringToFront();
    expectNothingIsClipped(dialog, "folded");
    dialog.findChild<QToolButton*>(QStringLiteral("details_button"))->click();
    expectNothingIsClipped(dialog, "unfolded");
}

TEST_P(LongTexts, FitIntoTheProgressWindow) {
    const QVNumberUtilities numbers("en_US", m_texts);
    WidgetProgressView view(m_texts, numbers, {});
    view.show({.mainText = text("gathering_bin_info")});
    view.open(nullptr);
    expectNothingIsClipped(view.window(), "counting");
    view.show({.mainText = text("progress_main"),
               .infoText = lengthened(QStringLiteral("A disk whose name goes on ").repeated(3)),
               .figures = ProgressFigures{430'519, 1'000'204, 999'460'000'000}});
    for (auto* const label : view.window().findChildren<QLabel*>()) {
        if (label->objectName().endsWith(QLatin1String("label")))
            label->setText(lengthened(label->text()));
    }
    for (auto* const button : view.window().findChildren<QAbstractButton*>())
        button->setText(lengthened(button->text()));
    expectNothingIsClipped(view.window(), "progress");
}

INSTANTIATE_TEST_SUITE_P(Directions, LongTexts,
                         ::testing::Values(Qt::LeftToRight, Qt::RightToLeft));

}  // namespace
}  // namespace kestrin
