// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/AlertDetailsModel.h"

#include <QFont>
#include <algorithm>
#include <utility>

#include "widgets/ElidedLabel.h"

namespace kestrin {

AlertDetailsModel::AlertDetailsModel(AlertDetails details, QObject* parent)
    : QAbstractTableModel(parent), m_details(std::move(details)) {}

int AlertDetailsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_details.count);
}

int AlertDetailsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_details.columns.size());
}

QVariant AlertDetailsModel::data(const QModelIndex& index, int role) const {
    if (role == Qt::TextAlignmentRole) return alignmentOf(index.column());
    if (role == Qt::FontRole && isHeading(index.row())) {
        QFont bold;
        bold.setBold(true);
        return bold;
    }
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
    const AlertDetail row = m_details.row(static_cast<std::size_t>(index.row()));
    const QString& text = row.cells.at(static_cast<std::size_t>(index.column()));
    if (role == Qt::DisplayRole) return text;
    const bool hasName = index.column() == 0 && !row.fullName.isEmpty();
    return plainToolTip(hasName ? row.fullName : text);
}

QVariant AlertDetailsModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::TextAlignmentRole) return alignmentOf(section);
    return role == Qt::DisplayRole ? m_details.columns.at(static_cast<std::size_t>(section))
                                   : QVariant();
}

bool AlertDetailsModel::isHeading(int row) const {
    return std::ranges::binary_search(m_details.headings, static_cast<std::size_t>(row));
}

QVariant AlertDetailsModel::alignmentOf(int column) const {
    const bool isNumber = m_details.endsWithNumbers && column + 1 == columnCount();
    return QVariant::fromValue((isNumber ? Qt::AlignTrailing : Qt::AlignLeading) |
                               Qt::AlignVCenter);
}

}  // namespace kestrin
