// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/PreviewCollectionView.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <algorithm>
#include <cstdint>
#include <limits>
#include <ranges>
#include <utility>

#include "inventory/QVPreviewItem.h"
#include "smartwindow/preview/QVPreview.h"

namespace kestrin {
namespace {

constexpr QSize kTile{132, 140};   // points, of a grid
constexpr int kLeastHeight = 340;  // of one cell among several, if the view is as high
constexpr int kLeastWidth = 440;   // the same where they follow each other to the side
constexpr int kGap = 1;            // between two cells, for a line
constexpr float kLineOpacity = 0.2F;
constexpr int kLine = 20;  // points that a key scrolls
constexpr std::size_t kMostSpares = 4;

}  // namespace

PreviewCollectionView::PreviewCollectionView(const PreviewServices& services, bool isByGrid,
                                             QWidget* parent)
    : QAbstractScrollArea(parent), m_services(services), m_isByGrid(isByGrid) {
    setFrameShape(QFrame::NoFrame);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setAutoFillBackground(true);
}

/// The cells call it as they go.
PreviewCollectionView::~PreviewCollectionView() {
    for (const auto& [index, cell] : m_cells)
        delete cell;
    for (QVPreview* const cell : m_spares)
        delete cell;
}

// --- What it shows ---

std::size_t PreviewCollectionView::count() const {
    return m_dataSource.numberOfItems ? m_dataSource.numberOfItems() : 0;
}

void PreviewCollectionView::setDataSource(DataSource dataSource) {
    m_dataSource = std::move(dataSource);
    reloadData();
}

void PreviewCollectionView::reloadData() {
    moveCells([](std::size_t) { return Place(); });
    m_scrollsTo.reset();
}

void PreviewCollectionView::insertItems(const std::vector<std::size_t>& indexes) {
    const bool staysAtBeginning = m_first == 0 && m_firstOffset == 0;
    moveCells([&](std::size_t old) {
        // The new entry number n, at `indexes[n]`, stands before the old one at `indexes[n] - n`.
        const auto numbers = std::views::iota(std::size_t{0}, indexes.size());
        const auto behind = std::ranges::partition_point(
            numbers, [&](std::size_t n) { return indexes[n] - n <= old; });
        return Place{old + static_cast<std::size_t>(behind - numbers.begin()), true};
    });
    if (staysAtBeginning) m_first = 0;
    if (indexes.size() == 1) m_scrollsTo = indexes.front();
}

void PreviewCollectionView::deleteItems(const std::vector<std::size_t>& indexes) {
    moveCells([&](std::size_t old) {
        const auto place = std::ranges::lower_bound(indexes, old);
        const bool stays = place == indexes.end() || *place != old;
        return Place{old - static_cast<std::size_t>(place - indexes.begin()), stays};
    });
}

/// A cell whose entry has gone is spare at once, and goes on showing it until the next layout: most
/// often another entry takes the cell over.
void PreviewCollectionView::moveCells(const std::function<Place(std::size_t)>& placeOf) {
    Cells cells;
    for (const auto& [index, cell] : std::exchange(m_cells, {})) {
        const Place place = placeOf(index);
        if (place.stays)
            cells.emplace(place.index, cell);
        else
            m_spares.push_back(cell);
    }
    m_cells = std::move(cells);
    const Place first = placeOf(m_first);
    m_first = first.index;
    if (!first.stays) m_firstOffset = 0;
    if (m_isByGrid && m_current) m_current = placeOf(*m_current).index;
    needsLayout();
}

void PreviewCollectionView::updateFigures() {
    for (const auto& [index, cell] : m_cells)
        cell->updateFigures();
}

QVPreview* PreviewCollectionView::cellAt(std::size_t index) {
    if (m_needsLayout) layOut();
    const auto cell = m_cells.find(index);
    return cell == m_cells.end() ? nullptr : cell->second;
}

// --- How it lies ---

QScrollBar& PreviewCollectionView::scrollBar() const {
    return isHorizontal() ? *horizontalScrollBar() : *verticalScrollBar();
}

std::size_t PreviewCollectionView::columns() const {
    if (!m_isByGrid) return 1;
    return static_cast<std::size_t>(std::max(1, viewport()->width() / kTile.width()));
}

/// From the beginning of one cell to that of the next one in the scroll direction.
int PreviewCollectionView::step() const {
    return isHorizontal() ? m_itemSize.width() + kGap : m_itemSize.height() + kGap;
}

/// Where a cell begins in the scroll direction, were nothing scrolled.
int PreviewCollectionView::offsetOf(std::size_t index) const {
    const auto offset = static_cast<std::uint64_t>(index / columns()) * std::uint64_t(step());
    return static_cast<int>(std::min(offset, std::uint64_t{std::numeric_limits<int>::max() / 2}));
}

QRect PreviewCollectionView::frameOf(std::size_t index) const {
    const int along = offsetOf(index) - scrollBar().value();
    const int across = static_cast<int>(index % columns()) * m_itemSize.width();
    const QPoint origin = isHorizontal() ? QPoint(along, across) : QPoint(across, along);
    return QStyle::visualRect(layoutDirection(), viewport()->rect(), QRect(origin, m_itemSize));
}

/// Goes by the shape of the whole view, which no scroll bar changes.
void PreviewCollectionView::updateScrollDirection() {
    m_scrollDirection = !m_isByGrid && width() > height() ? Qt::Horizontal : Qt::Vertical;
    setHorizontalScrollBarPolicy(isHorizontal() ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(isHorizontal() ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAsNeeded);
}

void PreviewCollectionView::updateItemsSize() {
    const QSize all = viewport()->size();
    // As many as can be seen at once fill the view.
    const auto share = [this](int room, int least) {
        const int most = std::max(1, (room + kGap) / (least + kGap));
        const int seen = static_cast<int>(std::clamp<std::size_t>(count(), 1, std::size_t(most)));
        return (room - (seen - 1) * kGap) / seen;
    };
    if (m_isByGrid) {
        m_itemSize = QSize(all.width() / static_cast<int>(columns()), kTile.height());
    } else if (isHorizontal()) {
        m_itemSize = QSize(share(all.width(), kLeastWidth), all.height());
    } else {
        m_itemSize = QSize(all.width(), share(all.height(), kLeastHeight));
    }
}

void PreviewCollectionView::setBackgroundView(QWidget* view) {
    delete std::exchange(m_backgroundView, view);
    if (!view) return;
    view->setParent(viewport());
    view->lower();
    view->show();
}

void PreviewCollectionView::needsLayout() {
    if (std::exchange(m_needsLayout, true)) return;
    QCoreApplication::postEvent(this, new QEvent(QEvent::LayoutRequest));
}

void PreviewCollectionView::layOut() {
    m_needsLayout = false;
    m_isLayingOut = true;
    updateScrollDirection();
    updateItemsSize();
    const std::size_t all = count();
    const int room = isHorizontal() ? viewport()->width() : viewport()->height();
    const int length = all == 0 ? 0 : offsetOf(all - 1) + step() - kGap;
    m_first = std::min(m_first, all == 0 ? 0 : all - 1);
    if (m_isByGrid && all > 0)
        m_current = std::min(m_current.value_or(0), all - 1);
    else
        m_current.reset();
    scrollBar().setPageStep(room);
    scrollBar().setSingleStep(kLine);
    scrollBar().setRange(0, std::max(0, length - room));
    scrollBar().setValue(scrollValue());
    m_isLayingOut = false;
    layOutCells();
}

/// Where to scroll to, so that the first cell in sight stays where it is, and what shall be seen
/// is.
int PreviewCollectionView::scrollValue() const {
    const int stays = offsetOf(m_first) + std::min(m_firstOffset, step());
    if (!m_scrollsTo || *m_scrollsTo >= count()) return stays;
    const int begin = offsetOf(*m_scrollsTo);
    return std::clamp(stays, begin + step() - kGap - scrollBar().pageStep(), begin);
}

void PreviewCollectionView::layOutCells() {
    m_scrollsTo.reset();
    const int value = scrollBar().value();
    const std::size_t before = std::size_t(value / step());
    const std::size_t after = std::size_t((value + scrollBar().pageStep() + step() - 1) / step());
    const std::size_t end = std::min(after * columns(), count());
    m_first = before * columns();
    m_firstOffset = value - offsetOf(m_first);
    giveBack(m_first, end);
    for (std::size_t index = m_first; index < end; ++index)
        cellFor(index)->setGeometry(frameOf(index));
    if (m_current) cellFor(*m_current)->setGeometry(frameOf(*m_current));
    for (const auto& [index, cell] : m_cells)
        cell->setIsCurrent(index == m_current);
    putAway();
    viewport()->update();
}

/// Makes spare what is out of sight. The current tile stays, since it may have the keyboard.
void PreviewCollectionView::giveBack(std::size_t first, std::size_t last) {
    for (auto cell = m_cells.begin(); cell != m_cells.end();) {
        const bool stays = (first <= cell->first && cell->first < last) || cell->first == m_current;
        if (!stays) m_spares.push_back(cell->second);
        cell = stays ? std::next(cell) : m_cells.erase(cell);
    }
}

/// The cell of an entry, if need be one that is spare or new.
QVPreview* PreviewCollectionView::cellFor(std::size_t index) {
    QVPreview*& cell = m_cells[index];
    if (cell) return cell;
    if (m_spares.empty()) {
        cell = new QVPreview(m_services, *this);
        cell->setParent(viewport());
        cell->installEventFilter(this);
    } else {
        cell = m_spares.back();
        m_spares.pop_back();
    }
    cell->setGeometry(frameOf(index));
    cell->setRepresentedObject(m_dataSource.itemAt(index));
    cell->show();
    return cell;
}

/// What nobody took over shows nothing from now on.
void PreviewCollectionView::putAway() {
    for (QVPreview* const cell : m_spares) {
        cell->hide();
        cell->setRepresentedObject(nullptr);
    }
    while (m_spares.size() > kMostSpares) {
        m_spares.back()->deleteLater();  // the change may have come from one of its own events
        m_spares.pop_back();
    }
}

bool PreviewCollectionView::event(QEvent* event) {
    const bool wasTaken = QAbstractScrollArea::event(event);
    if (event->type() == QEvent::LayoutRequest && m_needsLayout) layOut();
    if (event->type() == QEvent::LayoutDirectionChange) needsLayout();
    if (event->type() == QEvent::FocusIn && m_current && cellAt(*m_current))
        cellAt(*m_current)->setFocus();
    return wasTaken;
}

void PreviewCollectionView::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    if (m_isLayingOut)
        needsLayout();  // a scroll bar came or went
    else
        layOut();
}

/// Draws a line between two cells.
void PreviewCollectionView::paintEvent(QPaintEvent*) {
    if (m_isByGrid) return;
    QPainter painter(viewport());
    QColor line = palette().color(QPalette::WindowText);
    line.setAlphaF(kLineOpacity);
    for (const auto& [index, cell] : m_cells) {
        const QRect frame = frameOf(index);
        const QRect gap = isHorizontal()
                              ? QRect(frame.right() + 1, frame.top(), kGap, frame.height())
                              : QRect(frame.left(), frame.bottom() + 1, frame.width(), kGap);
        painter.fillRect(gap, line);
    }
}

void PreviewCollectionView::scrollContentsBy(int, int) {
    if (m_isLayingOut) return;
    if (m_needsLayout)
        layOut();
    else
        layOutCells();
}

// --- The current tile of a grid ---

void PreviewCollectionView::setCurrentIndex(std::size_t index) {
    if (!m_isByGrid || index >= count()) return;
    const QWidget* const focus = QApplication::focusWidget();
    const bool hadFocus = focus == this || isAncestorOf(focus);
    m_current = index;
    m_scrollsTo = index;
    layOut();
    if (hadFocus) cellFor(index)->setFocus();
    Q_EMIT currentIndexDidChange();
}

/// Where a key leads to from the current tile; none for a key that leads nowhere.
std::optional<std::size_t> PreviewCollectionView::neighbour(int key) const {
    const auto here = static_cast<std::ptrdiff_t>(m_current.value_or(0));
    const auto last = static_cast<std::ptrdiff_t>(count()) - 1;
    const auto row = static_cast<std::ptrdiff_t>(columns());
    const std::ptrdiff_t page = std::max(1, viewport()->height() / step()) * row;
    const std::ptrdiff_t forward = layoutDirection() == Qt::RightToLeft ? -1 : 1;
    const auto place = [&](std::ptrdiff_t to) {
        return static_cast<std::size_t>(std::clamp(to, std::ptrdiff_t{0}, last));
    };
    switch (key) {
        case Qt::Key_Left:
            return place(here - forward);
        case Qt::Key_Right:
            return place(here + forward);
        case Qt::Key_Up:
            return here < row ? place(here) : place(here - row);
        case Qt::Key_Down:
            return place(here + row);
        case Qt::Key_PageUp:
            return place(here - page);
        case Qt::Key_PageDown:
            return place(here + page);
        case Qt::Key_Home:
            return place(0);
        case Qt::Key_End:
            return place(last);
        default:
            return std::nullopt;
    }
}

void PreviewCollectionView::keyPressEvent(QKeyEvent* event) {
    const int key = event->key();
    if (m_current) {
        if (key == Qt::Key_Return || key == Qt::Key_Enter)
            Q_EMIT itemActivated(*m_current);
        else if (const auto next = neighbour(key))
            setCurrentIndex(*next);
        else
            event->ignore();
        return;
    }
    const auto scroll = [&](QAbstractSlider::SliderAction action) {
        scrollBar().triggerAction(action);
    };
    switch (key) {
        case Qt::Key_PageUp:
            return scroll(QAbstractSlider::SliderPageStepSub);
        case Qt::Key_PageDown:
            return scroll(QAbstractSlider::SliderPageStepAdd);
        case Qt::Key_Home:
            return scroll(QAbstractSlider::SliderToMinimum);
        case Qt::Key_End:
            return scroll(QAbstractSlider::SliderToMaximum);
        default:
            QAbstractScrollArea::keyPressEvent(event);
    }
}

/// Clicks on a tile.
bool PreviewCollectionView::eventFilter(QObject* watched, QEvent* event) {
    const bool isClick = event->type() == QEvent::MouseButtonPress;
    const bool isDoubleClick = event->type() == QEvent::MouseButtonDblClick;
    if (!m_isByGrid || !(isClick || isDoubleClick))
        return QAbstractScrollArea::eventFilter(watched, event);
    const auto clicked = std::ranges::find(
        m_cells, watched, [](const auto& cell) -> QObject* { return cell.second; });
    if (clicked == m_cells.end()) return false;
    const std::size_t index = clicked->first;
    setFocus();
    setCurrentIndex(index);
    if (isDoubleClick) Q_EMIT itemActivated(index);
    return true;
}

}  // namespace kestrin
