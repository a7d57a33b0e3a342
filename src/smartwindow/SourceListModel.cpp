// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/SourceListModel.h"

#include <QGuiApplication>
#include <QPainter>
#include <algorithm>
#include <iterator>

#include "base/StringTable.h"
#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"
#include "platform/desktop/ui/TrashIcon.h"
#include "smartwindow/SmartWindowServices.h"

namespace kestrin {

namespace {

constexpr int kPictureSize = 64;
constexpr qreal kGhostOpacity = 0.3;
constexpr std::uint64_t kThousand = 1000;
constexpr std::uint64_t kMillion = 1'000'000;

Qt::CheckState checkStateOf(const QVSourceItem& source) {
    if (source.markedStatus == 0) return Qt::Unchecked;
    return source.markedStatus > 0 ? Qt::Checked : Qt::PartiallyChecked;
}

}  // namespace

SourceListModel::SourceListModel(const SmartWindowServices& services, QObject* parent)
    : QAbstractListModel(parent), m_services(services) {}

int SourceListModel::rowOf(const QVSourceItem* source) const {
    const auto found = std::ranges::find(m_sources, source, &std::shared_ptr<QVSourceItem>::get);
    return found == m_sources.end() ? -1 : static_cast<int>(found - m_sources.begin());
}

// --- Changes ---

void SourceListModel::insertSource(int row, std::shared_ptr<QVSourceItem> source) {
    beginInsertRows({}, row, row);
    m_sources.insert(m_sources.begin() + row, std::move(source));
    endInsertRows();
}

std::shared_ptr<QVSourceItem> SourceListModel::takeSource(int row) {
    beginRemoveRows({}, row, row);
    const auto place = m_sources.begin() + row;
    std::shared_ptr<QVSourceItem> source = std::move(*place);
    m_sources.erase(place);
    endRemoveRows();
    forgetPictures(source->volumeUrl());
    return source;
}

void SourceListModel::setDisabledRows(std::vector<DisabledRow> rows) {
    if (rows == m_disabled) return;
    const auto first = static_cast<int>(m_sources.size());
    if (!m_disabled.empty()) {
        for (const DisabledRow& row : m_disabled)
            forgetPictures(row.location.volumeURL);
        beginRemoveRows({}, first, rowCount() - 1);
        m_disabled.clear();
        endRemoveRows();
    }
    if (rows.empty()) return;
    beginInsertRows({}, first, first + static_cast<int>(rows.size()) - 1);
    m_disabled = std::move(rows);
    endInsertRows();
}

void SourceListModel::reload(const QVSourceItem& source) {
    const QModelIndex changed = index(rowOf(&source));
    if (changed.isValid()) Q_EMIT dataChanged(changed, changed);
}

void SourceListModel::setTakesChecks(bool takesChecks) {
    m_takesChecks = takesChecks;
    if (rowCount() != 0) Q_EMIT dataChanged(index(0), index(rowCount() - 1));
}

// --- What views ask ---

int SourceListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_sources.size() + m_disabled.size());
}

QVariant SourceListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const auto row = static_cast<std::size_t>(index.row());
    return row < m_sources.size() ? sourceData(*m_sources[row], role)
                                  : disabledData(m_disabled[row - m_sources.size()], role);
}

QVariant SourceListModel::sourceData(const QVSourceItem& source, int role) const {
    switch (role) {
        case Qt::DisplayRole:
            return source.displayName;
        case Qt::DecorationRole:
            return picture(source.location, source.trashIsEmpty ? Picture::Empty : Picture::Full);
        case Qt::CheckStateRole:
            return source.note.isEmpty() ? QVariant(checkStateOf(source)) : QVariant();
        case Qt::AccessibleTextRole:
            return accessibleText(source);
        case InfoRole:
            return info(source);
        case MarkedTextRole:
            return markedText(source);
        case IsGatheringRole:
            return source.gatheringSizeCount != 0 && source.note.isEmpty();
        default:
            return {};
    }
}

QVariant SourceListModel::disabledData(const DisabledRow& row, int role) const {
    switch (role) {
        case Qt::DisplayRole:
            return displayName(row.location.volumeName);
        case Qt::DecorationRole:
            return picture(row.location, Picture::Disabled);
        case Qt::AccessibleTextRole:
            return StringTable::filled(m_services.texts.text("source_row"_key),
                                       {displayName(row.location.volumeName), row.note});
        case InfoRole:
            return row.note;
        case MarkedTextRole:
            return QString();
        case IsGatheringRole:
            return false;
        default:
            return {};
    }
}

bool SourceListModel::canBeChecked(const QVSourceItem& source) const {
    return m_takesChecks && source.note.isEmpty() && !source.trashIsEmpty;
}

bool SourceListModel::setData(const QModelIndex& index, const QVariant& /*value*/, int role) {
    if (role != Qt::CheckStateRole || !flags(index).testFlag(Qt::ItemIsUserCheckable)) return false;
    // A copy: the answer to the click may change the list.
    const auto source = m_sources[static_cast<std::size_t>(index.row())];
    Q_EMIT checkBtnClicked(source);
    return true;
}

Qt::ItemFlags SourceListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    const auto row = static_cast<std::size_t>(index.row());
    Qt::ItemFlags flags = Qt::ItemNeverHasChildren;
    if (row >= m_sources.size() || !canBeSelected(*m_sources[row])) return flags;
    flags |= Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (canBeChecked(*m_sources[row])) flags |= Qt::ItemIsUserCheckable;
    return flags;
}

// --- Texts ---

QString SourceListModel::info(const QVSourceItem& source) const {
    const std::uint64_t count = source.count;
    QString figures = m_services.texts.text("trash_empty"_key);
    if (!source.trashIsEmpty) {
        figures = StringTable::filled(
            m_services.texts.text("items_size"_key, StringTable::Table::Default,
                                  static_cast<long long>(count)),
            {m_services.numbers.numberToFormatString(static_cast<double>(count)),
             m_services.numbers.sizeToFormatString(source.size, 4, true)});
    }
    if (source.note.isEmpty()) return figures;
    return StringTable::filled(m_services.texts.text("app_row_note"_key), {source.note, figures});
}

QString SourceListModel::markedText(const QVSourceItem& source) const {
    const std::uint64_t marked = source.markedCount;
    if (marked == 0) return {};
    const auto number = [this](double value) {
        return m_services.numbers.numberToFormatString(value);
    };
    const auto value = static_cast<double>(marked);
    QString count = number(value);
    if (marked >= kMillion) {
        count = StringTable::filled(m_services.texts.text("marked_millions"_key),
                                    {number(value / kMillion)});
    } else if (marked >= kThousand) {
        count = StringTable::filled(m_services.texts.text("marked_thousands"_key),
                                    {number(value / kThousand)});
    }
    return StringTable::filled(
        m_services.texts.text("marked_info"_key),
        {count, m_services.numbers.sizeToFormatString(source.markedSize, 4, true)});
}

QString SourceListModel::accessibleText(const QVSourceItem& source) const {
    const QString marked = markedText(source);
    if (marked.isEmpty())
        return StringTable::filled(m_services.texts.text("source_row"_key),
                                   {source.displayName, info(source)});
    return StringTable::filled(m_services.texts.text("source_row_marked"_key),
                               {source.displayName, info(source), marked});
}

// --- Pictures ---

QPixmap SourceListModel::picture(const TrashLocation& location, Picture kind) const {
    const qreal scale = qGuiApp->devicePixelRatio();
    QPixmap& picture = m_pictures[{location.volumeURL, kind}];
    if (!picture.isNull() && picture.devicePixelRatio() == scale) return picture;
    picture = QPixmap(QSize(kPictureSize, kPictureSize) * scale);
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    if (kind != Picture::Full) painter.setOpacity(kGhostOpacity);
    m_services.volumeIcon(location).paint(&painter, 0, 0, kPictureSize, kPictureSize);
    painter.setOpacity(1);
    constexpr int kHalf = kPictureSize / 2;
    if (kind != Picture::Disabled)
        trashBadge(kind == Picture::Full).paint(&painter, kHalf, kHalf, kHalf, kHalf);
    return picture;
}

/// Another volume may be mounted at the same place.
void SourceListModel::forgetPictures(const FileUrl& volume) {
    std::erase_if(m_pictures, [&](const auto& entry) { return entry.first.first == volume; });
}

}  // namespace kestrin
