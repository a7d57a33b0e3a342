// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVSourceTableCellView.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QTextLayout>
#include <QTimer>
#include <QToolTip>
#include <algorithm>
#include <utility>

#include "smartwindow/SourceListModel.h"
#include "widgets/BusySpinner.h"
#include "widgets/Colors.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace {

constexpr int kRowHeight = 90;
constexpr int kMargin = 10;
constexpr int kGap = 8;
constexpr int kIconSide = 64;
constexpr int kSpinnerSide = 14;
constexpr int kLineGap = 2;
// The badge: its text begins 6 points from its edge, and it is 13 points wider than that.
constexpr int kBadgeInset = 6;
constexpr int kBadgePadding = 13;
constexpr int kPictureMilliseconds = 42;
constexpr float kSelectionShare = 0.22F;
constexpr float kDimmed = 0.65F;
// The frame of a row whose menu is open.
constexpr int kFrameInset = 3;
constexpr int kFrameRadius = 6;
constexpr int kFrameWidth = 2;

QFont smallFont(const QFont& font) {
    QFont small = font;
    small.setPointSizeF(font.pointSizeF() * 0.9);
    return small;
}

QFont nameFont(const QFont& font) {
    QFont bold = font;
    bold.setWeight(QFont::DemiBold);
    return bold;
}

QPalette::ColorGroup groupOf(const QStyleOptionViewItem& option) {
    return option.state.testFlag(QStyle::State_Enabled) ? QPalette::Active : QPalette::Disabled;
}

/// Selected rows keep the colour of the texts: their ground is but tinted.
QColor selectionGround(const QPalette& palette) {
    return blendedColor(palette.color(QPalette::Active, QPalette::Base),
                        palette.color(QPalette::Active, QPalette::Highlight), kSelectionShare);
}

/// The text on two lines: the first is full, the second is cut where it is too long.
QStringList twoLines(const QString& text, const QFont& font, int width) {
    QTextLayout layout(text, font);
    layout.beginLayout();
    QTextLine first = layout.createLine();
    if (first.isValid()) first.setLineWidth(width);
    layout.endLayout();
    if (!first.isValid()) return {};
    const QString rest = text.mid(first.textLength());
    return {text.left(first.textLength()).trimmed(), rest.trimmed()};
}

void paintBadge(QPainter& painter, const QPalette& palette, const QRect& place,
                const QString& text) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(checkedInfoBackground(palette));
    const double radius = place.height() / 2.0;
    painter.drawRoundedRect(QRectF(place).adjusted(0, 0, -1, 0), radius, radius);
    painter.setPen(checkedInfoText(palette));
    painter.setLayoutDirection(text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    const QRect inside = place.adjusted(kBadgeInset, 0, -kBadgeInset, 0);
    painter.drawText(inside, Qt::AlignCenter,
                     painter.fontMetrics().elidedText(text, Qt::ElideMiddle, inside.width()));
    painter.restore();
}

}  // namespace

/// Where the parts of a row stand; mirrored where lines run from right to left.
struct QVSourceTableCellView::Layout {
    QRect checkBox;
    QRect icon;
    QRect name;
    QRect info;
    QRect badge;      ///< empty without a badge
    QRect spinner;    ///< empty unless folders are being measured
    QRect gathering;  ///< empty where the text beside the arc has no room
};

QVSourceTableCellView::QVSourceTableCellView(const QString& gatheringText, QObject* parent)
    : QStyledItemDelegate(parent), m_gatheringText(gatheringText) {
    m_clock.start();
}

QSize QVSourceTableCellView::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const {
    return {2 * kMargin + kIconSide, kRowHeight};
}

QVSourceTableCellView::Layout QVSourceTableCellView::layoutOf(const QStyleOptionViewItem& option,
                                                              const QModelIndex& index) const {
    const QStyle& style = option.widget ? *option.widget->style() : *QApplication::style();
    const QRect row = option.rect;
    const QSize box(style.pixelMetric(QStyle::PM_IndicatorWidth, &option, option.widget),
                    style.pixelMetric(QStyle::PM_IndicatorHeight, &option, option.widget));
    Layout layout;
    layout.checkBox = QRect(QPoint(row.left() + kMargin, row.center().y() - box.height() / 2), box);
    layout.icon = QRect(layout.checkBox.right() + kGap, row.center().y() - kIconSide / 2, kIconSide,
                        kIconSide);
    const int left = layout.icon.right() + kGap;
    const int width = std::max(0, row.right() - kMargin - left);
    const QFontMetrics small(smallFont(option.font));
    const int nameHeight = QFontMetrics(nameFont(option.font)).height();
    const int badgeHeight = small.height() + 2;
    const int all = nameHeight + small.height() + badgeHeight + 2 * kLineGap;
    int top = row.top() + (row.height() - all) / 2;
    layout.name = QRect(left, top, width, nameHeight);
    layout.info = QRect(left, layout.name.bottom() + 1 + kLineGap, width, small.height());
    top = layout.info.bottom() + 1 + kLineGap;
    int next = left;
    const QString marked = index.data(SourceListModel::MarkedTextRole).toString();
    if (!marked.isEmpty()) {
        const int badge = std::min(width, small.horizontalAdvance(marked) + kBadgePadding);
        layout.badge = QRect(left, top, badge, badgeHeight);
        next += badge + kGap;
    }
    if (index.data(SourceListModel::IsGatheringRole).toBool()) {
        const int rest = left + width - next;
        layout.spinner = QRect(next, top + (badgeHeight - kSpinnerSide) / 2,
                               std::clamp(rest, 0, kSpinnerSide), kSpinnerSide);
        const int text = small.horizontalAdvance(m_gatheringText) + kLineGap;
        if (kSpinnerSide + kLineGap * 2 + text <= rest) {
            layout.gathering =
                QRect(layout.spinner.right() + 1 + kLineGap * 2, top, text, badgeHeight);
        }
    }
    for (QRect* const place : {&layout.checkBox, &layout.icon, &layout.name, &layout.info,
                               &layout.badge, &layout.spinner, &layout.gathering})
        *place = QStyle::visualRect(option.direction, row, *place);
    return layout;
}

void QVSourceTableCellView::paint(QPainter* painter, const QStyleOptionViewItem& given,
                                  const QModelIndex& index) const {
    QStyleOptionViewItem option = given;
    if (!index.flags().testFlag(Qt::ItemIsEnabled)) option.state &= ~QStyle::State_Enabled;
    const Layout layout = layoutOf(option, index);
    painter->save();
    paintGround(*painter, option, index);
    paintCheckBox(*painter, option, index, layout.checkBox);
    const auto icon = index.data(Qt::DecorationRole).value<QPixmap>();
    painter->drawPixmap(layout.icon, icon);
    paintTexts(*painter, option, index, layout);
    paintGathering(*painter, option, layout);
    painter->restore();
}

void QVSourceTableCellView::paintGround(QPainter& painter, const QStyleOptionViewItem& option,
                                        const QModelIndex& index) const {
    if (option.state.testFlag(QStyle::State_Selected))
        painter.fillRect(option.rect, selectionGround(option.palette));
    const bool hasMenu = index == m_rowWithMenu;
    if (!hasMenu && !option.state.testFlag(QStyle::State_HasFocus)) return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(option.palette.color(QPalette::Active, QPalette::Highlight),
                        hasMenu ? kFrameWidth : 1));
    painter.drawRoundedRect(
        option.rect.adjusted(kFrameInset, kFrameInset, -kFrameInset, -kFrameInset), kFrameRadius,
        kFrameRadius);
    painter.restore();
}

void QVSourceTableCellView::paintCheckBox(QPainter& painter, const QStyleOptionViewItem& option,
                                          const QModelIndex& index, const QRect& place) const {
    const QVariant state = index.data(Qt::CheckStateRole);
    if (!state.isValid()) return;
    QStyleOptionViewItem box = option;
    box.rect = place;
    box.palette = checkBoxPalette(option.palette);
    box.state &= ~(QStyle::State_HasFocus | QStyle::State_Selected);
    switch (static_cast<Qt::CheckState>(state.toInt())) {
        case Qt::Checked:
            box.state |= QStyle::State_On;
            break;
        case Qt::PartiallyChecked:
            box.state |= QStyle::State_NoChange;
            break;
        case Qt::Unchecked:
            box.state |= QStyle::State_Off;
            break;
    }
    const QStyle& style = option.widget ? *option.widget->style() : *QApplication::style();
    style.drawPrimitive(QStyle::PE_IndicatorItemViewItemCheck, &box, &painter, option.widget);
}

void QVSourceTableCellView::paintTexts(QPainter& painter, const QStyleOptionViewItem& option,
                                       const QModelIndex& index, const Layout& layout) const {
    const auto line = [&](const QRect& place, const QFont& font, const QColor& colour,
                          const QString& text) {
        painter.setFont(font);
        painter.setPen(colour);
        // Names read in the direction of their own script, wherever they begin.
        painter.setLayoutDirection(text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
        const auto alignment =
            QStyle::visualAlignment(option.direction, Qt::AlignLeading | Qt::AlignVCenter) |
            Qt::AlignAbsolute;
        painter.drawText(place, static_cast<int>(alignment) | Qt::TextSingleLine,
                         painter.fontMetrics().elidedText(text, Qt::ElideRight, place.width()));
    };
    const QColor text = option.palette.color(groupOf(option), QPalette::Text);
    QColor dimmed = text;
    if (option.state.testFlag(QStyle::State_Enabled)) dimmed.setAlphaF(text.alphaF() * kDimmed);
    line(layout.name, nameFont(option.font), text, index.data(Qt::DisplayRole).toString());
    const QFont small = smallFont(option.font);
    QString info = index.data(SourceListModel::InfoRole).toString();
    if (layout.badge.isEmpty() && layout.spinner.isEmpty()) {
        const QStringList lines = twoLines(info, small, layout.info.width());
        info = lines.value(0);
        line(layout.info.translated(0, layout.info.height() + kLineGap), small, dimmed,
             lines.value(1));
    }
    line(layout.info, small, dimmed, info);
    if (!layout.gathering.isEmpty()) line(layout.gathering, small, dimmed, m_gatheringText);
    if (layout.badge.isEmpty()) return;
    painter.setFont(small);
    paintBadge(painter, option.palette, layout.badge,
               index.data(SourceListModel::MarkedTextRole).toString());
}

void QVSourceTableCellView::paintGathering(QPainter& painter, const QStyleOptionViewItem& option,
                                           const Layout& layout) const {
    if (layout.spinner.isEmpty()) return;
    paintBusySpinner(painter, layout.spinner, option.palette.color(QPalette::Text),
                     static_cast<int>(m_clock.elapsed() / kPictureMilliseconds));
    auto* const view = qobject_cast<const QAbstractItemView*>(option.widget);
    if (!view || std::exchange(m_nextPictureIsDue, true)) return;
    QTimer::singleShot(kPictureMilliseconds, view->viewport(), [this, viewport = view->viewport()] {
        m_nextPictureIsDue = false;
        viewport->update();
    });
}

/// The view hands clicks and keys on the current row to its delegate first.
bool QVSourceTableCellView::editorEvent(QEvent* event, QAbstractItemModel* model,
                                        const QStyleOptionViewItem& option,
                                        const QModelIndex& index) {
    const QVariant state = index.data(Qt::CheckStateRole);
    const bool canBeChecked = state.isValid() && index.flags().testFlag(Qt::ItemIsUserCheckable) &&
                              index.flags().testFlag(Qt::ItemIsEnabled);
    bool toggles = false;
    if (event->type() == QEvent::KeyPress) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        toggles = key.key() == Qt::Key_Space && key.modifiers() == Qt::ControlModifier;
    } else if (event->type() == QEvent::MouseButtonRelease ||
               event->type() == QEvent::MouseButtonDblClick ||
               event->type() == QEvent::MouseButtonPress) {
        const auto& mouse = static_cast<const QMouseEvent&>(*event);
        const QRect box = layoutOf(option, index).checkBox.adjusted(-kGap, -kGap, kGap, kGap);
        if (mouse.button() != Qt::LeftButton || !box.contains(mouse.position().toPoint()))
            return false;
        // A press is taken so that it selects nothing.
        if (event->type() != QEvent::MouseButtonRelease) return canBeChecked;
        toggles = true;
    }
    if (!toggles || !canBeChecked) return false;
    const bool isChecked = static_cast<Qt::CheckState>(state.toInt()) == Qt::Checked;
    return model->setData(index, isChecked ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

bool QVSourceTableCellView::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                      const QStyleOptionViewItem& option,
                                      const QModelIndex& index) {
    if (event->type() != QEvent::ToolTip || !index.isValid())
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    const QString text = index.data(Qt::DisplayRole).toString() + u'\n' +
                         index.data(SourceListModel::InfoRole).toString();
    QToolTip::showText(event->globalPos(), plainToolTip(text), view->viewport(),
                       view->visualRect(index));
    return true;
}

}  // namespace kestrin
