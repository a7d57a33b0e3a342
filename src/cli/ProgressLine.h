// SPDX-License-Identifier: GPL-3.0-or-later
// The one line that shows an erase at work: bar, percentage, items, bytes, rate. Pure.
#pragma once

#include <QString>
#include <QStringList>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace kestrin {

/// Measures bytes a second over the last three seconds.
class RateMeter {
 public:
    using Clock = std::chrono::steady_clock;

    void add(Clock::time_point now, std::uint64_t totalBytes);
    /// None until there is half a second to judge by.
    std::optional<std::uint64_t> bytesPerSecond() const;

 private:
    struct Sample {
        Clock::time_point time;
        std::uint64_t bytes;
    };
    std::deque<Sample> m_samples;
};

/// What the line says.
struct ProgressLine {
    std::optional<double> percent;  ///< 0 to 100; none while the total is unknown
    QString text;                   ///< what is being done, where there is no bar
    QStringList figures;            ///< items, bytes, rate; those that do not fit are left out
};

/// The line in at most `width` cells: the bar takes up to 24 cells of what the figures leave, and
/// is left out when fewer than 8 remain.
QString progressText(const ProgressLine& line, int width);

}  // namespace kestrin
