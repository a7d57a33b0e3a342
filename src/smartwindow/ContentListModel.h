// SPDX-License-Identifier: GPL-3.0-or-later
// The entries of one trash as rows of a table. Main thread.
#pragma once

#include <QAbstractTableModel>
#include <memory>
#include <string_view>
#include <vector>

#include "inventory/QVSmartWindowItem.h"
#include "smartwindow/KindIcons.h"
#include "smartwindow/LabelReader.h"
#include "smartwindow/SmartWindowServices.h"

namespace kestrin {

/// How a command changes the marks of entries.
enum class MarkChange { Toggle, Unmark, Mark };

/// A table over a list that others sort and filter in the background and hand over as a whole. It
/// answers from memory alone and so never waits for a disk. It does not sort: `sort` only tells
/// what the user wants.
class ContentListModel : public QAbstractTableModel {
    Q_OBJECT

 public:
    enum Column { Check, Name, Size, DateAdded, ColumnCount };
    enum Role {
        SecondsRole = Qt::UserRole + 1,  ///< DateAdded: double, since 1 January 2001; 0 unknown
        OriginalFolderRole,  ///< QString fit to be read, empty when the folder is not known
        IsHiddenRole,        ///< bool: the row is shown dimmed
        LabelRole,           ///< int: the number of the label; 0 for none, and until it was read
    };

    /// The services must outlive the model.
    explicit ContentListModel(const SmartWindowServices& services, QObject* parent = nullptr);

    /// The key of a column, of ColumnKey, and the column of a key; Name for any other key.
    static std::string_view keyOf(int column);
    static int columnOf(std::string_view key);

    // --- Rows ---

    /// Never nullptr.
    const SharedItemList& rows() const { return m_rows; }
    /// Shows other rows, which resets the model: whoever shows it restores selection and position.
    void setRows(SharedItemList rows);
    /// Draws anew what changes while folders are measured.
    void figuresChanged();
    /// The entry of a row; nullptr for a row that is not there.
    std::shared_ptr<QVSmartWindowItem> itemAt(int row) const;
    /// The row of the very same entry, by a search; -1 when it has none.
    int rowOf(const QVSmartWindowItem* item) const;

    // --- Marks ---

    /// While the marks are locked, neither a check box nor changeMarks changes one.
    void setMarksAreLocked(bool areLocked);
    bool marksAreLocked() const { return m_marksAreLocked; }
    /// Changes the marks of rows; false when all of them stayed as they were.
    bool changeMarks(const std::vector<int>& rows, MarkChange change);
    /// To be called when others changed marks: draws the check boxes anew.
    void marksChanged();

    // --- QAbstractTableModel ---

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    void sort(int column, Qt::SortOrder order) override;

 Q_SIGNALS:
    /// The check box of an entry changed its mark.
    void itemWasChecked(const std::shared_ptr<QVSmartWindowItem>& item);
    void sortWasRequested(int column, Qt::SortOrder order);

 private:
    QString toolTip(const QVSmartWindowItem& item, int label) const;
    QVariant nameData(const QVSmartWindowItem& item, int role) const;
    QString spokenName(const QVSmartWindowItem& item) const;
    QVariant checkData(const QVSmartWindowItem& item, int role) const;
    QVariant sizeData(const QVSmartWindowItem& item, int role) const;
    QVariant dateData(const QVSmartWindowItem& item, int role) const;
    void columnChanged(int column, int first, int last);

    const SmartWindowServices& m_services;
    mutable KindIcons m_icons;
    mutable LabelReader m_labels;
    SharedItemList m_rows = std::make_shared<ItemList>();
    bool m_marksAreLocked = false;
};

}  // namespace kestrin
