// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/WindowFrame.h"

#include <QRegularExpression>
#include <algorithm>
#include <cmath>

namespace kestrin {
namespace {

// Screens are smaller; what is beyond this is no frame.
constexpr double kFarthest = 1e6;
// As much of the title as a pointer needs to take hold of the window.
constexpr QSize kHandle(120, 24);
// What the title takes of a screen: a frame has the size of the window without it.
constexpr QSize kTitle(0, kHandle.height());

bool canBeTakenHoldOf(const QRect& frame, const QRect& screen) {
    const QRect title(frame.topLeft(), QSize(frame.width(), kHandle.height()));
    const QRect seen = title & screen;
    return seen.height() == kHandle.height() &&
           seen.width() >= std::min(frame.width(), kHandle.width());
}

int distance(const QRect& frame, const QRect& screen) {
    return (frame.center() - screen.center()).manhattanLength();
}

}  // namespace

QString stringFromFrame(const QRect& frame) {
    return QStringLiteral("{{%1, %2}, {%3, %4}}")
        .arg(frame.x())
        .arg(frame.y())
        .arg(frame.width())
        .arg(frame.height());
}

std::optional<QRect> frameFromString(const QString& text) {
    static const QString number = QStringLiteral(R"(\s*(-?\d+(?:\.\d*)?)\s*)");
    static const QRegularExpression pattern(QRegularExpression::anchoredPattern(
        QStringLiteral(R"(\s*\{\s*\{%1,%1\}\s*,\s*\{%1,%1\}\s*\}\s*)").arg(number)));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch()) return std::nullopt;
    int values[4] = {};
    for (int i = 0; i < 4; ++i) {
        const double value = match.captured(i + 1).toDouble();
        if (!(std::abs(value) <= kFarthest)) return std::nullopt;
        values[i] = static_cast<int>(std::lround(value));
    }
    if (values[2] <= 0 || values[3] <= 0) return std::nullopt;
    return QRect(values[0], values[1], values[2], values[3]);
}

QRect frameOnScreens(const QRect& frame, const QList<QRect>& screens) {
    const auto fitting = [&](const QRect& screen) {
        return QRect(frame.topLeft(), frame.size().boundedTo(screen.size() - kTitle));
    };
    const auto nearest =
        std::min_element(screens.begin(), screens.end(), [&](const QRect& one, const QRect& other) {
            return distance(frame, one) < distance(frame, other);
        });
    if (nearest == screens.end()) return frame;
    const auto own = std::find_if(screens.begin(), screens.end(), [&](const QRect& screen) {
        return canBeTakenHoldOf(fitting(screen), screen);
    });
    const QRect& screen = own == screens.end() ? *nearest : *own;
    QRect result = fitting(screen);
    if (own != screens.end() && result == frame) return frame;
    const QSize room = screen.size() - result.size() - kTitle;
    result.moveLeft(std::clamp(result.left(), screen.left(), screen.left() + room.width()));
    result.moveTop(std::clamp(result.top(), screen.top(), screen.top() + room.height()));
    return result;
}

}  // namespace kestrin
