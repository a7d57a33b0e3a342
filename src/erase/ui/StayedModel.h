// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of an alert's list as an item model. Main thread only.
#pragma once

#include <QAbstractTableModel>
#include <vector>

#include "erase/AlertPanel.h"

namespace kestrin {

class StringTable;

/// Its columns are the name, why the entry stayed, and what would help. Every answer comes from
/// memory, however many rows there are.
class StayedModel : public QAbstractTableModel {
    Q_OBJECT

 public:
    enum Column { Name, Reason, Help, ColumnCount };

    StayedModel(std::vector<AlertDetail> rows, const StringTable& texts, QObject* parent);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    /// The text of a cell. As its tool tip, the whole path for a name and the text itself for the
    /// other columns.
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
    const std::vector<AlertDetail> m_rows;
    const StringTable& m_texts;
};

}  // namespace kestrin
