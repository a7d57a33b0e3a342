// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/QVQuickLookView.h"

#include <gtest/gtest.h>

#include <QTest>

#include "smartwindow/preview/support/PreviewWorld.h"

namespace kestrin {
namespace {

using test::picture;
using test::PreviewedEntry;

class QVQuickLookViewTest : public ::testing::Test {
 protected:
    QVQuickLookViewTest() {
        view.resize(300, 300);
        view.show();
    }
    QColor middle() { return view.grab().toImage().pixelColor(150, 130); }

    test::PreviewWorld world;
    QVQuickLookView view{world.services};
    PreviewedEntry first{"first.png"}, second{"second.png"};
};

TEST_F(QVQuickLookViewTest, NeverShowsWhatBelongsToAnotherEntry) {
    view.setPreviewItem(first.item);
    EXPECT_TRUE(world.asked.back().isWanted());
    const auto red = world.answer(picture({400, 400}, Qt::red));
    EXPECT_EQ(middle(), QColor(Qt::red));
    view.setPreviewItem(second.item);
    EXPECT_NE(middle(), QColor(Qt::red)) << "the icon stands at once";
    EXPECT_TRUE(red.expired());
    view.setPreviewItem(first.item);
    EXPECT_FALSE(world.asked[1].isWanted()) << "what was asked for the second is withdrawn";
    EXPECT_TRUE(world.asked[2].isWanted());
    world.answer(picture({400, 400}, Qt::blue));
    view.setPreviewItem(std::make_shared<QVPreviewItem>(first.entry, 7));
    EXPECT_EQ(middle(), QColor(Qt::blue)) << "it is the same entry in another row";
    EXPECT_EQ(world.asked.size(), 3U);
    view.setPreviewItem(second.item);
    PreviewedEntry gone("gone.png");
    gone.entry.reset();
    view.setPreviewItem(gone.item);
    EXPECT_FALSE(world.asked.back().isWanted()) << "an entry that has gone clears the view";
}

}  // namespace
}  // namespace kestrin
