// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/PathView.h"

#include <QContextMenuEvent>
#include <QPainter>
#include <QStandardItemModel>
#include <QStyledItemDelegate>
#include <algorithm>
#include <numeric>

#include "format/DisplayName.h"
#include "inventory/QVPreviewItem.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace {

constexpr int kIconSide = 16;
constexpr int kRoomAboveText = 4;  // points above and below a line, together
constexpr int kNameGap = 4;        // between an icon and its name on one line
constexpr int kArrowRoom = 16;     // for what stands between two names
constexpr int kEdge = 4;
constexpr int kSlack = 2;  // since the parts of a name are not measured in whole points
constexpr double kDimmed = 0.5;
constexpr float kFaint = 0.62F;

enum Role { BadgeRole = Qt::UserRole, IsInvisibleRole };

}  // namespace

/// Draws one part of the path.
class PathView::Row final : public QStyledItemDelegate {
 public:
    explicit Row(PathView* view) : QStyledItemDelegate(view), m_view(*view) {}

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const override {
        if (m_view.flow() == TopToBottom) return {0, m_view.rowHeight()};
        // Assistive tools may ask for a part before all of them are there.
        const auto part = std::size_t(index.row());
        const bool isMeasured = part < m_view.m_widths.size();
        return {isMeasured ? m_view.m_widths[part] : 0, m_view.rowHeight()};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        QStyleOptionViewItem ground = option;
        const bool isLine = m_view.flow() == LeftToRight;
        const bool isLast = index.row() == m_view.model()->rowCount() - 1;
        if (isLine && !isLast) ground.rect.setWidth(option.rect.width() - kArrowRoom);
        if (isLine) ground.rect = QStyle::visualRect(option.direction, option.rect, ground.rect);
        painter->save();
        const QStyle& style = *m_view.style();
        style.drawPrimitive(QStyle::PE_PanelItemViewItem, &ground, painter, &m_view);
        const Positions& at = m_view.m_positions;
        const int icon = isLine ? kEdge : int(at.icon);
        const int name = isLine ? kEdge + kIconSide + kNameGap : int(at.name);
        const auto place = [&](int begin, QSize size) {
            const QRect row = ground.rect;
            const int down = (row.height() - size.height()) / 2;
            return QStyle::visualRect(option.direction, row,
                                      {row.topLeft() + QPoint(begin, down), size});
        };
        if (!isLine) paintBadge(*painter, place(int(at.finderTag), badgeSize(index)), index);
        const bool isInvisible = index.data(IsInvisibleRole).toBool();
        painter->setOpacity(isInvisible ? kDimmed : 1);
        index.data(Qt::DecorationRole)
            .value<QIcon>()
            .paint(painter, place(icon, {kIconSide, kIconSide}));
        painter->setOpacity(1);
        const QSize room(ground.rect.width() - name - kEdge, ground.rect.height());
        painter->setPen(textColor(option, isInvisible));
        if (room.width() > 0) paintName(*painter, option, place(name, room), index);
        if (isLine && !isLast) paintArrow(*painter, option, ground.rect);
        painter->restore();
    }

 private:
    static QSize badgeSize(const QModelIndex& index) {
        return index.data(BadgeRole).value<QPixmap>().deviceIndependentSize().toSize();
    }
    static void paintBadge(QPainter& painter, const QRect& place, const QModelIndex& index) {
        if (!place.isEmpty()) painter.drawPixmap(place, index.data(BadgeRole).value<QPixmap>());
    }
    static QColor textColor(const QStyleOptionViewItem& option, bool isInvisible) {
        const auto group =
            option.state.testFlag(QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
        const bool isSelected = option.state.testFlag(QStyle::State_Selected);
        QColor color =
            option.palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::Text);
        if (isInvisible) color.setAlphaF(kFaint);
        return color;
    }
    static void paintName(QPainter& painter, const QStyleOptionViewItem& option, const QRect& place,
                          const QModelIndex& index) {
        const QString name =
            option.fontMetrics.elidedText(index.data().toString(), Qt::ElideMiddle, place.width());
        const auto side = QStyle::visualAlignment(option.direction, Qt::AlignLeading);
        painter.setFont(option.font);
        painter.setLayoutDirection(Qt::LayoutDirectionAuto);  // the name's own
        painter.drawText(
            place, int(side | Qt::AlignAbsolute | Qt::AlignVCenter) | Qt::TextSingleLine, name);
    }
    void paintArrow(QPainter& painter, const QStyleOptionViewItem& option,
                    const QRect& part) const {
        const QRect place = QStyle::visualRect(
            option.direction, option.rect,
            {option.rect.left() + part.width(), option.rect.top(), kArrowRoom, part.height()});
        QColor color = option.palette.color(QPalette::Text);
        color.setAlphaF(kFaint);
        painter.setPen(color);
        painter.setLayoutDirection(Qt::LeftToRight);  // it is not mirrored twice
        painter.drawText(
            place, Qt::AlignCenter,
            option.direction == Qt::RightToLeft ? QStringLiteral("‹") : QStringLiteral("›"));
    }

    const PathView& m_view;
};

PathView::PathView(Qt::Orientation orientation, const Positions& positions, QWidget* parent)
    : QListView(parent), m_positions(positions), m_model(new QStandardItemModel(this)) {
    const bool isLine = orientation == Qt::Horizontal;
    setFlow(isLine ? LeftToRight : TopToBottom);
    setWrapping(false);
    setResizeMode(Adjust);
    setFrameShape(NoFrame);
    setEditTriggers(NoEditTriggers);
    setSelectionMode(SingleSelection);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    if (isLine) setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setIconSize({kIconSide, kIconSide});
    setItemDelegate(new Row(this));
    setModel(m_model);
}

void PathView::setPath(const std::vector<ServiceDictionary>& path, const Icons& icons) {
    m_model->clear();
    for (const ServiceDictionary& part : path) {
        const QString name = displayName(part.name_col);
        const bool isEntry = &part == &path.back();
        auto* const item = new QStandardItem(isEntry ? icons.entry : icons.folder, name);
        item->setEditable(false);
        item->setData(part.isInvisible, IsInvisibleRole);
        item->setToolTip(plainToolTip(displayName(part.url.path())));
        if (part.finder_tag > 0) {
            item->setData(icons.badge(part.finder_tag), BadgeRole);
            item->setAccessibleDescription(icons.labelName(part.finder_tag));
        }
        m_model->appendRow(item);
    }
    fitNames();
}

int PathView::rowHeight() const {
    return std::max(fontMetrics().height(), kIconSide) + kRoomAboveText;
}

int PathView::heightOfRows() const {
    return rowHeight() * m_model->rowCount();
}

/// Chooses the widths of the parts on one line. Where there is too little room, the names of the
/// outermost folders go first; the last name has what is left.
void PathView::fitNames() {
    if (flow() != LeftToRight) return;
    constexpr int kBare = kEdge + kIconSide + kEdge;
    m_widths.clear();
    for (int row = 0; row < m_model->rowCount(); ++row) {
        const int name = fontMetrics().horizontalAdvance(m_model->item(row)->text());
        const bool isLast = row == m_model->rowCount() - 1;
        m_widths.push_back(kBare + kNameGap + name + kSlack + (isLast ? 0 : kArrowRoom));
    }
    int excess = std::accumulate(m_widths.begin(), m_widths.end(), 0) - viewport()->width();
    for (int& width : m_widths) {
        if (excess <= 0) break;
        const bool isLast = &width == &m_widths.back();
        const int shorter = isLast ? std::max(kBare, width - excess) : kBare + kArrowRoom;
        excess -= width - shorter;
        width = shorter;
    }
    scheduleDelayedItemsLayout();
}

void PathView::resizeEvent(QResizeEvent* event) {
    fitNames();
    QListView::resizeEvent(event);
}

void PathView::changeEvent(QEvent* event) {
    QListView::changeEvent(event);
    if (event->type() == QEvent::FontChange && m_model) fitNames();
}

void PathView::contextMenuEvent(QContextMenuEvent* event) {
    const bool isByMouse = event->reason() == QContextMenuEvent::Mouse;
    const QModelIndex index = isByMouse ? indexAt(event->pos()) : currentIndex();
    if (!index.isValid()) return;
    Q_EMIT menuRequested(index.row(), isByMouse
                                          ? event->globalPos()
                                          : viewport()->mapToGlobal(visualRect(index).center()));
}

/// A selected part would look as if it were one of the list's.
void PathView::focusOutEvent(QFocusEvent* event) {
    QListView::focusOutEvent(event);
    if (event->reason() != Qt::PopupFocusReason) clearSelection();
}

}  // namespace kestrin
