// SPDX-License-Identifier: GPL-3.0-or-later
// What the small windows of the program have in common. Main thread only.
#pragma once

#include <QApplication>
#include <QDialog>

class QBoxLayout;
class QLabel;
class QPushButton;

namespace kestrin {

/// A window that deletes itself when it is closed. Escape and the key of the desktop for closing do
/// that, and answer nothing.
class SmallWindow : public QDialog {
    Q_OBJECT

 public:
    explicit SmallWindow(const QString& title);

    void bringToFront();
};

/// Brings the open window of that class to the front; when none is open, opens one made of
/// `arguments`. So there is one of a kind at a time.
template <class Window, class... Arguments>
void showOne(const Arguments&... arguments) {
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const window = qobject_cast<Window*>(widget);
        if (window && window->isVisible()) return window->bringToFront();
    }
    (new Window(arguments...))->bringToFront();
}

/// Closes every small window, as the end of the program does.
void closeSmallWindows();

/// A line in the size of titles.
QLabel* titleLabel(const QString& text);
/// A text that is broken into lines of the window's width.
QLabel* paragraph(const QString& name, const QString& text);
/// One line that the user may want to copy, such as a command or an address.
QLabel* copyableLine(const QString& name, const QString& text);
/// A row of buttons at the end of `layout`, with room above it.
QBoxLayout* addButtonRow(QBoxLayout& layout);
/// Adds a button with that object name at the end of the row.
QPushButton* addButton(QBoxLayout& row, const char* name, const QString& text);
/// Adds the button that closes `window` behind the others. Return presses it.
void addDoneButton(QBoxLayout& row, SmallWindow& window, const QString& text);

/// The program's icon, as large as that of an alert.
QLabel* iconLabel(const QWidget& window);

}  // namespace kestrin
