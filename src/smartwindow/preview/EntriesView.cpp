// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/EntriesView.h"

#include <QAbstractTableModel>
#include <QBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QTreeView>
#include <utility>

#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"
#include "smartwindow/preview/PreviewTexts.h"
#include "smartwindow/preview/ScrollKeys.h"
#include "viewer/ViewerProtocol.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace {

constexpr int kIconSide = 48;              // points
constexpr int kMargin = 12;                // points around the head
constexpr int kEdge = 4;                   // points between a text and the edges of its cell
constexpr qsizetype kLongestName = 512;    // characters: more than any column shows
constexpr std::uint16_t kLargestUnit = 4;  // terabytes
constexpr std::uint64_t kWidestSize = 888'880'000;

}  // namespace

/// Answers from memory, a row when it is looked at.
class EntriesView::Model : public QAbstractTableModel {
 public:
    enum Column { Name, Size, ColumnCount };

    Model(const QVNumberUtilities& numbers, IconOfEntry iconOfEntry, QObject* parent)
        : QAbstractTableModel(parent), m_numbers(numbers), m_iconOfEntry(std::move(iconOfEntry)) {}

    void setPreview(std::shared_ptr<const Preview> preview) {
        beginResetModel();
        m_preview = std::move(preview);
        endResetModel();
    }

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() || !m_preview ? 0 : int(m_preview->entries.size());
    }
    int columnCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : ColumnCount;
    }

    QVariant data(const QModelIndex& index, int role) const override {
        const PreviewEntry& entry = m_preview->entries[std::size_t(index.row())];
        if (index.column() == Size) {
            if (role == Qt::TextAlignmentRole) return int(Qt::AlignTrailing | Qt::AlignVCenter);
            if (role != Qt::DisplayRole || entry.isFolder) return {};
            return m_numbers.sizeToFormatString(entry.size, kLargestUnit, true);
        }
        if (role == Qt::DisplayRole) return titleName(entry.name, kLongestName);
        if (role == Qt::ToolTipRole) return plainToolTip(displayName(entry.name));
        if (role == Qt::DecorationRole) return m_iconOfEntry(entry);
        return {};
    }

 private:
    const QVNumberUtilities& m_numbers;
    const IconOfEntry m_iconOfEntry;
    std::shared_ptr<const Preview> m_preview;
};

/// A line at the edge that the column names, which reads in the direction of its own script: in a
/// layout from right to left the name "docs/" does not become "/docs".
class EntriesView::Cell : public QStyledItemDelegate {
 public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        QStyleOptionViewItem cell = option;
        initStyleOption(&cell, index);
        const QStyle& style = *option.widget->style();
        const QRect place = style.subElementRect(QStyle::SE_ItemViewItemText, &cell, cell.widget)
                                .adjusted(kEdge, 0, -kEdge, 0);
        const QString line =
            cell.fontMetrics.elidedText(cell.text, cell.textElideMode, place.width());
        cell.text.clear();
        style.drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget);
        const Qt::Alignment side = QStyle::visualAlignment(
            option.direction, cell.displayAlignment & Qt::AlignHorizontal_Mask);
        painter->save();
        painter->setPen(cell.palette.color(QPalette::Text));
        painter->setLayoutDirection(Qt::LayoutDirectionAuto);
        painter->drawText(
            place, int(side | Qt::AlignAbsolute | Qt::AlignVCenter) | Qt::TextSingleLine, line);
        painter->restore();
    }
};

/// A list to be read and scrolled; nothing in it is chosen, opened or dragged.
class EntriesView::List : public QTreeView {
 public:
    List() {
        setRootIsDecorated(false);
        setUniformRowHeights(true);
        setHeaderHidden(true);
        setAlternatingRowColors(true);
        setSelectionMode(NoSelection);
        setEditTriggers(NoEditTriggers);
        setTextElideMode(Qt::ElideMiddle);
        setFrameShape(QFrame::NoFrame);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        header()->setStretchLastSection(false);
        header()->setMinimumSectionSize(1);
        setItemDelegate(new Cell(this));
    }

    void fitColumns(const QString& widestSize) {
        header()->setSectionResizeMode(Model::Name, QHeaderView::Stretch);
        header()->setSectionResizeMode(Model::Size, QHeaderView::Fixed);
        header()->resizeSection(Model::Size,
                                fontMetrics().horizontalAdvance(widestSize) + 2 * kEdge);
    }

 protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (isKeyOfTheWindow(*event, *this)) return event->ignore();
        QTreeView::keyPressEvent(event);
    }
};

EntriesView::EntriesView(const StringTable& texts, const QVNumberUtilities& numbers,
                         IconOfEntry iconOfEntry, QWidget* parent)
    : QWidget(parent),
      m_texts(texts),
      m_numbers(numbers),
      m_model(new Model(numbers, std::move(iconOfEntry), this)),
      m_list(new List),
      m_icon(new QLabel),
      m_totals(new ElidedLabel(Qt::ElideRight)) {
    m_list->setModel(m_model);
    m_list->fitColumns(numbers.sizeToFormatString(kWidestSize, kLargestUnit, true));
    auto* const head = new QHBoxLayout;
    head->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    head->setSpacing(kMargin);
    head->addWidget(m_icon);
    head->addWidget(m_totals, 1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(head);
    layout->addWidget(m_list, 1);
    setFocusProxy(m_list);
}

EntriesView::~EntriesView() = default;

void EntriesView::setPreview(std::shared_ptr<const Preview> preview, const QIcon& icon) {
    m_icon->setPixmap(icon.pixmap(QSize(kIconSide, kIconSide), devicePixelRatioF()));
    m_totals->setFullText(preview ? previewTotals(*preview, m_texts, m_numbers) : QString());
    m_model->setPreview(std::move(preview));
    m_list->scrollToTop();
}

void EntriesView::setAccessibleNameOfList(const QString& name) {
    m_list->setAccessibleName(name);
}

}  // namespace kestrin
