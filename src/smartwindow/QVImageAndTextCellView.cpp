// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVImageAndTextCellView.h"

#include <QIcon>
#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <algorithm>

#include "fsutil/QVFinderLabels.h"
#include "smartwindow/ContentListModel.h"

namespace kestrin {
namespace {

constexpr double kGhost = 0.5;  // opacity of a hidden entry's icon
constexpr int kIconGap = 6;
constexpr int kLabelSide = 11;  // points
constexpr int kLabelGap = 6;
constexpr int kFolderGap = 16;
constexpr int kLeastFolder = 72;  // points: a narrower one says nothing
// Where the folders of short names begin, as a share of the room for texts, so that they line up.
constexpr double kFolderTab = 0.55;

}  // namespace

void QVImageAndTextCellView::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
    paintGround(*painter, option);
    const bool isHidden = index.data(ContentListModel::IsHiddenRole).toBool();
    const QRect content = contentRect(option);
    const QSize iconSize = option.decorationSize;
    painter->setOpacity(isHidden ? kGhost : 1);
    index.data(Qt::DecorationRole)
        .value<QIcon>()
        .paint(painter, iconRect(option.rect, iconSize, option.direction));
    painter->setOpacity(1);

    const QRect texts = QStyle::visualRect(option.direction, content,
                                           content.adjusted(iconSize.width() + kIconGap, 0, 0, 0));
    const QString name = text(option, index);
    int width = option.fontMetrics.horizontalAdvance(name);
    QRect place = texts;
    if (const int label = index.data(ContentListModel::LabelRole).toInt(); label > 0) {
        place = QStyle::visualRect(option.direction, texts,
                                   texts.adjusted(0, 0, -kLabelGap - kLabelSide, 0));
        painter->setOpacity(isHidden ? kGhost : 1);
        width = paintLabel(*painter, option, texts, std::min(width, place.width()), label);
        painter->setOpacity(1);
    }
    painter->setFont(option.font);
    painter->setPen(textColor(option, isHidden));
    drawLine(*painter, place, name, Qt::ElideMiddle);
    paintFolder(*painter, option, texts, width, index);
}

QRect QVImageAndTextCellView::iconRect(const QRect& cell, QSize iconSize,
                                       Qt::LayoutDirection direction) {
    return QStyle::alignedRect(direction, Qt::AlignLeading | Qt::AlignVCenter, iconSize,
                               cell.adjusted(kMargin, 0, -kMargin, 0));
}

int QVImageAndTextCellView::paintLabel(QPainter& painter, const QStyleOptionViewItem& option,
                                       const QRect& texts, int nameWidth, int label) const {
    const double scale = painter.device()->devicePixelRatio();
    QImage& badge = m_badges[{label, scale}];
    if (badge.isNull())
        badge = QVFinderLabels::sharedControl().imageLabelWithBackgroundWithKey(
            label, QSizeF(kLabelSide, kLabelSide), scale);
    const QRect place(texts.left() + nameWidth + kLabelGap,
                      texts.top() + (texts.height() - kLabelSide) / 2, kLabelSide, kLabelSide);
    const QRect shown = QStyle::visualRect(option.direction, texts, place);
    if (option.state.testFlag(QStyle::State_Selected)) {
        // Otherwise it is lost upon a ground of nearly the same colour.
        QPainterPath ring;
        ring.addEllipse(QRectF(shown).adjusted(-1, -1, 1, 1));
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(ring, textColor(option, false));
        painter.setRenderHint(QPainter::Antialiasing, false);
    }
    painter.drawImage(shown, badge);
    return nameWidth + kLabelGap + kLabelSide;
}

void QVImageAndTextCellView::paintFolder(QPainter& painter, const QStyleOptionViewItem& option,
                                         const QRect& texts, int nameWidth,
                                         const QModelIndex& index) {
    const int begin = std::max(nameWidth + kFolderGap, int(texts.width() * kFolderTab));
    if (texts.width() - begin < kLeastFolder) return;
    painter.setPen(textColor(option, true));
    drawLine(painter, QStyle::visualRect(option.direction, texts, texts.adjusted(begin, 0, 0, 0)),
             index.data(ContentListModel::OriginalFolderRole).toString(), Qt::ElideLeft);
}

QSize QVImageAndTextCellView::sizeHint(const QStyleOptionViewItem& option,
                                       const QModelIndex& index) const {
    const QString folder = index.data(ContentListModel::OriginalFolderRole).toString();
    const int room =
        option.decorationSize.width() + kIconGap + (folder.isEmpty() ? 0 : kFolderGap) +
        option.fontMetrics.horizontalAdvance(folder) +
        (index.data(ContentListModel::LabelRole).toInt() > 0 ? kLabelGap + kLabelSide : 0);
    return ContentCell::sizeHint(option, index) + QSize(room, 0);
}

}  // namespace kestrin
