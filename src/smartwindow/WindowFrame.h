// SPDX-License-Identifier: GPL-3.0-or-later
// The place of a window as a text, and how it is brought back onto the screens that are there.
#pragma once

#include <QList>
#include <QRect>
#include <QString>
#include <optional>

namespace kestrin {

/// The frame as "{{x, y}, {width, height}}", in points.
QString stringFromFrame(const QRect& frame);

/// The frame that such a text tells, rounded to whole points. None when it is no such text, or when
/// the width or the height is not above 0.
std::optional<QRect> frameFromString(const QString& text);

/// `frame`, or a frame as like it as can be that the user can take hold of: its top lies on one of
/// `screens`, the areas that windows may use, and it is no larger than that one has room for below
/// a title. A frame that has to change lies wholly on its screen.
QRect frameOnScreens(const QRect& frame, const QList<QRect>& screens);

}  // namespace kestrin
