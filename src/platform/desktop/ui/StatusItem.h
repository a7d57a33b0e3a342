// SPDX-License-Identifier: GPL-3.0-or-later
// The icon in the desktop's status area. Main thread; needs a QApplication.
#pragma once

#include <QPoint>
#include <chrono>
#include <functional>
#include <memory>

class QMenu;
class QRect;
class QSize;
class QString;

namespace kestrin {

/// One icon with one menu. A host that lets the program draw (X11's system tray) pops the menu up;
/// a host that draws menus itself (StatusNotifierItem) shows the texts of its actions, so every
/// QWidgetAction needs a text() that always says all. On such a host aboutToHide() may never come.
/// A host that goes away takes the icon with it and gets it back when it returns; neither that nor
/// the loss of the session bus ends the program, though a new bus does not bring the icon back: Qt
/// keeps to the one that it found.
///
/// The icon's colour is the one that the panel tells (X11), or the panel's own where it draws icons
/// by name; else it follows the application's palette, also when that changes, and has an outline,
/// since a dark panel cannot be told from a light one.
class StatusItem {
 public:
    /// Calls `done(true)` as soon as a status area is there, from the event loop or at once, or
    /// `done(false)` after `timeout`. Qt decides once a process which kind of host it talks to, so
    /// no QSystemTrayIcon may be touched before. Never blocks.
    static void waitForHost(std::chrono::milliseconds timeout,
                            std::function<void(bool found)> done);

    /// Shows the icon of empty trashes with `menu`, which outlives the item.
    /// Requires: waitForHost found one.
    explicit StatusItem(QMenu& menu);
    ~StatusItem();
    StatusItem(const StatusItem&) = delete;
    StatusItem& operator=(const StatusItem&) = delete;

    void setTrashIsFull(bool isFull);
    void setToolTip(const QString& text);
    /// Opens the menu beside the icon, or at the pointer where the icon's place is unknown. A no-op
    /// while it is open. False on Wayland, where a program opens a menu in answer to a click only.
    bool openMenu();

 private:
    class Icon;
    std::unique_ptr<Icon> m_icon;
};

/// `text` for an action of the menu that means just what it says: "&" and, where the panel draws
/// the menu, "_" would mark the letter behind them. Requires: a StatusItem.
QString menuText(QString text);

/// Where a menu of `size` opens beside `icon` without lying on it, inside `screen`: below it, or
/// above where there is no room below. Qt reports the press of the mouse; a menu under the pointer
/// would get the release.
QPoint menuPositionBeside(const QRect& icon, const QSize& size, const QRect& screen);

}  // namespace kestrin
