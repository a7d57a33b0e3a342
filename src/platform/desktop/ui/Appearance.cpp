// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/Appearance.h"

#include <QPalette>

namespace kestrin {

bool isDarkAppearance(const QPalette& palette) {
    return palette.color(QPalette::WindowText).lightness() >
           palette.color(QPalette::Window).lightness();
}

}  // namespace kestrin
