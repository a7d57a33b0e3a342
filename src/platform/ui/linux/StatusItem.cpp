// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ui/StatusItem.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QPalette>
#include <QScreen>
#include <QSystemTrayIcon>
#include <optional>

#include "platform/ui/TrashIcon.h"
#include "platform/ui/linux/SystemTrayOwner.h"

namespace kestrin {

namespace {

bool paletteIsDark() {
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

/// In the colour that the desktop's panel tells. Else as dark as the programs are, and where the
/// panel does not draw by names, so that it may be of the other kind, with an outline.
QIcon iconForPanel(bool isFull) {
    const SystemTrayOwner tray;
    if (!tray.exists()) return trashIcon(isFull, paletteIsDark());
    const std::optional<QColor> foreground = tray.foreground();
    return foreground ? trashIcon(isFull, *foreground) : outlinedTrashIcon(isFull, paletteIsDark());
}

QRect screenAt(const QPoint& point) {
    const QScreen* screen = QGuiApplication::screenAt(point);
    if (!screen) screen = QGuiApplication::primaryScreen();
    return screen ? screen->geometry() : QRect();
}

}  // namespace

class StatusItem::Icon : public QObject {
 public:
    explicit Icon(QMenu& menu) : m_menu(menu) {
        updatePicture();
        m_tray.setContextMenu(&menu);
        connect(
            &m_tray, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                // The second of two quick clicks comes as a double click.
                if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) {
                    openMenu();
                }
            });
        menu.installEventFilter(this);
        m_tray.show();
    }
    ~Icon() override { m_menu.removeEventFilter(this); }

    void setIsFull(bool isFull) {
        if (isFull == m_isFull) return;
        m_isFull = isFull;
        updatePicture();
    }

    void setToolTip(const QString& text) { m_tray.setToolTip(text); }

    void openMenu() {
        if (m_menu.isVisible()) return;
        const QRect icon = m_tray.geometry();
        if (icon.isEmpty()) {
            m_menu.popup(QCursor::pos());
            return;
        }
        // Rows are made when the menu is about to show, so that its size is known only then.
        m_menu.popup(icon.bottomLeft() + QPoint(0, 1));
        const QPoint place = menuPositionBeside(icon, m_menu.size(), screenAt(icon.center()));
        if (m_menu.pos() != place) m_menu.move(place);
    }

 private:
    /// The menu is the widget at hand that hears of a change of colours.
    bool eventFilter(QObject* object, QEvent* event) override {
        if (event->type() == QEvent::PaletteChange ||
            event->type() == QEvent::ApplicationPaletteChange ||
            event->type() == QEvent::ThemeChange) {
            updatePicture();
        }
        return QObject::eventFilter(object, event);
    }

    void updatePicture() { m_tray.setIcon(iconForPanel(m_isFull)); }

    QMenu& m_menu;
    bool m_isFull = false;
    QSystemTrayIcon m_tray;
};

StatusItem::StatusItem(QMenu& menu) : m_icon(std::make_unique<Icon>(menu)) {}

StatusItem::~StatusItem() = default;

void StatusItem::setTrashIsFull(bool isFull) {
    m_icon->setIsFull(isFull);
}

void StatusItem::setToolTip(const QString& text) {
    m_icon->setToolTip(text);
}

void StatusItem::openMenu() {
    m_icon->openMenu();
}

}  // namespace kestrin
