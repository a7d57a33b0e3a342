// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/PreviewPanel.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QTest>
#include <QToolBar>
#include <algorithm>
#include <map>
#include <set>

#include "smartwindow/preview/PreviewCollectionView.h"
#include "smartwindow/preview/PreviewZoom.h"
#include "smartwindow/preview/support/PreviewWorld.h"
#include "support/TestEnvironment.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace {

struct PreviewPanelTest : ::testing::Test, test::PreviewWorld {
    void SetUp() override {
        window.resize(600, 400);
        window.show();
        select({"one", "two", "three"});
    }
    void select(const std::vector<std::string>& names) {
        items.clear();
        for (const auto& name : names) {
            const auto& entry = entries.try_emplace(name, name).first->second.entry;
            items.push_back(std::make_shared<QVPreviewItem>(entry));
        }
        panel.reloadData();
    }
    PreviewPanelSource source() {
        return {[this] { return items.size(); }, [this](std::size_t index) { return items[index]; },
                [this](QKeyEvent& event) {
                    keys.insert(event.key());
                    return true;
                },
                [this](const QVPreviewItem&) { return origin; },
                [](const QVPreviewItem&) { return QPixmap(); }};
    }
    PreviewPanel::Outlets outlets() {
        return {[this](PreviewPanel&) { return accepts; },
                [this](PreviewPanel& own) {
                    told += own.isVisible() ? "late begin " : "begin ";
                    own.setSource(source());
                },
                [this](PreviewPanel&) { told += "end "; },
                [this](PreviewPanel&) { told += "title "; },
                [this](const auto& entry) { told += "open " + entry->name + " "; },
                [this](const auto& entry) { told += "reveal " + entry->name + " "; }};
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(panel.windowHandle(), key, modifiers);
    }
    void open() {
        panel.makeKeyAndOrderFront();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&panel));
    }
    void answerWith(QSize natural) {
        ASSERT_TRUE(test::waitFor([this] { return !asked.empty() && asked.back().isWanted(); }));
        Preview preview = test::picture({10, 10});
        preview.facts.naturalWidth = static_cast<std::uint32_t>(natural.width());
        preview.facts.naturalHeight = static_cast<std::uint32_t>(natural.height());
        answer(std::move(preview));
    }
    QAction* tool(const QString& text) {
        const auto tools = panel.findChild<QToolBar*>()->actions();
        return *std::ranges::find(tools, text, &QAction::text);
    }

    std::map<std::string, test::PreviewedEntry> entries;
    std::vector<std::shared_ptr<QVPreviewItem>> items;
    std::set<int> keys;
    QRect origin;
    bool accepts = true;
    std::string told;
    QWidget window;
    PreviewPanel panel{services, outlets(), window};
};

TEST_F(PreviewPanelTest, comesAndGoesUnderTheControlOfItsWindow) {
    accepts = false;
    panel.makeKeyAndOrderFront();
    EXPECT_FALSE(panel.isOpen());
    accepts = true;
    open();
    EXPECT_EQ(panel.windowTitle(), QStringLiteral("one"));
    EXPECT_EQ(panel.windowHandle()->transientParent(), window.windowHandle());
    EXPECT_EQ(panel.windowType(), Qt::Dialog) << "of others no window manager hears that";
    tool(QStringLiteral("Show in File Manager"))->trigger();
    press(Qt::Key_Space);
    EXPECT_FALSE(panel.isVisible());
    open();
    EXPECT_TRUE(panel.close());
    EXPECT_EQ(told, "begin reveal one end begin title end ");
    EXPECT_TRUE(window.isVisible());
}

TEST_F(PreviewPanelTest, walksThroughSeveralItemsAndLeavesOtherKeysToTheList) {
    open();
    press(Qt::Key_Left);
    press(Qt::Key_Right);
    EXPECT_EQ(panel.windowTitle(), QStringLiteral("two"));
    const auto labels = panel.findChild<QToolBar*>()->findChildren<QLabel*>();
    EXPECT_TRUE(std::ranges::any_of(
        labels, [](auto* label) { return label->text() == QLatin1String("2 of 3"); }));
    panel.setLayoutDirection(Qt::RightToLeft);
    press(Qt::Key_Left);
    press(Qt::Key_Left);
    EXPECT_EQ(panel.currentPreviewItemIndex(), 2U);
    press(Qt::Key_Down);
    press(Qt::Key_Space, Qt::ControlModifier);
    select({"two"});
    press(Qt::Key_Right);
    EXPECT_EQ(keys, (std::set<int>{Qt::Key_Down, Qt::Key_Control, Qt::Key_Space, Qt::Key_Right}));
    EXPECT_TRUE(panel.isOpen());
}

TEST_F(PreviewPanelTest, followsTheSelectionAndStaysWhenNothingIsLeftOfIt) {
    open();
    press(Qt::Key_Right);
    select({"three", "zero", "two"});
    EXPECT_EQ(panel.currentPreviewItemIndex(), 2U) << "it stays at its item";
    select({"zero"});
    EXPECT_EQ(panel.windowTitle(), QStringLiteral("zero"));
    ItemDetails details;
    details.kind = QStringLiteral("Text");
    details.dateModified = QStringLiteral("yesterday");
    askedDetails.back().answer(details);
    EXPECT_EQ(panel.findChild<ElidedLabel*>()->fullText(),
              QStringLiteral("Text – changed yesterday"));
    EXPECT_FALSE(tool(QStringLiteral("Next"))->isVisible());
    items.clear();
    panel.reloadData();
    EXPECT_EQ(panel.windowTitle(), QStringLiteral("Quick Look"));
    EXPECT_FALSE(tool(QStringLiteral("Open with Default Program"))->isEnabled());
    press(Qt::Key_Right);
    EXPECT_TRUE(panel.isVisible());
    select({"a \n name [*]"});
    EXPECT_EQ(panel.windowTitle(), QStringLiteral("a \\n name [*][*]"));
}

TEST_F(PreviewPanelTest, showsSeveralItemsInAnIndexSheetWhereOneIsChosen) {
    open();
    press(Qt::Key_Return, Qt::ControlModifier);
    auto* const sheet = panel.findChild<PreviewCollectionView*>();
    ASSERT_TRUE(sheet && sheet->isVisible());
    press(Qt::Key_Right);
    EXPECT_EQ(panel.windowTitle(), QStringLiteral("two"));
    press(Qt::Key_Return);
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_EQ(panel.windowTitle(), QStringLiteral("two"));
    press(Qt::Key_Return, Qt::ControlModifier);
    select({"two", "zero"});
    EXPECT_EQ(sheet->currentIndex(), 0U);
    EXPECT_TRUE(sheet->isVisible());
    select({"zero"});
    EXPECT_FALSE(sheet->isVisible()) << "a single one needs none";
}

TEST_F(PreviewPanelTest, leavesTheFullScreenBeforeItCloses) {
    open();
    press(Qt::Key_F11);
    EXPECT_TRUE(panel.isFullScreen());
    press(Qt::Key_Escape);
    EXPECT_FALSE(panel.isFullScreen());
    EXPECT_TRUE(panel.isOpen());
    press(Qt::Key_F11);
    press(Qt::Key_Space);
    EXPECT_FALSE(panel.isOpen());
    open();
    EXPECT_FALSE(panel.isFullScreen());
    press(Qt::Key_Escape);
    EXPECT_FALSE(panel.isOpen());
}

TEST_F(PreviewPanelTest, growsToItsContentUntilTheUserSizesIt) {
    open();
    const QRect screen = window.screen()->availableGeometry();
    const QSize first = panel.size();
    answerWith({20, 10});
    EXPECT_EQ(panel.size(), first);
    press(Qt::Key_Right);
    answerWith({9000, 20});
    const QSize wide = panel.size();
    EXPECT_GT(wide.width(), first.width());
    EXPECT_EQ(wide.height(), first.height());
    EXPECT_TRUE(screen.contains(panel.geometry()));
    panel.resize(first);
    press(Qt::Key_Right);
    answerWith({9000, 9000});
    EXPECT_EQ(panel.size(), first);
    panel.orderOut();
    open();
    EXPECT_EQ(panel.size(), first) << "of nothing yet";
}

TEST_F(PreviewPanelTest, comesOutOfItsRowAndMayCloseOnTheWay) {
    origin = QRect(50, 60, 70, 20);
    panel.makeKeyAndOrderFront();
    EXPECT_TRUE(panel.isOpen());
    EXPECT_FALSE(panel.isVisible()) << "it is on its way";
    panel.zoomOut();
    EXPECT_FALSE(panel.isOpen());
    QTest::qWait(0);
    panel.makeKeyAndOrderFront();
    EXPECT_TRUE(test::waitFor([this] { return panel.isVisible(); }));
    const auto zooms = [] {
        return std::ranges::any_of(QApplication::topLevelWidgets(), [](QWidget* widget) {
            return qobject_cast<PreviewZoom*>(widget);
        });
    };
    EXPECT_TRUE(test::waitFor([&] { return !zooms(); }));
    press(Qt::Key_Escape);
    EXPECT_FALSE(panel.isVisible());
    EXPECT_TRUE(zooms());
    EXPECT_TRUE(test::waitFor([&] { return !zooms(); }));
}

}  // namespace
}  // namespace kestrin
