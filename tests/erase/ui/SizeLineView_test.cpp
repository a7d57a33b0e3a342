// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/SizeLineView.h"

#include <gtest/gtest.h>

#include "erase/ui/BusySpinner.h"
#include "erase/ui/ElidedLabel.h"

namespace kestrin {
namespace {

struct Parts {
    BusySpinner* spinner;
    ElidedLabel* text;
};

Parts partsOf(const SizeLineView& view) {
    return {view.findChild<BusySpinner*>(), view.findChild<ElidedLabel*>()};
}

TEST(SizeLineView, HasTheDescribedMeasures) {
    SizeLineView view;
    view.resize(view.sizeHint());
    view.show();
    EXPECT_EQ(view.size(), QSize(460, 25));
    EXPECT_EQ(partsOf(view).spinner->geometry(), QRect(0, 4, 16, 16));
    EXPECT_EQ(partsOf(view).text->x(), 24);
    EXPECT_EQ(partsOf(view).text->size(), QSize(435, 20));

    view.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(partsOf(view).spinner->geometry().right(), 459);
    EXPECT_EQ(partsOf(view).text->geometry().right(), 435);
}

TEST(SizeLineView, GrowsWithAFontThatDoesNotFit) {
    SizeLineView view;
    QFont font = view.font();
    font.setPixelSize(40);
    view.setFont(font);
    view.resize(view.sizeHint());
    view.show();
    EXPECT_GE(partsOf(view).text->height(), partsOf(view).text->fontMetrics().height());
    EXPECT_TRUE(view.rect().contains(partsOf(view).text->geometry()));
}

TEST(SizeLineView, ItsSpinnerGoesWhenTheFiguresCome) {
    SizeLineView view;
    view.setLine(QStringLiteral("counting"), true);
    view.show();
    EXPECT_TRUE(partsOf(view).spinner->isTurning());
    view.setLine(QStringLiteral("12 items"), false);
    EXPECT_FALSE(partsOf(view).spinner->isVisible());
    EXPECT_FALSE(partsOf(view).spinner->isTurning());
    EXPECT_EQ(view.line(), QStringLiteral("12 items"));
}

TEST(SizeLineView, CutsAtTheHeadAndCanBeSelected) {
    SizeLineView view;
    view.resize(view.sizeHint());
    view.show();
    view.setLine(QString(200, u'x') + QStringLiteral(" 3.40 GB"), false);
    EXPECT_TRUE(partsOf(view).text->text().endsWith(QLatin1String("3.40 GB")));
    EXPECT_TRUE(partsOf(view).text->isCut());
    EXPECT_TRUE(partsOf(view).text->textInteractionFlags() & Qt::TextSelectableByMouse);
}

}  // namespace
}  // namespace kestrin
