// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/QVItemPreviewCntrl.h"

#include <QCoreApplication>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QIcon>
#include <QKeyEvent>
#include <QMetaObject>
#include <QPixmap>
#include <algorithm>
#include <array>
#include <iterator>
#include <span>
#include <unordered_map>
#include <utility>

#include "base/StringTable.h"
#include "smartwindow/preview/PreviewCollectionView.h"
#include "smartwindow/preview/PreviewNotifications.h"
#include "smartwindow/preview/PreviewPanel.h"
#include "smartwindow/preview/PreviewServices.h"
#include "widgets/Fade.h"

namespace kestrin {
namespace {

namespace Name = PreviewNotification;

constexpr QSize kBackgroundSize{100, 100};
constexpr double kMetadataFontSize = 12;  // points

using Items = std::span<const std::shared_ptr<QVPreviewItem>>;

/// The items of a list by their entries, so that two long lists are compared in one go through
/// each. Those whose entry has gone are left out.
std::unordered_map<const QVSmartWindowItem*, const QVPreviewItem*> byEntry(Items items) {
    std::unordered_map<const QVSmartWindowItem*, const QVPreviewItem*> found;
    found.reserve(items.size());
    for (const auto& item : items)
        if (const auto entry = item->item()) found.emplace(entry.get(), item.get());
    return found;
}

/// How many items both lists begin with, and end with.
std::pair<std::size_t, std::size_t> commonEnds(Items one, Items other) {
    const auto isSame = [](const auto& item, const auto& another) {
        return item == another || item->showsSameAs(*another);
    };
    const std::size_t most = std::min(one.size(), other.size());
    std::size_t front = 0;
    while (front < most && isSame(one[front], other[front]))
        ++front;
    std::size_t back = 0;
    while (front + back < most &&
           isSame(*(one.rbegin() + std::ptrdiff_t(back)), *(other.rbegin() + std::ptrdiff_t(back))))
        ++back;
    return {front, back};
}

bool isBefore(const std::shared_ptr<QVPreviewItem>& one,
              const std::shared_ptr<QVPreviewItem>& other) {
    return compareObjectIndex(*one, *other) < 0;
}

template <class Predicate>
std::optional<std::size_t> indexWhere(const PreviewItemList& items, const Predicate& isWanted) {
    const auto found = std::ranges::find_if(items, isWanted);
    if (found == items.end()) return std::nullopt;
    return static_cast<std::size_t>(found - items.begin());
}

}  // namespace

QVItemPreviewCntrl::QVItemPreviewCntrl(const PreviewServices& services,
                                       PreviewCollectionView& collectionView,
                                       QWidget& emptyPreviewView, ItemPreviewOutlets outlets,
                                       QObject* parent)
    : QObject(parent),
      m_services(services),
      m_collectionView(collectionView),
      m_emptyPreviewView(emptyPreviewView),
      m_outlets(std::move(outlets)) {
    initialize();
}

QVItemPreviewCntrl::~QVItemPreviewCntrl() {
    m_collectionView.setDataSource({.numberOfItems = [] { return std::size_t{0}; },
                                    .itemAt = [](std::size_t) { return nullptr; }});
    if (m_panel) m_panel->setSource({});
}

void QVItemPreviewCntrl::initialize() {
    auto* const background = new QWidget;
    background->resize(kBackgroundSize);
    m_collectionView.setBackgroundView(background);
    m_collectionView.setDataSource(
        {.numberOfItems = [this] { return m_shownItems.size(); },
         .itemAt = [this](std::size_t index) { return m_shownItems.at(index); }});
    setAlpha(m_emptyPreviewView, 0);
    showAppropriateView(true);
    // The window of the collection is known only when a notification comes.
    m_visibilityObservation = m_services.center.observe(
        Name::kQuickLookWindowVisibilityWillChange, [this](const Notification& change) {
            if (change.sender == m_collectionView.window())
                quickLookWindowVisibilityWillChange(change);
        });
    m_xPositionEXIFField = m_services.texts.text("x_position_EXIF_field"_key).toDouble();
    m_xPositionTAGField = m_services.texts.text("x_position_TAG_field"_key).toDouble();
}

// --- What is shown ---

void QVItemPreviewCntrl::showAppropriateView(bool isEmpty) {
    const double target = isEmpty ? 1 : 0;
    if (alphaOf(m_emptyPreviewView) == target) return;
    animateAlpha(m_emptyPreviewView, target);
    animateAlpha(m_collectionView, 1 - target);
}

void QVItemPreviewCntrl::showPreviewWithArray(PreviewItemList items) {
    showAppropriateView(items.empty());
    if (m_splitViewIsCollapsed) {
        if (!m_qlPanelIsVisible) return;
        m_pendingItems.reset();
        m_forceUpdate = true;
        m_shownItems = std::move(items);
        return reloadPanel();
    }
    const bool isAwaited = m_pendingItems.has_value();
    m_pendingItems = std::move(items);
    if (isAwaited) return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (auto pending = std::exchange(m_pendingItems, std::nullopt))
                updateShownItems(*std::move(pending));
        },
        Qt::QueuedConnection);
}

void QVItemPreviewCntrl::updateShownItems(PreviewItemList items) {
    if (m_forceUpdate || m_shownItems.empty() || items.empty()) {
        const bool changes = !m_shownItems.empty() || !items.empty() || m_forceUpdate;
        m_shownItems = std::move(items);
        std::ranges::stable_sort(m_shownItems, isBefore);
        if (changes) m_collectionView.reloadData();
    } else {
        updateCollectionViewItems(items);
    }
    m_forceUpdate = false;
    if (m_qlPanelIsVisible) reloadPanel();
}

/// Entries that stay keep their items, and with them their cells.
void QVItemPreviewCntrl::updateCollectionViewItems(const PreviewItemList& items) {
    const auto [front, back] = commonEnds(m_shownItems, items);
    for (std::size_t at = 0; at < front; ++at)
        m_shownItems[at]->setIndex(items[at]->index());
    for (std::size_t at = 1; at <= back; ++at)
        m_shownItems[m_shownItems.size() - at]->setIndex(items[items.size() - at]->index());

    const Items former = Items(m_shownItems).subspan(front, m_shownItems.size() - front - back);
    const Items latter = Items(items).subspan(front, items.size() - front - back);
    const auto there = byEntry(former);
    const auto wanted = byEntry(latter);
    PreviewItemList added;
    std::ranges::copy_if(latter, std::back_inserter(added),
                         [&](const auto& item) { return !there.contains(item->item().get()); });
    std::vector<std::size_t> removed;
    for (std::size_t at = front; at < front + former.size(); ++at) {
        const auto found = wanted.find(m_shownItems[at]->item().get());
        if (found == wanted.end()) {
            removed.push_back(at);
        } else {
            m_shownItems[at]->setIndex(found->second->index());
        }
    }
    deleteItems(removed);
    if (std::ranges::is_sorted(m_shownItems, isBefore)) return insertItems(std::move(added));
    // The rows are in another order, and so are most of the cells.
    std::ranges::move(added, std::back_inserter(m_shownItems));
    std::ranges::stable_sort(m_shownItems, isBefore);
    m_collectionView.reloadData();
}

void QVItemPreviewCntrl::deleteItems(const std::vector<std::size_t>& indexes) {
    if (indexes.empty()) return;
    for (const std::size_t index : indexes)
        m_shownItems[index] = nullptr;
    std::erase(m_shownItems, nullptr);
    m_collectionView.deleteItems(indexes);
}

void QVItemPreviewCntrl::insertItems(PreviewItemList added) {
    if (added.empty()) return;
    std::ranges::stable_sort(added, isBefore);
    std::vector<std::size_t> indexes;
    PreviewItemList merged;
    merged.reserve(m_shownItems.size() + added.size());
    auto shown = m_shownItems.begin();
    for (auto& item : added) {
        for (; shown != m_shownItems.end() && !isBefore(item, *shown); ++shown)
            merged.push_back(std::move(*shown));
        indexes.push_back(merged.size());
        merged.push_back(std::move(item));
    }
    std::move(shown, m_shownItems.end(), std::back_inserter(merged));
    m_shownItems = std::move(merged);
    m_collectionView.insertItems(indexes);
}

// --- The quick-look panel ---

void QVItemPreviewCntrl::quickLookWindowVisibilityWillChange(const Notification& change) {
    // While nobody saw them, the items may have become those of a former selection.
    if (!wantsItems()) {
        m_shownItems.clear();
        m_forceUpdate = true;
    }
    m_panel = change.userInfo.value<PreviewPanel*>(Name::kQlPanel);
    m_qlPanelIsVisible = change.userInfo.value<bool>(Name::kIsVisible);
    updateQuickLookPanelDelegate();
}

/// A panel belongs to one window, so whoever hears of it controls it.
void QVItemPreviewCntrl::updateQuickLookPanelDelegate() {
    if (m_panel) updateQLDelegate(*m_panel);
}

void QVItemPreviewCntrl::updateQLDelegate(PreviewPanel& panel) {
    if (!m_qlPanelIsVisible) return;
    panel.setSource(
        {.numberOfPreviewItems = [this] { return m_shownItems.size(); },
         .previewItemAtIndex = [this](std::size_t index) { return m_shownItems.at(index); },
         .handleEvent = [this](QKeyEvent& event) { return previewPanelHandleEvent(event); },
         .sourceFrameOnScreenForPreviewItem =
             [this](const QVPreviewItem& item) { return sourceFrameOnScreenForPreviewItem(item); },
         .transitionImageForPreviewItem =
             [this](const QVPreviewItem& item) { return transitionImageForPreviewItem(item); }});
    if (m_shownItems.empty()) {
        m_outlets.prepareToShowPreview();
    } else {
        panel.reloadData();
    }
}

void QVItemPreviewCntrl::reloadPanel() {
    if (m_panel) m_panel->reloadData();
}

bool QVItemPreviewCntrl::previewPanelHandleEvent(QKeyEvent& event) {
    if (event.type() != QEvent::KeyPress) return false;
    if (!m_collectionView.isByGrid()) return m_outlets.passKeyToTable(event);
    return QCoreApplication::sendEvent(&m_collectionView, &event) && event.isAccepted();
}

QRect QVItemPreviewCntrl::sourceFrameOnScreenForPreviewItem(const QVPreviewItem& item) const {
    const auto entry = item.item();
    return entry ? m_outlets.rectOfItem(*entry) : QRect();
}

QPixmap QVItemPreviewCntrl::transitionImageForPreviewItem(const QVPreviewItem& item) const {
    const auto entry = item.item();
    const QRect place = sourceFrameOnScreenForPreviewItem(item);
    return entry && !place.isEmpty() ? m_services.iconOf(*entry).pixmap(place.size()) : QPixmap();
}

// --- Metadata ---

double QVItemPreviewCntrl::widestText(const QVPreviewItem& item) const {
    const std::array texts =
        item.isImage()
            ? std::array{item.dateTaken(), item.dimension(), item.camera(), item.latitude(),
                         item.longitude()}
            : std::array{item.songName(), item.artist(), item.album(), item.time(), item.bitRate()};
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPointSizeF(kMetadataFontSize);
    const QFontMetricsF metrics(font);
    double widest = 0;
    for (const QString& text : texts)
        widest = std::max(widest, metrics.horizontalAdvance(text));
    return widest;
}

// --- Searches ---

std::optional<std::size_t> QVItemPreviewCntrl::indexOfItemInArray(
    const PreviewItemList& items, const QVPreviewItem& thatMatchWith) {
    const auto entry = thatMatchWith.item();
    return indexWhere(items, [&](const auto& item) { return entry && item->item() == entry; });
}

std::optional<std::size_t> QVItemPreviewCntrl::indexOfItemInArrayMatchingIndex(
    const PreviewItemList& items, const QVPreviewItem& thatMatchWith) {
    return indexWhere(
        items, [&](const auto& item) { return compareObjectIndex(*item, thatMatchWith) == 0; });
}

std::optional<std::size_t> QVItemPreviewCntrl::indexOfItemInArray(const PreviewItemList& items,
                                                                  const FileUrl& thatMatchToURL) {
    return indexWhere(items, [&](const auto& item) { return item->url() == thatMatchToURL; });
}

}  // namespace kestrin
