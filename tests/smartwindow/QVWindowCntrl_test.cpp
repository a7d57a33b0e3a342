// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QTest>

#include "smartwindow/CollapsingSplitter.h"
#include "smartwindow/WindowFrame.h"

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
    EXPECT_EQ(frameOnScreens(QRect(-900, 500, 980, 620), {left}), QRect(0, 180, 980, 620));
    EXPECT_EQ(frameOnScreens(QRect(1100, 700, 980, 620), {left}), QRect(1100, 700, 980, 620))
        << "its title can be taken hold of";
    EXPECT_EQ(frameOnScreens(QRect(0, 0, 980, 620), {left}), QRect(0, 30, 980, 620))
        << "its title is behind a panel";
    EXPECT_EQ(frameOnScreens(QRect(100, 100, 5000, 5000), {left}), QRect(100, 100, 1280, 770));
    EXPECT_EQ(frameOnScreens(onRight, {}), onRight);
}

TEST(CollapsingSplitter, TellsWhenItsPaneIsFoldedAway) {
    auto* const other = new QWidget;
    other->setMinimumWidth(50);
    CollapsingSplitter splitter(new QWidget, other, 0);
    std::vector<bool> told;
    QObject::connect(&splitter, &CollapsingSplitter::collapseDidChange,
                     [&](bool isCollapsed) { told.push_back(isCollapsed); });
    splitter.resize(500, 100);
    splitter.setSizes({180, 319});
    splitter.show();
    splitter.resize(600, 100);
    EXPECT_TRUE(told.empty());
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

}  // namespace
}  // namespace kestrin
