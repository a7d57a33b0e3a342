// SPDX-License-Identifier: GPL-3.0-or-later
// The look of widgets that are rows of a menu. Main thread.
#pragma once

#include <initializer_list>

class QWidget;

namespace kestrin {

/// Draws the ground of `row`, a widget in a menu, as the style draws an entry without a text, and
/// as a selected one when `isHighlighted`. To be called from the paintEvent of `row`.
void paintMenuRow(QWidget& row, bool isHighlighted);

/// Gives the `parts` of `row` the colour of a menu's text, or of its selected text when
/// `isHighlighted`. The text of `dimmedPart` is fainter while the row is not highlighted.
void colorMenuRow(const QWidget& row, std::initializer_list<QWidget*> parts, QWidget& dimmedPart,
                  bool isHighlighted);

}  // namespace kestrin
