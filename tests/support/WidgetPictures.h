// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures of widgets for people to look at, and what of their looks can be checked without eyes.
#pragma once

#include <QPalette>
#include <QString>
#include <QStringList>

class QWidget;

namespace kestrin::test {

/// Where pictures go; made, for all users, by main() before it gives up its rights.
void makePictureFolder();

/// A dark and a light palette, whatever the machine's own is.
QPalette darkPalette();
QPalette lightPalette();

/// Saves what `widget` shows as PICTURES/NAME-SCALE.png, at the scale of the program
/// (QT_SCALE_FACTOR). False when it could not be written.
bool savePicture(QWidget& widget, const QString& name);

/// The visible labels, boxes and buttons in `window` that are smaller than their text needs or that
/// stick out of the window, by object name or text. Labels that cut their text on purpose do not
/// count.
QStringList clippedWidgets(const QWidget& window);

}  // namespace kestrin::test
