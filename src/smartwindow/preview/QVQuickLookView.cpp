// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/QVQuickLookView.h"

#include <sys/stat.h>

#include <QAbstractScrollArea>
#include <QApplication>
#include <QBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStackedLayout>
#include <QStyleOptionFocusRect>
#include <algorithm>
#include <utility>

#include "base/NotificationCenter.h"
#include "base/StringTable.h"
#include "format/DisplayName.h"
#include "inventory/QVPreviewItem.h"
#include "smartwindow/preview/EntriesView.h"
#include "smartwindow/preview/IconView.h"
#include "smartwindow/preview/PictureView.h"
#include "smartwindow/preview/PreviewFooter.h"
#include "smartwindow/preview/PreviewNotifications.h"
#include "smartwindow/preview/PreviewTexts.h"
#include "smartwindow/preview/ScrollKeys.h"
#include "smartwindow/preview/TextView.h"
#include "viewer/ViewerProtocol.h"

namespace kestrin {
namespace {

constexpr int kBusyDelay = 400;       // milliseconds; what comes sooner needs no excuse
constexpr int kSettlingTime = 150;    // milliseconds after the last step of a resize or zoom
constexpr double kWorthAsking = 1.1;  // times as large; less is not seen
constexpr double kZoomOfAKey = 1.25;

bool isPicture(const Preview* preview) {
    return preview && preview->kind == PreviewKind::Image && !preview->frames.empty();
}

}  // namespace

QVQuickLookView::QVQuickLookView(const PreviewServices& services, QWidget* parent)
    : QWidget(parent),
      m_services(services),
      m_contents(new QStackedLayout),
      m_iconView(new IconView),
      m_picture(new PictureView),
      m_footer(new PreviewFooter(services.texts)) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(m_contents, 1);
    layout->addWidget(m_footer);
    m_contents->addWidget(m_iconView);
    m_contents->addWidget(m_picture);
    setFocusPolicy(Qt::TabFocus);
    connect(m_picture, &PictureView::zoomDidChange, this,
            [this] { m_settling.start(kSettlingTime, this); });
    connect(m_footer, &PreviewFooter::previousPageWanted, this, [this] { setPage(m_page - 1); });
    connect(m_footer, &PreviewFooter::nextPageWanted, this, [this] { setPage(m_page + 1); });
    connect(m_footer, &PreviewFooter::playingToggled, this, [this] {
        m_picture->setPlaying(!m_picture->isPlaying());
        updateFooter();
    });
}

QVQuickLookView::~QVQuickLookView() = default;

// --- The entry ---

void QVQuickLookView::setPreviewItem(std::shared_ptr<QVPreviewItem> item) {
    std::shared_ptr<const QVSmartWindowItem> entry = item ? item->item() : nullptr;
    m_item = std::move(item);
    if (entry == m_entry) return;
    letGo();
    m_entry = std::move(entry);
    m_page = 0;
    m_pageCount = 0;
    begin();
    Q_EMIT contentDidChange();
}

void QVQuickLookView::letGo() {
    m_ticket.reset();
    m_isWaiting = false;
    m_isSharpening = false;
    m_askedPixels = {};
    m_busyDelay.stop();
    m_footer->setBusy(false);
    m_preview.reset();
}

/// Shows what is known of the entry until the answer comes, which holds good in any case.
void QVQuickLookView::begin() {
    if (m_entry && isVisible())
        m_preview = m_services.known({.item = m_entry, .pixels = wantedPixels(), .page = m_page});
    if (m_preview) {
        showContent();
    } else {
        showIcon();
    }
    ask();
}

void QVQuickLookView::showIcon() {
    m_iconView->setIcon(m_entry ? m_services.iconOf(*m_entry) : QIcon());
    change(m_iconView);
}

QString QVQuickLookView::caption() const {
    return m_footer->caption();
}

void QVQuickLookView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!m_preview && !m_isWaiting) begin();
}

void QVQuickLookView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (event->spontaneous()) return;  // a minimised window comes back as it was
    letGo();
    showIcon();
}

// --- Asking ---

QSize QVQuickLookView::wantedPixels() const {
    const double scale = devicePixelRatioF() * m_picture->zoom();
    const auto bounded = [scale](int points) {
        return static_cast<int>(std::min<double>(points * scale, kLargestPreviewSide));
    };
    return {bounded(width()), bounded(height() - m_footer->height())};
}

void QVQuickLookView::ask() {
    const QSize pixels = wantedPixels();
    if (!m_entry || !isVisible() || pixels.isEmpty()) return;
    m_askedPixels = pixels;
    m_isWaiting = true;
    if (!m_isSharpening) m_busyDelay.start(kBusyDelay, this);
    m_ticket.reset();
    m_ticket = m_services.request({.item = m_entry, .pixels = pixels, .page = m_page},
                                  [this](auto preview) { take(std::move(preview)); });
}

void QVQuickLookView::setPage(std::uint32_t page) {
    if (page == m_page || page >= m_pageCount) return;
    m_page = page;
    m_isSharpening = false;
    updateFooter();
    ask();
}

bool QVQuickLookView::wantsMorePixels() const {
    if (!m_entry || m_askedPixels.isEmpty()) return false;
    const QSize wanted = wantedPixels();
    const auto isLarger = [&wanted](QSize than) {
        return std::min(double(wanted.width()) / than.width(),
                        double(wanted.height()) / than.height()) > kWorthAsking;
    };
    if (m_isWaiting) return isLarger(m_askedPixels);
    if (!isPicture(m_preview.get())) return false;
    // A picture that does not fill the box that it was made for has no more pixels.
    const QSize frame = m_preview->frames.front().size();
    const bool fills =
        frame.width() + 1 >= m_askedPixels.width() || frame.height() + 1 >= m_askedPixels.height();
    return fills && isLarger(frame);
}

void QVQuickLookView::take(std::shared_ptr<const Preview> preview) {
    m_busyDelay.stop();
    m_footer->setBusy(false);
    m_isWaiting = false;
    const bool isSharper = std::exchange(m_isSharpening, false);
    // What could not be made larger is still what the entry looks like.
    if (isSharper && !isPicture(preview.get()) && preview->fault != PreviewFault::Gone) return;
    m_preview = std::move(preview);
    if (isSharper && isPicture(m_preview.get())) {
        m_picture->setSharperPreview(m_preview);
        return;
    }
    showContent();
    Q_EMIT contentDidChange();
}

// --- Showing ---

void QVQuickLookView::showContent() {
    // Where a page cannot be shown, the others are still there to turn to.
    if (isPicture(m_preview.get())) m_pageCount = m_preview->facts.pageCount;
    m_picture->setPlaying(m_autostarts);
    change(fillContent());
}

QWidget* QVQuickLookView::fillContent() {
    if (isPicture(m_preview.get())) {
        m_picture->setPreview(m_preview);
        return m_picture;
    }
    if (m_preview->kind == PreviewKind::Text) {
        textView().setPreview(m_preview);
        return m_text;
    }
    if (m_preview->kind == PreviewKind::Entries && !m_preview->entries.empty()) {
        entriesView().setPreview(m_preview, m_services.iconOf(*m_entry));
        return m_entries;
    }
    m_iconView->setIcon(m_services.iconOf(*m_entry));
    m_iconView->setReason(
        previewFaultText(m_preview->fault, m_entry->isFolder(), m_services.texts));
    return m_iconView;
}

TextView& QVQuickLookView::textView() {
    if (!m_text) m_contents->addWidget(m_text = new TextView);
    return *m_text;
}

EntriesView& QVQuickLookView::entriesView() {
    if (m_entries) return *m_entries;
    const auto iconOfEntry = [this](const PreviewEntry& entry) {
        QVSmartWindowItem item;
        item.name = entry.name;
        item.mode = entry.isFolder ? S_IFDIR : S_IFREG;
        return m_services.iconOf(item);
    };
    m_entries = new EntriesView(m_services.texts, m_services.numbers, iconOfEntry);
    m_contents->addWidget(m_entries);
    return *m_entries;
}

/// Brings one content to the front; the others hold nothing from then on.
void QVQuickLookView::change(QWidget* content) {
    const bool hadFocus = isAncestorOf(QApplication::focusWidget());
    m_contents->setCurrentWidget(content);
    if (content != m_picture) m_picture->setPreview(nullptr);
    if (m_text && content != m_text) m_text->setPreview(nullptr);
    if (m_entries && content != m_entries) m_entries->setPreview(nullptr);
    const bool isScrolled = content != m_iconView && content != m_picture;
    setFocusPolicy(isScrolled ? Qt::NoFocus : Qt::TabFocus);
    if (hadFocus) (isScrolled ? content : this)->setFocus();
    updateFooter();
    describe();
}

void QVQuickLookView::describe() {
    const QWidget* const content = m_contents->currentWidget();
    const auto key = content == m_text      ? "preview_accessible_text"_key
                     : content == m_entries ? "preview_accessible_entries"_key
                     : content == m_picture ? "preview_accessible_picture"_key
                                            : "preview_accessible_icon"_key;
    const QString name =
        m_entry ? StringTable::filled(m_services.texts.text(key), {displayName(m_entry->name)})
                : QString();
    const QString caption = m_footer->caption();
    setAccessibleName(name);
    setAccessibleDescription(caption.isEmpty() ? m_iconView->reason() : caption);
    if (content == m_text) m_text->setAccessibleName(name);
    if (content == m_entries) m_entries->setAccessibleNameOfList(name);
}

void QVQuickLookView::updateFooter() {
    const QString caption =
        m_preview ? previewCaption(*m_preview, m_services.texts, m_services.numbers) : QString();
    m_footer->show(caption, {.hasPages = m_pageCount > 1,
                             .hasPrevious = m_page > 0,
                             .hasNext = m_page + 1 < m_pageCount,
                             .isAnimation = m_picture->isAnimation(),
                             .isPlaying = m_picture->isPlaying()});
}

void QVQuickLookView::paintEvent(QPaintEvent*) {
    if (hasFocus()) {
        QPainter painter(this);
        QStyleOptionFocusRect option;
        option.initFrom(this);
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
    }
    // A screen with another scale is noticed here.
    if (!m_settling.isActive() && wantsMorePixels()) m_settling.start(kSettlingTime, this);
}

// --- Size, time and keys ---

void QVQuickLookView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (!isVisible()) return;
    if (m_askedPixels.isEmpty()) ask();
    m_settling.start(kSettlingTime, this);
    if (!std::exchange(m_isResizing, true)) Q_EMIT liveResizeDidStart();
}

void QVQuickLookView::timerEvent(QTimerEvent* event) {
    if (event->timerId() == m_busyDelay.timerId()) {
        m_busyDelay.stop();
        m_footer->setBusy(true);
    } else if (event->timerId() == m_settling.timerId()) {
        m_settling.stop();
        settle();
    } else {
        QWidget::timerEvent(event);
    }
}

void QVQuickLookView::settle() {
    if (std::exchange(m_isResizing, false))
        m_services.center.post(PreviewNotification::kViewDidEndLiveResize, this);
    if (!wantsMorePixels()) return;
    if (!m_isWaiting) m_isSharpening = true;
    ask();
}

void QVQuickLookView::keyPressEvent(QKeyEvent* event) {
    const bool isHandled = event->modifiers().testFlag(Qt::ControlModifier)
                               ? zoomByKey(event->key())
                               : turnPageByKey(*event);
    if (!isHandled) QWidget::keyPressEvent(event);
}

bool QVQuickLookView::turnPageByKey(const QKeyEvent& event) {
    const bool isNext = event.key() == Qt::Key_PageDown;
    if (!isNext && event.key() != Qt::Key_PageUp) return false;
    if (m_pageCount > 1) {
        setPage(isNext ? m_page + 1 : m_page - 1);
        return true;
    }
    const QWidget* const content = m_contents->currentWidget();
    const auto* const area = qobject_cast<const QAbstractScrollArea*>(
        content->focusProxy() ? content->focusProxy() : content);
    if (!area || isKeyOfTheWindow(event, *area)) return false;
    area->verticalScrollBar()->triggerAction(isNext ? QAbstractSlider::SliderPageStepAdd
                                                    : QAbstractSlider::SliderPageStepSub);
    return true;
}

bool QVQuickLookView::zoomByKey(int key) {
    const QPointF middle = QRectF(m_picture->rect()).center();
    if (m_contents->currentWidget() != m_picture) return false;
    switch (key) {
        case Qt::Key_Plus:
        case Qt::Key_Equal:  // where "+" is above it
            m_picture->zoomBy(kZoomOfAKey, middle);
            return true;
        case Qt::Key_Minus:
            m_picture->zoomBy(1 / kZoomOfAKey, middle);
            return true;
        case Qt::Key_0:
            m_picture->zoomToFit();
            return true;
        default:
            return false;
    }
}

}  // namespace kestrin
