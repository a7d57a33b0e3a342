// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/StayedModel.h"

#include <utility>

#include "base/StringTable.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {

StayedModel::StayedModel(std::vector<AlertDetail> rows, const StringTable& texts, QObject* parent)
    : QAbstractTableModel(parent), m_rows(std::move(rows)), m_texts(texts) {}

int StayedModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int StayedModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant StayedModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
    const AlertDetail& row = m_rows.at(static_cast<std::size_t>(index.row()));
    const QString& text = index.column() == Name     ? row.name
                          : index.column() == Reason ? row.reason
                                                     : row.help;
    if (role == Qt::DisplayRole) return text;
    const bool hasPath = index.column() == Name && !row.fullName.isEmpty();
    return plainToolTip(hasPath ? row.fullName : text);
}

QVariant StayedModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    switch (section) {
        case Name:
            return m_texts.text("stayed_name"_key);
        case Reason:
            return m_texts.text("stayed_reason"_key);
        default:
            return m_texts.text("stayed_help"_key);
    }
}

}  // namespace kestrin
