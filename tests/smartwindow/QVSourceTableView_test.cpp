// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVSourceTableView.h"

#include <gtest/gtest.h>

#include <QStandardItemModel>
#include <QTest>

namespace kestrin {
namespace {

TEST(QVSourceTableView, KeepsARowSelectedWhateverIsClicked) {
    QStandardItemModel model;
    for (const auto* name : {"File System", "Camera", "Backup"})
        model.appendRow(new QStandardItem(QLatin1String(name)));
    model.item(1)->setFlags(Qt::NoItemFlags);
    QVSourceTableView view;
    view.setModel(&model);
    view.resize(200, 300);
    view.show();
    const auto click = [&](int row, Qt::KeyboardModifiers modifiers = {}) {
        const QPoint at = row < 0 ? QPoint(20, 290) : view.visualRect(model.index(row, 0)).center();
        QTest::mouseClick(view.viewport(), Qt::LeftButton, modifiers, at);
        const auto rows = view.selectionModel()->selectedRows();
        return rows.isEmpty() ? -1 : rows.first().row();
    };
    EXPECT_EQ(click(0), 0);
    EXPECT_EQ(click(-1), 0) << "no row was hit";
    EXPECT_EQ(click(0, Qt::ControlModifier), 0);
    EXPECT_EQ(click(1), 0) << "that row cannot be selected";
    EXPECT_EQ(click(2), 2);
    view.setCurrentIndex(model.index(0, 0));
    QTest::keyClick(&view, Qt::Key_Down);
    EXPECT_EQ(view.currentIndex().row(), 2) << "rows that cannot be selected are passed over";
}

}  // namespace
}  // namespace kestrin
