// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVSourceTableView.h"

#include <gtest/gtest.h>

#include <QStandardItemModel>
#include <QTest>

#include "smartwindow/QVSourceTableCellView.h"
#include "smartwindow/SourceListModel.h"

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

TEST(QVSourceTableCellView, ChecksByItsBoxAndByKeyboardAndSelectsNothingThen) {
    QStandardItemModel model;
    for (const auto* name : {"File System", "Camera"}) {
        auto* const item = new QStandardItem(QLatin1String(name));
        item->setCheckable(true);
        item->setData(true, SourceListModel::IsGatheringRole);
        item->setData(QStringLiteral("12 - 1.2 GB"), SourceListModel::MarkedTextRole);
        model.appendRow(item);
    }
    QVSourceTableView view;
    view.setItemDelegate(new QVSourceTableCellView(QStringLiteral("Measuring…"), &view));
    view.setModel(&model);
    for (const auto direction : {Qt::LeftToRight, Qt::RightToLeft}) {
        view.setLayoutDirection(direction);
        view.resize(270, 300);
        view.show();
        view.setCurrentIndex(model.index(0, 0));
        const QRect row = view.visualRect(model.index(1, 0));
        EXPECT_EQ(row.height(), 90);
        const bool isMirrored = direction == Qt::RightToLeft;
        const QPoint box(isMirrored ? row.right() - 17 : row.left() + 17, row.center().y());
        const auto isChecked = [&](int at) { return model.item(at)->checkState() == Qt::Checked; };
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, box);
        EXPECT_TRUE(isChecked(1));
        EXPECT_EQ(view.currentIndex().row(), 0);
        QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, box);
        EXPECT_TRUE(isChecked(1)) << "a double click is two clicks";
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, row.center());
        EXPECT_EQ(view.currentIndex().row(), 1);
        QTest::keyClick(&view, Qt::Key_Space);
        EXPECT_TRUE(isChecked(1));
        QTest::keyClick(&view, Qt::Key_Space, Qt::ControlModifier);
        EXPECT_FALSE(isChecked(1));
    }
}

}  // namespace
}  // namespace kestrin
