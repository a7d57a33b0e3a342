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
/// The same hue, saturation and alpha, with 0.75 times the brightness. Thread: any.
QColor darkerColor(const QColor& color);

/// Writes red, green, blue and alpha, 0 to 1, of a variant of the desktop's accent colour: its
/// darkerColor when `options` is -1, its lighterColor for 1, the colour itself for anything else.
/// Main thread.
void accentColorComponents(std::array<double, 4>& components, std::int16_t options);

/// The colour that lies at `share`, 0 to 1, of the way from one to the other; opaque. Thread: any.
QColor blendedColor(const QColor& from, const QColor& to, float share);

/// The colour of texts that stand behind others, on the ground that QPalette::Base paints. Themes
/// may leave QPalette::PlaceholderText black in a dark appearance. Thread: any.
QColor faintTextColor(const QPalette& palette);

/// The ground of the badge that tells what is checked, and the colour of its text. The ground is a
/// variant of the accent colour of `palette`, darker in a light appearance and lighter in a dark
/// one; the text is white or black, whichever is read better on it. Thread: any.
QColor checkedInfoBackground(const QPalette& palette);
QColor checkedInfoText(const QPalette& palette);

/// The palette for a check box on a ground of the palette `ground`. In a dark appearance the frame
/// and the inside of the box are lighter than styles draw them, so that the box stands out; in a
/// light appearance the result is `ground`.
QPalette checkBoxPalette(const QPalette& ground);

}  // namespace kestrin
