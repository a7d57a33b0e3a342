// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/QVProgressWindow.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QWindow>
#include <memory>

#include "base/StringTable.h"
#include "erase/ui/AnimatedProgressBar.h"
#include "erase/ui/WidgetProgressView.h"

namespace kestrin {
namespace {

class QVProgressWindowTest : public ::testing::Test {
 protected:
    template <typename Widget>
    Widget* find(const char* name) {
        return view.window().findChild<Widget*>(QLatin1String(name));
    }

    const StringTable texts{QStringLiteral("en")};
    int stops = 0;
    WidgetProgressView view{texts, [this] { ++stops; }};
};

TEST_F(QVProgressWindowTest, StopWorksOnceAndTheMainLineGoesOnSayingSo) {
    view.setMainText(QStringLiteral("Erasing"));
    view.show();
    QTest::mouseClick(find<QPushButton>("stop"), Qt::LeftButton);
    EXPECT_EQ(stops, 1);
    EXPECT_FALSE(find<QPushButton>("stop")->isEnabled());
    const QString stopping = texts.text("stopping");
    EXPECT_EQ(view.mainText(), stopping);
    view.setMainText(QStringLiteral("Erasing"));
    EXPECT_EQ(view.mainText(), stopping);
    QTest::keyClick(&view.window(), Qt::Key_Escape);
    EXPECT_EQ(stops, 1);
}

TEST_F(QVProgressWindowTest, EscapeAndClosingStopAndTheWindowStaysUntilTheEnd) {
    view.show();
    EXPECT_FALSE(view.window().close());
    EXPECT_TRUE(view.window().isVisible());
    EXPECT_EQ(stops, 1);
    view.close();
    EXPECT_FALSE(view.window().isVisible());
    EXPECT_TRUE(view.window().close()) << "a hidden window keeps the program from ending";

    WidgetProgressView other(texts, [this] { ++stops; });
    other.show();
    QTest::keyClick(&other.window(), Qt::Key_Escape);
    EXPECT_EQ(stops, 2);
}

TEST_F(QVProgressWindowTest, NoFieldHasTheFocusAndAStrayKeyStopsNothing) {
    view.show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&view.window()));
    EXPECT_EQ(QApplication::focusWidget(), &view.window());
    QTest::keyClick(&view.window(), Qt::Key_Return);
    QTest::keyClick(&view.window(), Qt::Key_Space);
    EXPECT_EQ(stops, 0);
    QTest::keyClick(&view.window(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), find<QPushButton>("stop"));
}

TEST_F(QVProgressWindowTest, FiguresComeAndGoTogetherWithoutMovingTheRest) {
    view.show();
    const QSize size = view.window().size();
    view.hideInfoSizeFields(true);
    for (const char* const name : {"count_label", "count", "size_label", "size"})
        EXPECT_TRUE(find<QLabel>(name)->isHidden()) << name;
    QApplication::processEvents();
    EXPECT_EQ(view.window().size(), size);
    view.hideInfoSizeFields(false);
    for (const char* const name : {"count_label", "count", "size_label", "size"})
        EXPECT_FALSE(find<QLabel>(name)->isHidden()) << name;
}

TEST_F(QVProgressWindowTest, FormatOfTheCountTakesTwoFigures) {
    EXPECT_EQ(view.countFormat().count(QLatin1String("%@")), 2);
    EXPECT_EQ(&view.spinner(), &view.window().bar());
}

TEST_F(QVProgressWindowTest, IsWindowModalOnItsParentAndOutlivesIt) {
    auto parent = std::make_unique<QWidget>();
    parent->setGeometry(100, 100, 800, 500);
    parent->show();
    view.setInfoText(QString(300, u'x'));
    view.showAsSheet(parent.get());
    EXPECT_EQ(view.window().width(), 420);
    EXPECT_EQ(view.window().windowModality(), Qt::WindowModal);
    EXPECT_EQ(view.window().windowHandle()->transientParent(), parent->windowHandle());
    EXPECT_NEAR(view.window().geometry().center().x(), parent->geometry().center().x(), 2);
    parent.reset();
    view.setMainText(QStringLiteral("still there"));
    EXPECT_TRUE(view.window().isVisible());
}

}  // namespace
}  // namespace kestrin
