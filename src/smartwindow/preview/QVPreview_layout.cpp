// SPDX-License-Identifier: GPL-3.0-or-later
// Where the parts of a cell stand.
#include <QFrame>
#include <QLayout>
#include <QStyle>
#include <algorithm>

#include "smartwindow/preview/InformationView.h"
#include "smartwindow/preview/PathView.h"
#include "smartwindow/preview/PreviewCollectionView.h"
#include "smartwindow/preview/QVPreview.h"

namespace kestrin {
namespace {

constexpr double kOtherWidth = 322;
constexpr double kLeastOtherWidth = 75;

constexpr int kMargin = 12;  // above and below, and in the middle
constexpr int kSide = 15;
constexpr int kGap = 8;
constexpr int kLine = 1;
constexpr int kFewestRows = 3;          // of the place, where there is little room
constexpr double kContentShare = 0.34;  // of the height that the content has at least
constexpr double kSideShare = 0.5;      // of the width that the words have at most

int heightFor(const QWidget& part, int width) {
    const QLayout& layout = *part.layout();
    return layout.hasHeightForWidth() ? layout.totalHeightForWidth(width)
                                      : layout.totalSizeHint().height();
}

}  // namespace

bool QVPreview::isVertical() const {
    return m_collectionView.scrollDirection() == Qt::Vertical;
}

double QVPreview::verticalOtherViewWidth() const {
    const double all = width();
    return std::max(kLeastOtherWidth, all > kOtherWidth ? kOtherWidth : all - 2 * double{kSide});
}

double QVPreview::verticalOtherViewXWithWidth(double area) const {
    const double all = width();
    const double x = all > kOtherWidth ? all * 0.5 - 30 - area * 0.5 : double{kSide};
    return std::max(double{kSide}, x);
}

QSize QVPreview::sizeWithWidth(double) const {
    return m_descriptionView->size();
}

void QVPreview::updateObjectsGeometry() {
    if (!m_previewItem) return;
    const bool hasDetails = m_previewItem->isImage() || m_previewItem->isSong();
    if (hasDetails && !m_isByGrid)
        updateFrame();
    else
        updateFrameForOtherItems();
}

/// The content, and the details of an image or a sound.
void QVPreview::updateFrame() {
    QWidget* const details = m_previewItem->isImage() ? m_exifView : m_songView;
    details->setGeometry(QRect(QPoint(0, 0), details->sizeHint()));
    layOut(details->sizeHint().height());
}

void QVPreview::updateFrameForOtherItems() {
    if (m_isByGrid)
        m_descriptionView->setGeometry(rect());
    else
        layOut(0);
}

void QVPreview::layOut(int detailHeight) {
    updateAlphas();
    updateSeparators();
    if (isVertical())
        layOutDown(detailHeight);
    else
        layOutSideBySide(detailHeight);
}

/// One below the other. The content has what the words and the place leave, and the rows of the
/// place give way to it.
void QVPreview::layOutDown(int detailHeight) {
    const int area = static_cast<int>(verticalOtherViewWidth());
    const int x = static_cast<int>(verticalOtherViewXWithWidth(area));
    const int words = heightFor(*m_informationView, area);
    const int detailRoom = detailHeight > 0 ? detailHeight + kGap : 0;
    const int fixed = 2 * kMargin + 4 * kGap + 2 * kLine + words + detailRoom;
    const int rows = m_pathTableView->heightOfRows();
    const int content = static_cast<int>(height() * kContentShare);
    const int fewest = std::min(rows, kFewestRows * m_pathTableView->rowHeight());
    const int room = std::clamp(height() - fixed - content, fewest, rows);
    const int path = room - room % m_pathTableView->rowHeight();
    int y = kMargin;
    const auto below = [&](QWidget* part, int left, int width, int height, int gap) {
        place(part, {left, y, width, std::max(0, height)});
        y += std::max(0, height) + gap;
    };
    below(m_previewView, kSide, width() - 2 * kSide, height() - fixed - path, kGap);
    below(m_horizontalSeparator, x, area, kLine, kGap);
    below(m_informationView, x, area, words, kGap);
    if (detailHeight > 0) below(m_infoView, x, area, detailHeight, kGap);
    below(m_horizontalSeparator2, x, area, kLine, kGap);
    below(m_pathTableView, x, area, path, 0);
}

/// The content beside the words, and the place on one line below both.
void QVPreview::layOutSideBySide(int detailHeight) {
    const int all = width() - 2 * kSide;
    const int area =
        std::min(static_cast<int>(verticalOtherViewWidth()), static_cast<int>(all * kSideShare));
    const int path = m_pathBtn->rowHeight();
    const int room = std::max(0, height() - 2 * kMargin - path - 2 * kGap - kLine);
    const int words = std::min(room, heightFor(*m_informationView, area));
    const int wordsX = kSide + all - area;
    place(m_previewView, {kSide, kMargin, all - area - kMargin, room});
    place(m_informationView, {wordsX, kMargin, area, words});
    place(m_infoView, {wordsX, kMargin + words + kGap, area, detailHeight});
    place(m_horizontalSeparator2, {kSide, kMargin + room + kGap, all, kLine});
    place(m_pathBtn, {kSide, height() - kMargin - path, all, path});
}

/// `frame` is from the left; from right to left it is mirrored.
void QVPreview::place(QWidget* part, const QRect& frame) {
    part->setGeometry(QStyle::visualRect(layoutDirection(), rect(), frame));
}

}  // namespace kestrin
