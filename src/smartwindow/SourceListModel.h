// SPDX-License-Identifier: GPL-3.0-or-later
// What the list of the trashes shows: a row for each source, and below them a disabled row for each
// volume whose trash may not be used now. It answers from memory. Main thread.
#pragma once

#include <QAbstractListModel>
#include <QPixmap>
#include <QString>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "base/FileUrl.h"
#include "fsutil/QVFilesUtilities.h"
#include "inventory/QVSourceItem.h"

namespace kestrin {

struct SmartWindowServices;

/// Qt::DisplayRole is the volume's name, Qt::DecorationRole a QPixmap of 64 by 64 points,
/// Qt::AccessibleTextRole a sentence of name, info and marks. Qt::CheckStateRole is absent where a
/// row has no check box; a row that is not enabled has a disabled one. Setting it stands for a
/// click on the check box, whatever the value.
class SourceListModel : public QAbstractListModel {
    Q_OBJECT

 public:
    enum Role {
        InfoRole = Qt::UserRole + 1,  ///< QString: count and size, or why there is nothing to do
        MarkedTextRole,               ///< QString: the badge of what is marked; empty for none
        IsGatheringRole,              ///< bool: folders are still being measured
    };
    /// A volume that has no source: read-only, with a trash that may not be used, or silent since
    /// it was mounted.
    struct DisabledRow {
        TrashLocation location;  ///< without a trash
        QString note;            ///< why
        friend bool operator==(const DisabledRow& one, const DisabledRow& other) {
            return one.location.volumeURL == other.location.volumeURL &&
                   one.location.volumeName == other.location.volumeName && one.note == other.note;
        }
    };

    explicit SourceListModel(const SmartWindowServices& services, QObject* parent = nullptr);

    const SourceItems& sourceItems() const { return m_sources; }
    /// -1 when it is not listed.
    int rowOf(const QVSourceItem* source) const;
    /// Whether the row of a source can be chosen: its trash is not empty.
    static bool canBeSelected(const QVSourceItem& source) { return !source.trashIsEmpty; }

    void insertSource(int row, std::shared_ptr<QVSourceItem> source);
    /// Removes the row and returns its source.
    std::shared_ptr<QVSourceItem> takeSource(int row);
    void setDisabledRows(std::vector<DisabledRow> rows);
    /// Has views draw the row of the source anew.
    void reload(const QVSourceItem& source);
    /// While false no check box can be used: an erase is under way.
    void setTakesChecks(bool takesChecks);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

 Q_SIGNALS:
    /// The check box of a source was used.
    void checkBtnClicked(const std::shared_ptr<QVSourceItem>& source);

 private:
    enum class Picture { Full, Empty, Disabled };

    QVariant sourceData(const QVSourceItem& source, int role) const;
    QVariant disabledData(const DisabledRow& row, int role) const;
    bool canBeChecked(const QVSourceItem& source) const;
    QString info(const QVSourceItem& source) const;
    QString markedText(const QVSourceItem& source) const;
    QString accessibleText(const QVSourceItem& source) const;
    QPixmap picture(const TrashLocation& location, Picture kind) const;
    void forgetPictures(const FileUrl& volume);

    const SmartWindowServices& m_services;
    SourceItems m_sources;
    std::vector<DisabledRow> m_disabled;
    bool m_takesChecks = true;
    mutable std::map<std::pair<FileUrl, Picture>, QPixmap> m_pictures;  ///< by volume
};

}  // namespace kestrin
