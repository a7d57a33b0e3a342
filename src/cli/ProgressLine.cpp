// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/ProgressLine.h"

#include <algorithm>
#include <cmath>

#include "cli/Columns.h"

namespace kestrin {

namespace {

constexpr int kWidestBar = 24;
constexpr int kNarrowestBar = 8;
constexpr std::chrono::seconds kRateWindow{3};
constexpr std::chrono::milliseconds kShortestRateTime{500};

QString percentText(double percent) {
    // The figure is cut and not rounded, since 100 % means that all is done.
    const int whole = static_cast<int>(std::floor(percent));
    return QStringLiteral("%1%").arg(whole, 3);
}

QString barText(double percent, int cells) {
    const int filled = static_cast<int>(std::floor(percent / 100.0 * cells));
    return u'[' + QString(filled, u'#') + QString(cells - filled, u'-') + u']';
}

/// The line of `beginning` and as many of the figures as fit.
QString withFigures(QString beginning, const QStringList& figures, int width) {
    for (const QString& figure : figures) {
        if (figure.isEmpty()) continue;
        const QString longer = beginning + QStringLiteral("  ") + figure;
        if (displayWidth(longer) > width) break;
        beginning = longer;
    }
    return beginning;
}

}  // namespace

void RateMeter::add(Clock::time_point now, std::uint64_t totalBytes) {
    m_samples.push_back({now, totalBytes});
    while (m_samples.size() > 2 && now - m_samples[1].time >= kRateWindow)
        m_samples.pop_front();
}

std::optional<std::uint64_t> RateMeter::bytesPerSecond() const {
    if (m_samples.size() < 2) return std::nullopt;
    const Sample& first = m_samples.front();
    const Sample& last = m_samples.back();
    const auto elapsed = last.time - first.time;
    if (elapsed < kShortestRateTime || last.bytes < first.bytes) return std::nullopt;
    const double seconds = std::chrono::duration<double>(elapsed).count();
    return static_cast<std::uint64_t>(static_cast<double>(last.bytes - first.bytes) / seconds);
}

QString progressText(const ProgressLine& line, int width) {
    if (!line.percent) return withFigures(fittedToWidth(line.text, width), line.figures, width);
    const double percent = std::clamp(*line.percent, 0.0, 100.0);
    const QString figures = withFigures(percentText(percent), line.figures, width);
    const int room = width - displayWidth(figures) - 3;  // brackets and a blank
    const int cells = std::min(room, kWidestBar);
    if (cells < kNarrowestBar) return fittedToWidth(figures, width);
    return barText(percent, cells) + u' ' + figures;
}

}  // namespace kestrin
