// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/QVDiskMenuItemView.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QScreen>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "app/MenuCreationOperationQueue.h"
#include "base/MainThread.h"
#include "base/NotificationCenter.h"
#include "base/OperationQueue.h"
#include "base/StringTable.h"
#include "erase/QVDeleteItems.h"
#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"
#include "platform/desktop/ui/StatusItem.h"
#include "widgets/BusySpinner.h"
#include "widgets/ElidedLabel.h"
#include "widgets/MenuRow.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

constexpr int kIconSize = 32;
constexpr int kSideMargin = 12;
constexpr int kWidthBesideName = 104;
constexpr int kFlashInterval = 125;  ///< milliseconds
constexpr auto kActionDelay = 100ms;

void closeOpenMenus() {
    while (auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
        menu->close();
        if (menu->isVisible()) return;
    }
}

}  // namespace

/// Whether an erase of the row's disk is under way and waits for its figures. It may outlive the
/// row.
struct QVDiskMenuItemView::Wait {
    bool isOn = false;
    Observation endOfErase{};
};

QVDiskMenuItemView::QVDiskMenuItemView(const DiskRowServices& services, QAction& action)
    : m_services(services), m_action(action) {
    setObjectName(QStringLiteral("diskRow"));
    setFocusPolicy(Qt::StrongFocus);
    buildLayout();
    connect(&m_action, &QAction::changed, this, [this] {
        setEnabled(m_action.isEnabled());
        updateColors();
    });
    // A menu that is opened by a key makes its first entry the current one, but gives it no focus.
    connect(&m_action, &QAction::hovered, this, [this] {
        if (isVisible()) setFocus(Qt::OtherFocusReason);
    });
}

QVDiskMenuItemView::~QVDiskMenuItemView() {
    forgetCount();
}

void QVDiskMenuItemView::buildLayout() {
    m_diskIcon = new QLabel(this);
    m_diskIcon->setFixedSize(kIconSize, kIconSize);
    m_diskName = new ElidedLabel(Qt::ElideMiddle, this);
    m_diskName->setObjectName(QStringLiteral("diskName"));
    m_subName = new ElidedLabel(Qt::ElideRight, this);
    m_subName->setObjectName(QStringLiteral("diskInfo"));
    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    m_subName->setFont(small);
    m_spinner = new BusySpinner(this);
    m_spinner->setObjectName(QStringLiteral("diskSpinner"));
    for (QWidget* part : {static_cast<QWidget*>(m_diskIcon), static_cast<QWidget*>(m_diskName),
                          static_cast<QWidget*>(m_subName), static_cast<QWidget*>(m_spinner)}) {
        part->setAttribute(Qt::WA_TransparentForMouseEvents);
    }

    auto* const grid = new QGridLayout(this);
    grid->setContentsMargins(kSideMargin, 2, kSideMargin, 2);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(0);
    grid->addWidget(m_diskIcon, 0, 0, 2, 1, Qt::AlignVCenter);
    grid->addWidget(m_diskName, 0, 1, Qt::AlignBottom);
    grid->addWidget(m_subName, 1, 1, Qt::AlignTop);
    grid->addWidget(m_spinner, 0, 2, 2, 1, Qt::AlignVCenter);
    grid->setColumnStretch(1, 1);
}

// --- What it shows ---

void QVDiskMenuItemView::setDiskDict(const TrashLocation& location) {
    if (!(location.trashURL == m_diskDict.trashURL) || location.mountId != m_diskDict.mountId) {
        forgetCount();
        m_info.reset();
        m_isDeleting = false;
        m_spinner->stopAnimation();
    }
    m_diskDict = location;
    m_diskIcon->setPixmap(
        m_services.icon(location).pixmap(QSize(kIconSize, kIconSize), devicePixelRatioF()));
    updateTexts();
    updateViewSizeIfNeeded();
}

void QVDiskMenuItemView::setNote(const QString& note, const QString& lastFigures) {
    if (m_note == note && m_lastFigures == lastFigures) return;
    m_note = note;
    m_lastFigures = lastFigures;
    if (!m_note.isEmpty()) m_spinner->stopAnimation();
    updateTexts();
    updateViewSizeIfNeeded();
}

QString QVDiskMenuItemView::title() const {
    return displayName(m_diskDict.volumeName.toStdString());
}

QString QVDiskMenuItemView::subName() const {
    QString figures = m_info.value_or(m_note.isEmpty() ? QString() : m_lastFigures);
    if (m_diskDict.trashIsEmpty && !m_diskDict.trashURL.isEmpty())
        figures = m_services.texts.text("app_trash_is_empty"_key);
    if (m_note.isEmpty())
        return figures.isEmpty() ? m_services.texts.text("app_counting"_key) : figures;
    if (figures.isEmpty()) return m_note;
    return StringTable::filled(m_services.texts.text("app_row_note"_key), {m_note, figures});
}

void QVDiskMenuItemView::updateTexts() {
    m_diskName->setFullText(title());
    m_subName->setFullText(subName());
    const QString whole =
        StringTable::filled(m_services.texts.text("app_disk_row"_key), {title(), subName()});
    m_action.setText(menuText(whole));
    setAccessibleName(whole);
}

void QVDiskMenuItemView::updateViewSizeIfNeeded() {
    const double name = QFontMetricsF(m_diskName->font()).horizontalAdvance(title());
    m_width = name > kNameWidth ? static_cast<int>(std::ceil(name)) + kWidthBesideName : kWidth;
    // Why a disk is left out stands nowhere else in the menu.
    const double info = QFontMetricsF(m_subName->font()).horizontalAdvance(subName());
    if (!m_note.isEmpty())
        m_width = std::max(m_width, static_cast<int>(std::ceil(info)) + kWidthBesideName);
    // A menu wider than the screen would be cut off, with the figures of all rows.
    m_width = std::min(m_width, screen()->availableGeometry().width() * 9 / 10);
    updateGeometry();
}

QSize QVDiskMenuItemView::sizeHint() const {
    return {m_width, std::max(kHeight, QWidget::sizeHint().height())};
}

// --- Counting ---

const TrashContents& QVDiskMenuItemView::contents() const {
    static const TrashContents kNone;
    return m_count ? m_count->contents() : kNone;
}

bool QVDiskMenuItemView::isCounting() const {
    return m_count && m_count->state() == TrashCount::State::Counting;
}

bool QVDiskMenuItemView::isWorking() const {
    return m_wait && m_wait->isOn;
}

/// A count that an erase waits for goes on, so that the erase still gets its figures.
void QVDiskMenuItemView::forgetCount() {
    if (m_count && !m_wait->isOn) m_count->stop();
    m_count.reset();
    m_wait.reset();
}

void QVDiskMenuItemView::gatherIfNeeded() {
    if (!m_diskDict.trashIsEmpty && !m_info && m_note.isEmpty()) gatherTrashInfo();
}

void QVDiskMenuItemView::gatherTrashInfo() {
    if (m_count) return;
    m_spinner->startAnimation();
    m_wait = std::make_shared<Wait>();
    m_count =
        TrashCount::start(MenuCreationOperationQueue(), {m_diskDict.trashURL}, m_services.count,
                          [row = QPointer(this), wait = m_wait,
                           &center = m_services.center](const TrashCount& count) {
                              namespace Key = EraseNotification;
                              if (wait->isOn) {
                                  const TrashContents& contents = count.contents();
                                  center.post(Key::kUpdateCountAndSizeToDelete, &count,
                                              UserInfo()
                                                  .set(Key::kSize, contents.figures.size)
                                                  .set(Key::kCount, contents.figures.count)
                                                  .set(Key::kItemsToErase, contents.itemsToErase));
                              }
                              if (row && row->m_count.get() == &count) row->finishCount();
                          });
}

void QVDiskMenuItemView::finishCount() {
    m_spinner->stopAnimation();
    const TrashFigures& figures = contents().figures;
    if (!contents().unreadable.empty()) {  // nobody knows whether it is empty
        m_info = m_services.texts.text("app_row_unreadable"_key);
    } else {
        const QString format = m_services.texts.text("items_size"_key, StringTable::Table::Default,
                                                     static_cast<long long>(figures.count));
        m_info = StringTable::filled(
            format, {m_services.numbers.numberToFormatString(static_cast<double>(figures.count)),
                     m_services.numbers.sizeToFormatString(figures.size, 4, true)});
        m_diskDict.trashIsEmpty = figures.count == 0;
    }
    updateTexts();
    Q_EMIT counted();
}

void QVDiskMenuItemView::waitForStopWorking(const void* engine) {
    gatherTrashInfo();
    m_wait->isOn = true;
    m_wait->endOfErase = m_services.center.observe(
        EraseNotification::kStopWorking,
        [weak = std::weak_ptr(m_wait)](const Notification&) {
            const auto wait = weak.lock();
            if (!wait) return;
            wait->isOn = false;
            wait->endOfErase.reset();
        },
        engine);
}

// --- Choosing ---

void QVDiskMenuItemView::chosenItemAction() {
    if (!isMenuItemEnabled() || m_flash.isActive()) return;
    m_fireTimes = 0;
    m_flash.start(kFlashInterval, this);
    update();
}

void QVDiskMenuItemView::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_flash.timerId()) return QWidget::timerEvent(event);
    animateDismiss();
}

void QVDiskMenuItemView::animateDismiss() {
    ++m_fireTimes;
    updateColors();
    if (m_fireTimes <= 1) return;
    m_flash.stop();
    sendAction();
}

void QVDiskMenuItemView::sendAction() {
    closeOpenMenus();
    // The disk, and the action with it, may go before the action is triggered.
    QTimer::singleShot(kActionDelay, &m_action, [action = &m_action] { action->trigger(); });
}

void QVDiskMenuItemView::mousePressEvent(QMouseEvent* event) {
    m_mouseDownInside = event->button() == Qt::LeftButton;
}

/// A menu that opened under the pointer gets the release of the click that opened it.
void QVDiskMenuItemView::mouseReleaseEvent(QMouseEvent* event) {
    const bool wasPressed = std::exchange(m_mouseDownInside, false);
    if (wasPressed && rect().contains(event->position().toPoint())) chosenItemAction();
}

void QVDiskMenuItemView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Space:
            if (!event->isAutoRepeat()) chosenItemAction();
            break;
        default:
            event->ignore();  // the menu moves on by itself
    }
}

void QVDiskMenuItemView::setSelected(bool isSelected) {
    m_isSelected = isSelected;
    updateColors();
}

/// The pointer and the keys share one selection: the menu's.
void QVDiskMenuItemView::enterEvent(QEnterEvent* event) {
    QWidget::enterEvent(event);
    if (auto* const menu = qobject_cast<QMenu*>(parentWidget())) menu->setActiveAction(&m_action);
    setFocus(Qt::MouseFocusReason);
    setSelected(true);
}

void QVDiskMenuItemView::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    setSelected(false);
}

void QVDiskMenuItemView::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    setSelected(true);
}

void QVDiskMenuItemView::focusOutEvent(QFocusEvent* event) {
    QWidget::focusOutEvent(event);
    setSelected(false);
}

// --- Drawing ---

/// While the selection flashes, every other tick shows the row as not selected.
bool QVDiskMenuItemView::isHighlighted() const {
    return m_isSelected && isMenuItemEnabled() && m_fireTimes % 2 == 0;
}

void QVDiskMenuItemView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    updateColors();
    gatherIfNeeded();
}

/// A row that was selected when the menu closed is not selected when it opens again.
void QVDiskMenuItemView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_flash.stop();
    m_fireTimes = 0;
    m_mouseDownInside = false;
    setSelected(false);
}

void QVDiskMenuItemView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) updateViewSizeIfNeeded();
    if (event->type() == QEvent::EnabledChange || event->type() == QEvent::PaletteChange)
        updateColors();
}

void QVDiskMenuItemView::updateColors() {
    colorMenuRow(*this, {m_diskName, m_subName, m_spinner}, *m_subName, isHighlighted());
    update();
}

void QVDiskMenuItemView::paintEvent(QPaintEvent*) {
    paintMenuRow(*this, isHighlighted());
}

}  // namespace kestrin
