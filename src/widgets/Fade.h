// SPDX-License-Identifier: GPL-3.0-or-later
// Widgets that come and go by growing opaque and transparent. Main thread only.
#pragma once

class QWidget;

namespace kestrin {

/// How opaque `widget` is, from 0 to 1, or will be at the end of its fade; 1 if nobody set it.
double alphaOf(const QWidget& widget);

/// Makes `widget` that opaque. At 0 it is hidden, so that neither the mouse nor the keyboard finds
/// it; above 0 it is shown. Ends a fade of its own.
void setAlpha(QWidget& widget, double alpha);

/// The same in a fraction of a second, and at once where the style animates nothing. A widget that
/// nobody can see does not fade.
void animateAlpha(QWidget& widget, double alpha);

}  // namespace kestrin
