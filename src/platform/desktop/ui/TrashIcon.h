// SPDX-License-Identifier: GPL-3.0-or-later
// The program's pictures: the theme's where it has them, own SVG drawings (resources/icons) else.
// Main thread; needs a QGuiApplication.
#pragma once

#include <QColor>
#include <QIcon>

class QByteArray;
class QString;

namespace kestrin {

/// The bin of the status area, filled when `isFull`. A drawing in one colour. The theme's
/// "user-trash-symbolic" and "user-trash-full-symbolic" when it has both, else the own pair. Sharp
/// at every size and scale. name() is the theme's name, by which a host that draws icons itself
/// finds its own colour; empty for a drawing that is not in the theme of the desktop, as far as Qt
/// knows that, such as an own one that is not installed.
QIcon trashIcon(bool isFull, const QColor& foreground);

/// The same for a panel of which nothing is known: light where the programs are dark, with an
/// outline that sets it off from a panel of its own lightness.
QIcon outlinedTrashIcon(bool isFull, bool isDark);

/// An icon that shows the shape of `svg` in `foreground` and answers `name` to name().
QIcon symbolicIcon(const QByteArray& svg, const QColor& foreground, const QString& name);

/// The program itself: windows, notifications.
QIcon applicationIcon();

enum class DiskKind { Internal, Removable, Network };
/// A volume in colours, for rows and lists.
QIcon diskIcon(DiskKind kind);

}  // namespace kestrin
