// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVWindowCntrl.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>
#include <QWindow>
#include <utility>

#include "base/NotificationCenter.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "format/QVNumberUtilities.h"
#include "fsutil/EntryKind.h"
#include "smartwindow/QVContentTableView.h"
#include "smartwindow/QVContentViewCntrl.h"
#include "smartwindow/QVListCntrl.h"
#include "smartwindow/QVSmartWindowSourceViewCntrl.h"
#include "smartwindow/QVSmartWindowSplitViewCntrl.h"
#include "smartwindow/QVSourceTableCellView.h"
#include "smartwindow/QVSourceTableView.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "smartwindow/WindowFrame.h"
#include "widgets/Colors.h"
#include "widgets/Sheet.h"

namespace kestrin {
namespace {

constexpr char kFrameSetting[] = "smart_delete_window";
constexpr QSize kFirstSize(980, 620);
constexpr QSize kLeastSize(640, 400);
constexpr QSize kTitleAndEdges(8, 40);
constexpr int kModalPanelLevel = 8;
constexpr int kLeastSourceListWidth = 160;
constexpr int kFilterWidth = 260;
constexpr int kMargin = 8;
constexpr QSize kToolSize(16, 16);

/// Where it does not, a window neither learns nor says where it is.
bool desktopLetsWindowsBePlaced() {
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

QList<QRect> areasForWindows() {
    QList<QRect> areas;
    for (const QScreen* const screen : QGuiApplication::screens())
        areas.append(screen->availableGeometry());
    return areas;
}

/// What a window can fill of the screen, without its title.
QSize roomOnScreen() {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    return screen ? screen->availableSize() - kTitleAndEdges : kFirstSize;
}

/// What of the program lies open upon a window, and may have been opened by code of the window that
/// waits for it: a menu, a sheet, an alert. Nullptr for nothing.
QWindow* openUpon(const QWidget& window) {
    if (const QWidget* const menu = QApplication::activePopupWidget()) return menu->windowHandle();
    if (QWindow* const sheet = sheetOn(window)) return sheet;
    for (QWindow* const other : QGuiApplication::topLevelWindows())
        if (other->isVisible() && other->modality() == Qt::ApplicationModal) return other;
    return nullptr;
}

}  // namespace

// --- Loading ---

QVWindowCntrl::QVWindowCntrl(const SmartWindowServices& services) : m_services(services) {
    setObjectName(QStringLiteral("smart_window"));
    setWindowTitle(m_services.texts.text("smart_window_name_default"_key));
    setContextMenuPolicy(Qt::PreventContextMenu);
    setMinimumSize(kLeastSize.boundedTo(roomOnScreen()));
    makePanes();
    makeToolBar();
    makeShortcuts();
    connect(m_sources, &QVSmartWindowSourceViewCntrl::sourcesDidChange, m_content,
            &QVContentViewCntrl::sourcesDidChange);
    connect(&m_content->listCntrl(), &QVListCntrl::checkedFiguresDidChange, this,
            &QVWindowCntrl::showFigures);
    connect(&m_content->listCntrl(), &QVListCntrl::isErasingDidChange, this,
            [this](bool isErasing) {
                m_sources->setTakesChecks(!isErasing);
                m_eraseBtn->setEnabled(!isErasing);
            });
    showFigures();
    setLevel(kModalPanelLevel);
    m_sources->viewDidLoad();
}

/// The controllers go before the views and before each other's callers.
QVWindowCntrl::~QVWindowCntrl() {
    delete m_content;
    delete m_sources;
}

void QVWindowCntrl::makePanes() {
    m_sourceTable = new QVSourceTableView;
    m_sourceTable->setFrameShape(QFrame::NoFrame);
    m_sourceTable->setMinimumWidth(kLeastSourceListWidth);
    m_sourceTable->setAccessibleName(m_services.texts.text("smart_window_sources"_key));
    m_sourceCells = new QVSourceTableCellView(m_services.texts.text("smart_window_gathering"_key),
                                              m_sourceTable);
    m_sourceTable->setItemDelegate(m_sourceCells);
    connect(m_sourceTable, &QVSourceTableView::contextMenuRequested, this,
            &QVWindowCntrl::openSourceMenu);
    m_sources = new QVSmartWindowSourceViewCntrl(m_services, *m_sourceTable, this);
    m_content = new QVContentViewCntrl(
        m_services, {.setWindowLevel = [this](int level) { setLevel(level); },
                     .closeWindow =
                         [this] {  // since entries were erased
                             windowWillClose();
                             m_sources->forgetSources();
                         },
                     .sourceItems = [this] { return m_sources->sourceItems(); },
                     .sourcesAreListed = [this] { return m_sources->isListed(); }});
    m_splitView = new QVSmartWindowSplitViewCntrl(m_sourceTable, m_content, m_services.texts,
                                                  m_services.center);
    m_splitView->setStretchFactor(1, 1);
    connect(m_splitView, &CollapsingSplitter::collapseDidChange, m_sources,
            &QVSmartWindowSourceViewCntrl::setIsCollapsed);
    auto* const ground = new QWidget;
    auto* const column = new QVBoxLayout(ground);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_splitView, 1);
    auto* const line = new QFrame;
    line->setFrameStyle(QFrame::HLine | QFrame::Sunken);
    column->addWidget(line);
    column->addWidget(makeBottomBar());
    setCentralWidget(ground);
}

void QVWindowCntrl::openSourceMenu(const QModelIndex& row, const QPoint& place) {
    auto* const menu = new QMenu(m_sourceTable);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const bool isChecked = row.data(Qt::CheckStateRole).toInt() == Qt::Checked;
    QAction* const check = menu->addAction(
        m_services.texts.text(isChecked ? "source_menu_uncheck"_key : "source_menu_check"_key));
    check->setEnabled(row.flags().testFlag(Qt::ItemIsUserCheckable));
    connect(check, &QAction::triggered, this, [this, row = QPersistentModelIndex(row), isChecked] {
        m_sourceTable->model()->setData(row, isChecked ? Qt::Unchecked : Qt::Checked,
                                        Qt::CheckStateRole);
    });
    QAction* const refresh = menu->addAction(m_services.texts.text("smart_window_refresh"_key));
    connect(refresh, &QAction::triggered, m_sources, &QVSmartWindowSourceViewCntrl::refreshAction);
    const auto frame = [this](const QModelIndex& framed) {
        m_sourceCells->setRowWithMenu(framed);
        m_sourceTable->viewport()->update();
    };
    frame(row);
    connect(menu, &QMenu::aboutToHide, this, [frame] { frame({}); });
    menu->popup(place);
}

QWidget* QVWindowCntrl::makeBottomBar() {
    auto* const bar = new QWidget;
    m_hiddenInfo = new QLabel;
    m_hiddenInfo->setTextFormat(Qt::PlainText);
    m_hiddenInfo->setWordWrap(true);
    m_eraseBtn = new QPushButton;
    m_eraseBtn->setObjectName(QStringLiteral("erase"));
    connect(m_eraseBtn, &QPushButton::clicked, this, [this] { m_content->deleteItemsAction(); });
    auto* const row = new QHBoxLayout(bar);
    row->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    row->addWidget(m_hiddenInfo, 1);
    row->addWidget(m_eraseBtn);
    return bar;
}

void QVWindowCntrl::makeToolBar() {
    auto* const bar = addToolBar(m_services.texts.text("smart_window_tools"_key));
    bar->setMovable(false);
    bar->setFloatable(false);
    bar->setIconSize(kToolSize);
    const auto& texts = m_services.texts;
    QAction* const sources = addPaneAction(texts.text("smart_window_show_sources"_key), Qt::Key_F9);
    connect(sources, &QAction::triggered, this,
            [this](bool isShown) { m_splitView->setIsCollapsed(!isShown); });
    connect(m_splitView, &CollapsingSplitter::collapseDidChange, sources,
            [sources](bool isCollapsed) { sources->setChecked(!isCollapsed); });
    QAction* const preview =
        addPaneAction(texts.text("smart_window_show_preview"_key), Qt::Key_F11);
    connect(preview, &QAction::triggered, this,
            [this](bool isShown) { m_content->setIsCollapsed(!isShown); });
    connect(m_content, &QVContentViewCntrl::collapseDidChange, preview,
            [preview](bool isCollapsed) { preview->setChecked(!isCollapsed); });
    auto* const refresh = new QAction(texts.text("smart_window_refresh"_key), this);
    refresh->setShortcuts(QKeySequence::Refresh);
    connect(refresh, &QAction::triggered, m_sources, &QVSmartWindowSourceViewCntrl::refreshAction);
    m_tools = {{sources, Tool::LeftPane}, {refresh, Tool::Refresh}, {preview, Tool::RightPane}};
    auto* const filter = makeFilter();
    m_checkedInfo = new QLabel;
    m_checkedInfo->setTextFormat(Qt::PlainText);
    m_checkedInfo->setContentsMargins(kMargin, 0, kMargin, 0);
    colourTools();
    bar->addAction(sources);
    bar->addAction(refresh);
    bar->addWidget(filter);
    bar->addWidget(m_checkedInfo);
    bar->addAction(preview);
}

QWidget* QVWindowCntrl::makeFilter() {
    const auto& texts = m_services.texts;
    m_kind = new QComboBox;
    m_kind->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_kind->addItem(texts.text("kind_all"_key));
    for (const EntryKind kind : kEntryKinds)
        m_kind->addItem(texts.text(kindTextKey(kind)), int(kind));
    m_kind->setMaxVisibleItems(m_kind->count());
    m_kind->setAccessibleName(texts.text("smart_window_kind"_key));
    m_kind->setToolTip(m_kind->accessibleName());
    m_filter = new QLineEdit;
    m_filter->setClearButtonEnabled(true);
    m_filter->setMaximumWidth(kFilterWidth);
    m_filter->setPlaceholderText(texts.text("smart_window_filter"_key));
    m_filter->setAccessibleName(m_filter->placeholderText());
    connect(m_kind, &QComboBox::currentIndexChanged, this, &QVWindowCntrl::applyFilter);
    connect(m_filter, &QLineEdit::textChanged, this, &QVWindowCntrl::applyFilter);
    auto* const both = new QWidget;
    auto* const row = new QHBoxLayout(both);
    row->setContentsMargins(kMargin / 2, 0, 0, 0);
    row->setSpacing(kMargin / 2);
    row->addWidget(m_kind);
    row->addWidget(m_filter, 1);
    row->addStretch();  // holds what stands behind it at the end of the tool bar
    return both;
}

void QVWindowCntrl::applyFilter() {
    const QVariant kind = m_kind->currentData();
    m_content->listCntrl().setFilter(ItemFilter(
        m_filter->text(),
        kind.isValid() ? std::optional(static_cast<EntryKind>(kind.toInt())) : std::nullopt));
}

QAction* QVWindowCntrl::addPaneAction(const QString& text, Qt::Key key) {
    auto* const action = new QAction(text, this);
    action->setCheckable(true);
    action->setChecked(true);
    action->setShortcut(key);
    return action;
}

/// The pictures have the colour and the direction of the texts, which may change at any time.
void QVWindowCntrl::colourTools() {
    QPalette colours = palette();
    colours.setColor(QPalette::PlaceholderText, faintTextColor(colours));
    m_filter->setPalette(colours);
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    for (auto [action, tool] : m_tools) {
        if (isMirrored && tool != Tool::Refresh)
            tool = tool == Tool::LeftPane ? Tool::RightPane : Tool::LeftPane;
        action->setIcon(toolIcon(tool, colours.color(QPalette::ButtonText)));
    }
}

void QVWindowCntrl::makeShortcuts() {
    auto* const find = new QShortcut(QKeySequence(QKeySequence::Find), this);
    connect(find, &QShortcut::activated, this, [this] {
        m_filter->setFocus(Qt::ShortcutFocusReason);
        m_filter->selectAll();
    });
    auto* const leave = new QShortcut(QKeySequence(Qt::Key_Escape), m_filter);
    leave->setContext(Qt::WidgetShortcut);
    connect(leave, &QShortcut::activated, this, [this] {
        m_filter->clear();
        m_content->tableView().setFocus(Qt::ShortcutFocusReason);
    });
    auto* const close = new QShortcut(QKeySequence(QKeySequence::Close), this);
    connect(close, &QShortcut::activated, this, &QWidget::close);
}

void QVWindowCntrl::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && !isMaximized() && !isFullScreen())
        m_edges = geometry().topLeft() - pos();
    const bool isOfTexts =
        event->type() == QEvent::PaletteChange || event->type() == QEvent::LayoutDirectionChange;
    if (isOfTexts && m_filter) colourTools();
}

// --- Place ---

void QVWindowCntrl::restoreFrame() {
    setWindowState(Qt::WindowNoState);
    const auto saved = savedFrame();
    if (!saved) return resize(kFirstSize.boundedTo(roomOnScreen()));
    const QRect frame = frameOnScreens(*saved, areasForWindows());
    if (desktopLetsWindowsBePlaced()) move(frame.topLeft());
    resize(frame.size());
}

std::optional<QRect> QVWindowCntrl::savedFrame() const {
    return frameFromString(m_services.defaults.stringForKey(kFrameSetting));
}

/// The size is that of the window without its title and edges. A window that fills the screen may
/// have none of those for the time. Where a window does not learn its place, the saved one stays.
QRect QVWindowCntrl::frameToSave() const {
    const bool fillsScreen = isMaximized() || isFullScreen();
    QRect frame = fillsScreen ? normalGeometry().translated(-m_edges) : QRect(pos(), size());
    if (!desktopLetsWindowsBePlaced()) frame.moveTopLeft(savedFrame().value_or(QRect()).topLeft());
    return frame;
}

void QVWindowCntrl::setLevel(int level) {
    // The flag of the native window alone: the widget's own would hide the window first.
    overrideWindowFlags(windowFlags().setFlag(Qt::WindowStaysOnTopHint, level > 0));
    if (QWindow* const window = windowHandle())
        window->setFlag(Qt::WindowStaysOnTopHint, level > 0);
}

void QVWindowCntrl::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && windowHandle()) windowHandle()->startSystemMove();
    QMainWindow::mousePressEvent(event);
}

// --- Opening and closing ---

void QVWindowCntrl::showWindow() {
    if (!std::exchange(m_isOpen, true)) {
        restoreFrame();
        m_kind->setCurrentIndex(0);
        m_filter->clear();
        show();
        m_sources->viewDidAppear();
    }
    setWindowState(windowState() & ~Qt::WindowMinimized);
    raise();
    activateWindow();
}

void QVWindowCntrl::trashContentsDidChange() {
    m_sources->trashContentsDidChange();
}

void QVWindowCntrl::closeEvent(QCloseEvent* event) {
    if (m_isOpen && (sheetOn(*this) || m_content->isDeleting())) return event->ignore();
    windowWillClose();
    event->accept();
}

void QVWindowCntrl::windowWillClose() {
    if (!std::exchange(m_isOpen, false)) return;
    m_services.defaults.setQuietly(kFrameSetting, stringFromFrame(frameToSave()));
    m_content->closeQLWindow();
    m_sources->windowWillClose();
    m_content->listCntrl().windowWillClose();
    hide();
    m_services.center.post(SmartWindowNotification::kSmartWindowDidClose);
}

void QVWindowCntrl::letGo() {
    windowWillClose();
    m_sources->stopListening();
    m_content->listCntrl().stopListening();
    deleteWhenFree();
}

/// Looks later: code that waited for what was open has then gone on and come to its end.
void QVWindowCntrl::deleteWhenFree() {
    QTimer::singleShot(0, this, [this] {
        QWindow* const open = openUpon(*this);
        if (!open) return deleteLater();
        connect(open, &QWindow::visibleChanged, this, &QVWindowCntrl::deleteWhenFree,
                Qt::SingleShotConnection);
    });
}

// --- Figures ---

void QVWindowCntrl::showFigures() {
    const CheckedFigures& figures = m_content->listCntrl().checkedFigures();
    const auto text = [&](std::string_view key, std::uint64_t count, const QStringList& more = {}) {
        const QString format =
            m_services.texts.text(key, StringTable::Table::Default, static_cast<long long>(count));
        const QString number = m_services.numbers.numberToFormatString(static_cast<double>(count));
        return StringTable::filled(format, QStringList(number) + more);
    };
    const bool isSome = figures.count != 0;
    if (figures.hiddenCount != 0) {
        const auto hidden = static_cast<double>(figures.hiddenCount);
        m_eraseBtn->setText(text("smart_window_erase_hidden"_key, figures.count,
                                 {m_services.numbers.numberToFormatString(hidden)}));
    } else {
        m_eraseBtn->setText(isSome ? text("smart_window_erase"_key, figures.count)
                                   : m_services.texts.text("smart_window_erase_none"_key));
    }
    m_checkedInfo->setText(
        isSome ? text("smart_window_checked"_key, figures.count,
                      {m_services.numbers.sizeToFormatString(figures.size, 4, true)})
               : QString());
    m_hiddenInfo->setText(figures.hiddenCount == 0
                              ? QString()
                              : text("smart_window_hidden"_key, figures.hiddenCount));
}

}  // namespace kestrin
