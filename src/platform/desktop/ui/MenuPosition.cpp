// SPDX-License-Identifier: GPL-3.0-or-later
#include <QRect>
#include <algorithm>

#include "platform/desktop/ui/StatusItem.h"

namespace kestrin {

QPoint menuPositionBeside(const QRect& icon, const QSize& size, const QRect& screen) {
    const int below = icon.bottom() + 1;
    const int above = icon.top() - size.height();
    const bool fitsBelow = below + size.height() <= screen.bottom() + 1;
    const int lastLeft = screen.right() + 1 - size.width();
    return {std::max(screen.left(), std::min(icon.left(), lastLeft)),
            fitsBelow || above < screen.top() ? below : above};
}

}  // namespace kestrin
