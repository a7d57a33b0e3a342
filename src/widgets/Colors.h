// SPDX-License-Identifier: GPL-3.0-or-later
// Variants of colours, the desktop's accent colour, and what a dark appearance asks for.
#pragma once

#include <QColor>
#include <QPalette>
#include <array>
#include <cstdint>

namespace kestrin {

/// The same hue, saturation and alpha, with 1.3 times the brightness, 1.0 at most. Thread: any.
QColor lighterColor(const QColor& color);
/// The same with 0.75 times the brightness.
QColor darkerColor(const QColor& color);

/// Writes the red, green, blue and alpha, 0 to 1, of the desktop's accent colour: of its
/// darkerColor for the option -1, of its lighterColor for 1, of itself for any other. Main thread.
void accentColorComponents(std::array<double, 4>& components, std::int16_t options);

/// The palette for a check box on a ground of the palette `ground`. In a dark appearance the frame
/// and the inside of the box are lighter than styles draw them, so that the box stands out; in a
/// light one it is `ground`.
QPalette checkBoxPalette(const QPalette& ground);

}  // namespace kestrin
