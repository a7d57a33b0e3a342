// SPDX-License-Identifier: GPL-3.0-or-later
// The list that an alert unfolds as an item model. Main thread only.
#pragma once

#include <QAbstractTableModel>

#include "erase/AlertPanel.h"

namespace kestrin {

/// Asks for a row each time that it is looked at, and keeps none.
class AlertDetailsModel : public QAbstractTableModel {
    Q_OBJECT

 public:
    AlertDetailsModel(AlertDetails details, QObject* parent);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    /// The text of a cell, also as its tool tip, which for the first cell is the whole name where
    /// the row has one.
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
    bool isHeading(int row) const;
    QVariant alignmentOf(int column) const;

    const AlertDetails m_details;
};

}  // namespace kestrin
