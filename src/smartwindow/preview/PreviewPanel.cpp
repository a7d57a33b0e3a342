// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/PreviewPanel.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QGraphicsOpacityEffect>
#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPropertyAnimation>
#include <QScreen>
#include <QStackedWidget>
#include <QStyle>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "base/StringTable.h"
#include "format/QVNumberUtilities.h"
#include "smartwindow/preview/ItemDetails.h"
#include "smartwindow/preview/PreviewCollectionView.h"
#include "smartwindow/preview/PreviewServices.h"
#include "smartwindow/preview/PreviewZoom.h"
#include "smartwindow/preview/QVQuickLookView.h"
#include "viewer/ViewerProtocol.h"
#include "widgets/Colors.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace {

// Window managers are told of a dialog alone that it belongs to another window. It is minimised
// with that, not alone.
constexpr Qt::WindowFlags kFrame = Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                   Qt::WindowSystemMenuHint | Qt::WindowMaximizeButtonHint |
                                   Qt::WindowCloseButtonHint;
constexpr QSize kFirstSize(640, 480);
constexpr QSize kLeastSize(400, 320);
constexpr QSize kPageSize(640, 760);  // for texts and lists of entries
constexpr int kTitleHeight = 40;
constexpr double kShareOfScreen = 0.85;
constexpr int kLongestTransitionMilliseconds = 180;
constexpr int kLongestLingerMilliseconds = 300;
constexpr QSize kToolSize(16, 16);
constexpr int kMargin = 8;

/// Where it does not, a window neither learns nor says where it is, and fades instead of zooming.
bool desktopLetsWindowsBePlaced() {
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

bool isReturn(const QKeyEvent& event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

bool hasModifiers(const QKeyEvent& event) {
    return (event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier;
}

std::shared_ptr<QVSmartWindowItem> entryOf(const std::shared_ptr<QVPreviewItem>& item) {
    return item ? item->item() : nullptr;
}

}  // namespace

PreviewPanel::PreviewPanel(const PreviewServices& services, Outlets outlets, QWidget& window)
    : QDialog(&window, kFrame), m_services(services), m_outlets(std::move(outlets)) {
    setObjectName(QStringLiteral("preview_panel"));
    setAttribute(Qt::WA_QuitOnClose, false);
    setMinimumSize(kLeastSize);
    m_view = new QVQuickLookView(m_services);
    m_view->setAutostarts(true);
    connect(m_view, &QVQuickLookView::contentDidChange, this, &PreviewPanel::growToContent);
    m_nothing = new QLabel(m_services.texts.text("panel_nothing"_key));
    m_nothing->setAlignment(Qt::AlignCenter);
    m_nothing->setWordWrap(true);
    m_stack = new QStackedWidget;
    m_stack->addWidget(m_nothing);
    m_stack->addWidget(m_view);
    m_stack->setBackgroundRole(QPalette::Base);
    m_stack->setAutoFillBackground(true);
    makeToolBar();
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_bar);
    column->addWidget(m_stack, 1);
    winId();  // makes the native window, which every key reaches before a widget
    windowHandle()->installEventFilter(this);
}

PreviewPanel::~PreviewPanel() {
    orderOut();
    delete m_zoom;
}

// --- Its bar ---

void PreviewPanel::makeToolBar() {
    const StringTable& texts = m_services.texts;
    m_bar = new QToolBar(texts.text("panel_tools"_key));
    m_bar->setIconSize(kToolSize);
    m_bar->setContextMenuPolicy(Qt::PreventContextMenu);
    m_previous = addTool(Tool::Previous, texts.text("panel_previous"_key));
    connect(m_previous, &QAction::triggered, this, [this] { step(-1); });
    m_next = addTool(Tool::Next, texts.text("panel_next"_key));
    connect(m_next, &QAction::triggered, this, [this] { step(1); });
    m_position = new QLabel;
    m_position->setContentsMargins(kMargin, 0, kMargin, 0);
    m_toolsOfSeveral = {m_previous, m_next, m_bar->addWidget(m_position)};
    m_indexSheet = addTool(Tool::IndexSheet, texts.text("panel_index_sheet"_key));
    m_indexSheet->setCheckable(true);
    m_indexSheet->setShortcuts({Qt::CTRL | Qt::Key_Return, Qt::CTRL | Qt::Key_Enter});
    connect(m_indexSheet, &QAction::toggled, this, &PreviewPanel::showContent);
    m_toolsOfSeveral.push_back(m_indexSheet);
    m_facts = new ElidedLabel(Qt::ElideRight);
    m_facts->setAlignment(Qt::AlignCenter);
    m_facts->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_facts->setContentsMargins(kMargin, 0, kMargin, 0);
    m_bar->addWidget(m_facts);
    QAction* const reveal = addTool(Tool::Reveal, texts.text("panel_reveal"_key));
    connect(reveal, &QAction::triggered, this, [this] { command(m_outlets.reveal); });
    QAction* const open = addTool(Tool::Open, texts.text("panel_open"_key));
    connect(open, &QAction::triggered, this, [this] { command(m_outlets.open); });
    m_toolsOfItem = {reveal, open};
    m_fullScreen = addTool(Tool::FullScreen, texts.text("panel_full_screen"_key));
    m_fullScreen->setCheckable(true);
    m_fullScreen->setShortcut(Qt::Key_F11);
    connect(m_fullScreen, &QAction::triggered, this, [this](bool isFull) {
        setWindowState(windowState().setFlag(Qt::WindowFullScreen, isFull));
    });
    auto* const close = new QAction(this);
    close->setShortcuts(QKeySequence::Close);
    connect(close, &QAction::triggered, this, &PreviewPanel::zoomOut);
    addAction(close);
    colourTools();
}

QAction* PreviewPanel::addTool(Tool tool, const QString& text) {
    auto* const action = new QAction(text, this);
    m_bar->addAction(action);
    m_tools.emplace_back(action, tool);
    return action;
}

/// The pictures have the colour and the direction of the texts, which may change at any time.
void PreviewPanel::colourTools() {
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    for (auto [action, tool] : m_tools) {
        if (isMirrored && tool == Tool::Previous) {
            tool = Tool::Next;
        } else if (isMirrored && tool == Tool::Next) {
            tool = Tool::Previous;
        }
        action->setIcon(toolIcon(tool, palette().color(QPalette::ButtonText)));
    }
    QPalette faint = palette();
    faint.setColor(QPalette::WindowText, faintTextColor(faint));
    m_nothing->setPalette(faint);
    m_facts->setPalette(faint);
}

void PreviewPanel::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    const bool isOfTexts =
        event->type() == QEvent::PaletteChange || event->type() == QEvent::LayoutDirectionChange;
    if (isOfTexts && m_fullScreen) colourTools();
    if (event->type() != QEvent::WindowStateChange) return;
    m_fullScreen->setChecked(isFullScreen());
    growToContent();
}

void PreviewPanel::command(const Command& command) {
    if (const auto entry = entryOf(m_item)) command(entry);
}

// --- What it shows ---

void PreviewPanel::setSource(PreviewPanelSource source) {
    m_source = std::move(source);
    reloadData();
}

void PreviewPanel::reloadData() {
    m_count = m_isOpen && m_source.numberOfPreviewItems ? m_source.numberOfPreviewItems() : 0;
    m_index = indexOfShownItem().value_or(std::min(m_index, std::max<std::size_t>(m_count, 1) - 1));
    if (m_count < 2) m_indexSheet->setChecked(false);
    if (m_sheet) m_sheet->reloadData();
    showCurrentItem();
}

/// Most often it is where it was.
std::optional<std::size_t> PreviewPanel::indexOfShownItem() const {
    const auto entry = entryOf(m_item);
    if (!entry) return std::nullopt;
    const auto isAt = [&](std::size_t index) {
        return entryOf(m_source.previewItemAtIndex(index)) == entry;
    };
    if (m_index < m_count && isAt(m_index)) return m_index;
    for (std::size_t index = 0; index < m_count; ++index)
        if (isAt(index)) return index;
    return std::nullopt;
}

void PreviewPanel::setCurrentPreviewItemIndex(std::size_t index) {
    if (index >= m_count || index == m_index) return;
    m_index = index;
    showCurrentItem();
}

void PreviewPanel::step(int by) {
    const bool isFirst = m_index == 0;
    if (by < 0 && isFirst) return;
    setCurrentPreviewItemIndex(by < 0 ? m_index - 1 : m_index + 1);
}

void PreviewPanel::showCurrentItem() {
    const auto shown = entryOf(m_item);
    m_item = m_count == 0 ? nullptr : m_source.previewItemAtIndex(m_index);
    m_view->setPreviewItem(m_item);
    if (const auto entry = entryOf(m_item); entry != shown) {
        showFacts(entry ? knownDetails(*entry) : ItemDetails());
        m_detailsTicket =
            entry ? m_services.requestDetails(
                        entry, [this](const ItemDetails& details) { showFacts(details); })
                  : nullptr;
    }
    setWindowTitle(m_item ? plainWindowTitle(m_item->previewItemTitle())
                          : m_services.texts.text("panel_title"_key));
    const auto number = [this](std::size_t value) {
        return m_services.numbers.numberToFormatString(static_cast<double>(value));
    };
    m_position->setText(StringTable::filled(m_services.texts.text("panel_position"_key),
                                            {number(m_index + 1), number(m_count)}));
    for (QAction* const action : m_toolsOfSeveral)
        action->setVisible(m_count > 1);
    for (QAction* const action : m_toolsOfItem)
        action->setEnabled(m_item != nullptr);
    m_previous->setEnabled(m_index > 0);
    m_next->setEnabled(m_index + 1 < m_count);
    showContent();
    growToContent();
}

void PreviewPanel::showFacts(const ItemDetails& details) {
    const QString changed = details.dateModified.isEmpty()
                                ? QString()
                                : StringTable::filled(m_services.texts.text("panel_changed"_key),
                                                      {details.dateModified});
    QStringList facts{details.kind, details.size, changed};
    facts.removeAll(QString());
    m_facts->setFullText(facts.join(m_services.texts.text("panel_between"_key)));
}

void PreviewPanel::showContent() {
    if (m_indexSheet->isChecked()) {
        if (!m_sheet) makeIndexSheet();
        m_stack->setCurrentWidget(m_sheet);  // which gives it the size that it scrolls in
        return m_sheet->setCurrentIndex(m_index);
    }
    m_stack->setCurrentWidget(m_item ? static_cast<QWidget*>(m_view) : m_nothing);
}

void PreviewPanel::makeIndexSheet() {
    m_sheet = new PreviewCollectionView(m_services, true);
    m_sheet->setFrameShape(QFrame::NoFrame);
    m_sheet->setDataSource(
        {.numberOfItems = [this] { return m_count; },
         .itemAt = [this](std::size_t index) { return m_source.previewItemAtIndex(index); }});
    connect(m_sheet, &PreviewCollectionView::currentIndexDidChange, this,
            [this] { setCurrentPreviewItemIndex(m_sheet->currentIndex().value_or(m_index)); });
    connect(m_sheet, &PreviewCollectionView::itemActivated, m_indexSheet,
            [this] { m_indexSheet->setChecked(false); });
    m_stack->addWidget(m_sheet);
    m_sheet->reloadData();
}

// --- Keys ---

/// Whatever has the focus: a text that was clicked into must not keep the arrows for itself.
bool PreviewPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == windowHandle() && event->type() == QEvent::Expose && isVisible() && m_zoom)
        QTimer::singleShot(0, m_zoom, &QObject::deleteLater);  // what was exposed is drawn by then
    if (watched == windowHandle() && event->type() == QEvent::KeyPress &&
        !QApplication::activePopupWidget() && handleKey(static_cast<QKeyEvent&>(*event)))
        return true;
    return QDialog::eventFilter(watched, event);
}

bool PreviewPanel::handleKey(QKeyEvent& event) {
    const bool isPlain = !hasModifiers(event);
    const bool presses = event.key() == Qt::Key_Space || isReturn(event);
    if (event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab) return false;
    if (presses && qobject_cast<QAbstractButton*>(focusWidget())) return false;
    if (event.key() == Qt::Key_Space && isPlain) {
        if (!event.isAutoRepeat()) zoomOut();
        return true;
    }
    if (m_indexSheet->isChecked() && event.key() != Qt::Key_Escape) {
        event.accept();
        QCoreApplication::sendEvent(m_sheet, &event);
        if (event.isAccepted()) return true;
    }
    if (handleKeyOfEitherWindow(event)) return true;
    const bool isOfContent = isPlain
                                 ? event.key() == Qt::Key_PageUp || event.key() == Qt::Key_PageDown
                                 : event.modifiers().testFlag(Qt::ControlModifier);
    if (isOfContent) {
        event.accept();
        QCoreApplication::sendEvent(m_view, &event);
        if (event.isAccepted()) return true;
    }
    const auto* const text = qobject_cast<QPlainTextEdit*>(focusWidget());
    const bool isOfText =
        text && text->isVisible() &&
        (event.matches(QKeySequence::SelectAll) ||
         (event.matches(QKeySequence::Copy) && text->textCursor().hasSelection()));
    return !isOfText && m_source.handleEvent && m_source.handleEvent(event);
}

bool PreviewPanel::handleKeyOfEitherWindow(QKeyEvent& event) {
    if (isReturn(event) && event.modifiers() == Qt::ControlModifier && m_count > 1) {
        m_indexSheet->toggle();
        return true;
    }
    if (hasModifiers(event)) return false;
    const bool isRightToLeft = layoutDirection() == Qt::RightToLeft;
    switch (event.key()) {
        case Qt::Key_Escape:
            if (isFullScreen()) {
                m_fullScreen->trigger();
            } else {
                zoomOut();
            }
            return true;
        case Qt::Key_Left:
        case Qt::Key_Right:
            if (m_count < 2) return false;
            step((event.key() == Qt::Key_Right) != isRightToLeft ? 1 : -1);
            return true;
        default:
            return false;
    }
}

// --- Its size ---

void PreviewPanel::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    const bool fillsScreen = isFullScreen() || isMaximized();
    if (isVisible() && !fillsScreen && size() != m_givenSize) m_wasSizedByUser = true;
}

/// It keeps its middle, as far as the screen has room.
void PreviewPanel::growToContent() {
    const bool fillsScreen = isFullScreen() || isMaximized();
    if (!m_isOpen || m_wasSizedByUser || fillsScreen) return;
    const QSize size = sizeForContent().expandedTo(m_givenSize);
    if (size == m_givenSize) return;
    const QRect area = areaOnScreen();
    QRect place({}, size);
    place.moveCenter(m_givenSize.isEmpty() ? area.center() : geometry().center());
    place.moveLeft(std::clamp(place.left(), area.left(), area.right() - size.width() + 1));
    place.moveTop(std::clamp(place.top(), area.top(), area.bottom() - size.height() + 1));
    m_givenSize = size;
    setGeometry(place);
}

/// Where the panel has room, without its title.
QRect PreviewPanel::areaOnScreen() const {
    return parentWidget()->screen()->availableGeometry().adjusted(0, kTitleHeight, 0, 0);
}

QSize PreviewPanel::sizeForContent() const {
    const QSize bar(0, m_bar->sizeHint().height());
    const QSize room = areaOnScreen().size() * kShareOfScreen - bar;
    const auto preview = m_view->preview();
    QSize content;
    if (preview && preview->kind == PreviewKind::Image) {
        const PreviewFacts& facts = preview->facts;
        content = QSizeF(facts.naturalWidth, facts.naturalHeight).toSize() / devicePixelRatioF();
        if (content.width() > room.width() || content.height() > room.height())
            content.scale(room, Qt::KeepAspectRatio);
    } else if (preview && preview->kind != PreviewKind::None) {
        content = kPageSize;
    }
    return content.expandedTo(kFirstSize).boundedTo(room) + bar;
}

// --- Coming and going ---

void PreviewPanel::makeKeyAndOrderFront() {
    if (m_isOpen) {
        raise();
        return activateWindow();
    }
    if (!m_outlets.acceptsControl(*this)) return;
    m_isOpen = true;
    m_wasSizedByUser = false;
    m_givenSize = {};
    m_index = 0;
    m_outlets.beginControl(*this);
    reloadData();
    delete m_zoom;
    const QRect start = origin();
    if (start.isEmpty()) return present();
    m_zoom = new PreviewZoom({start, m_source.transitionImageForPreviewItem(*m_item)},
                             {geometry(), grab()}, duration());
    connect(m_zoom, &PreviewZoom::arrived, this, &PreviewPanel::present);
}

void PreviewPanel::present() {
    // The picture stays until the window is drawn below it, and no longer where that never comes.
    if (m_zoom) QTimer::singleShot(kLongestLingerMilliseconds, m_zoom, &QObject::deleteLater);
    if (!m_zoom && !desktopLetsWindowsBePlaced()) fadeIn();
    show();
    raise();
    activateWindow();
}

/// Where no window can say how much of it is seen, its content does.
void PreviewPanel::fadeIn() {
    if (duration() == 0) return;
    auto* const effect = new QGraphicsOpacityEffect(m_stack);
    m_stack->setGraphicsEffect(effect);
    auto* const fade = new QPropertyAnimation(effect, "opacity", effect);
    fade->setStartValue(0.0);
    fade->setEndValue(1.0);
    fade->setDuration(duration());
    connect(fade, &QPropertyAnimation::finished, m_stack,
            [this] { m_stack->setGraphicsEffect(nullptr); });
    fade->start();
}

void PreviewPanel::orderOut() {
    leaveFor({});
}

void PreviewPanel::zoomOut() {
    leaveFor(isVisible() && !isFullScreen() ? origin() : QRect());
}

void PreviewPanel::leaveFor(const QRect& place) {
    if (!std::exchange(m_isOpen, false)) return;
    delete m_zoom;
    const bool wasActive = isActiveWindow();
    PreviewZoom::Stand start, end;
    if (!place.isEmpty()) {
        start = {geometry(), grab()};
        end = {place, m_source.transitionImageForPreviewItem(*m_item)};
    }
    m_outlets.endControl(*this);
    setSource({});
    hide();
    setWindowState(Qt::WindowNoState);
    if (wasActive) parentWidget()->activateWindow();
    if (place.isEmpty()) return;
    m_zoom = new PreviewZoom(start, end, duration());
    connect(m_zoom, &PreviewZoom::arrived, m_zoom, &QObject::deleteLater);
}

void PreviewPanel::closeEvent(QCloseEvent* event) {
    m_outlets.willClose(*this);
    zoomOut();
    event->accept();
}

/// Where the panel comes from and goes to: a place of its own shape where its row begins. It is
/// empty where nothing is to be seen of that.
QRect PreviewPanel::origin() const {
    if (!m_item || duration() == 0 || !desktopLetsWindowsBePlaced()) return {};
    const QRect row = m_source.sourceFrameOnScreenForPreviewItem(*m_item);
    if (row.isEmpty()) return {};
    return QStyle::alignedRect(layoutDirection(), Qt::AlignLeading | Qt::AlignVCenter,
                               size().scaled(row.size(), Qt::KeepAspectRatio), row);
}

/// How long coming and going takes; 0 where the desktop is told to animate nothing.
int PreviewPanel::duration() const {
    return std::min(style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this),
                    kLongestTransitionMilliseconds);
}

}  // namespace kestrin
