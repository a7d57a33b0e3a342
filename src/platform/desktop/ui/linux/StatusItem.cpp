// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/StatusItem.h"

#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QMenu>
#include <QPalette>
#include <QScreen>
#include <QSystemTrayIcon>
#include <algorithm>
#include <optional>

#include "platform/desktop/ui/Appearance.h"
#include "platform/desktop/ui/TrashIcon.h"
#include "platform/desktop/ui/linux/SystemTrayOwner.h"

namespace kestrin {

namespace {

/// In the colour that the desktop's panel tells. Else as dark as the programs are, and with an
/// outline, since a panel that does not draw by names may be of the other kind.
QIcon iconForPanel(bool isFull) {
    const std::optional<QColor> foreground = SystemTrayOwner().foreground();
    return foreground ? trashIcon(isFull, *foreground)
                      : outlinedTrashIcon(isFull, isDarkAppearance(QGuiApplication::palette()));
}

/// Qt makes a widget for an icon of X11's tray only, where the program draws its menu.
bool panelDrawsMenus() {
    return std::ranges::none_of(QApplication::topLevelWidgets(), [](const QWidget* widget) {
        return widget->inherits("QSystemTrayIconSys");
    });
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
                    toggleMenu();
                } else if (reason == QSystemTrayIcon::Context) {
                    openMenu();  // for a panel that draws no menus
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
        m_menu.popup(icon.isEmpty() ? QCursor::pos() : icon.bottomLeft() + QPoint(0, 1));
    }

 private:
    /// On Wayland a click beside the menu, which would close it, is not heard of.
    void toggleMenu() {
        if (m_menu.isVisible()) {
            m_menu.close();
        } else {
            openMenu();
        }
    }

    /// Also of the menu that Qt opens under the pointer, at a click of the right button: its first
    /// entry would get the release. Its size is not known before, since entries come and go.
    void moveMenuBesideIcon() {
        const QRect icon = m_tray.geometry();
        if (icon.isEmpty()) return;
        m_menu.move(menuPositionBeside(icon, m_menu.size(), screenAt(icon.center())));
    }

    /// The menu is the widget at hand that hears of a change of colours.
    bool eventFilter(QObject* object, QEvent* event) override {
        if (event->type() == QEvent::Show) moveMenuBesideIcon();
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

bool StatusItem::openMenu() {
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) return false;
    m_icon->openMenu();
    return true;
}

QString menuText(QString text) {
    if (!panelDrawsMenus()) return text.replace(u'&', QLatin1String("&&"));
    // Qt hands the first "&" to the panel as the "_" that marks a letter there, and the rest as is.
    text.replace(u'_', QLatin1String("__"));
    const qsizetype first = text.indexOf(u'&');
    return first < 0 ? text : text.insert(first, u'&');
}

}  // namespace kestrin
