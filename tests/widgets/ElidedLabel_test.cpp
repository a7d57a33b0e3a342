// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/ElidedLabel.h"

#include <gtest/gtest.h>

#include <QTextDocument>

namespace kestrin {

TEST(ElidedLabel, CutsWhereThereIsNoRoomAndShowsTheWholeAgain) {
    ElidedLabel label(Qt::ElideMiddle);
    const int height = label.sizeHint().height();
    label.setFullText(QStringLiteral("one\ntwo"));
    EXPECT_EQ(label.sizeHint().height(), height);
    EXPECT_FALSE(label.text().contains(u'\n'));
    const QString name = QStringLiteral("begin <b>of</b> a long name that goes on to its end");
    label.setFullText(name);
    label.resize(120, 20);
    label.show();
    EXPECT_TRUE(label.isCut());
    EXPECT_TRUE(label.text().startsWith(QLatin1String("begin")));
    EXPECT_TRUE(label.text().endsWith(QLatin1String("end")));
    EXPECT_FALSE(label.toolTip().isEmpty());
    EXPECT_EQ(label.accessibleName(), name);
    label.resize(label.sizeHint());
    EXPECT_EQ(label.text(), name);
    EXPECT_TRUE(label.toolTip().isEmpty());
}

TEST(PlainTexts, AreShownAsTheyStand) {
    const QString name = QStringLiteral("<img src='/etc/hostname'> & \"x\"\nsecond");
    QTextDocument shown;
    shown.setHtml(plainToolTip(name));
    EXPECT_EQ(shown.toPlainText(), name);
    EXPECT_EQ(plainWindowTitle(QStringLiteral("a[*]b")), QStringLiteral("a[*][*]b"));
}

}  // namespace kestrin
