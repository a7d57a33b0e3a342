// SPDX-License-Identifier: GPL-3.0-or-later
// The program's pictures: the theme's where it has them, else our SVG drawings (resources/icons).
// Main thread; needs a QGuiApplication.
#pragma once

#include <QColor>
#include <QIcon>

class QByteArray;
class QString;

namespace kestrin {

/// The bin of the status area, filled when `isFull`, drawn in one colour and sharp at every size
/// and scale. It is the theme's "user-trash-symbolic" or "user-trash-full-symbolic" when the theme
/// has both, else one of our pair. name() is the theme's name, by which a host that draws icons
/// itself gives it a colour of its own. The name is empty for a drawing that Qt does not find in
/// the desktop's theme, such as ours when it is not installed.
/// In an entry of a menu that is highlighted it has the colour `active`, if that is given.
QIcon trashIcon(bool isFull, const QColor& foreground, const QColor& active = {});

/// The same for a panel of which nothing is known: light where the programs are dark, with an
/// outline that sets it off from a panel of its own lightness.
QIcon outlinedTrashIcon(bool isFull, bool isDark);

/// The bin in colours, for the corner of a volume's picture: a drawing of ours, 64 by 64, with a
/// light rim that sets it off from any ground.
QIcon trashBadge(bool isFull);

/// An icon that shows the shape of `svg` in `foreground` and answers `name` to name(); `active` as
/// above.
QIcon symbolicIcon(const QByteArray& svg, const QColor& foreground, const QString& name,
                   const QColor& active = {});

/// The pictures of tools and commands, drawings of ours in one colour; `active` as above.
enum class Tool {
    Refresh,
    LeftPane,
    RightPane,
    SmartWindow,
    Preferences,
    Previous,
    Next,
    IndexSheet,
    FullScreen,
    Open,
    Reveal,
};
QIcon toolIcon(Tool tool, const QColor& foreground, const QColor& active = {});

/// The icon of the program, for its windows and notifications.
QIcon applicationIcon();

enum class DiskKind { Internal, Removable, Network };
/// The picture of a volume, in colours, for rows and lists.
QIcon diskIcon(DiskKind kind);

}  // namespace kestrin
