// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers, sizes, durations and angles as the user reads them.
#pragma once

#include <QString>
#include <cstdint>
#include <memory>
#include <string>

namespace kestrin {

class StringTable;

/// Turns numbers into short texts in one locale, fixed at construction together with the unit
/// words. All operations are const and share nothing that changes. Thread: any, without a lock.
/// Rounding is half-even on the shortest decimal form: 0.125 gives 0.12, 0.375 gives 0.38.
class QVNumberUtilities {
 public:
    /// Formats in the user's locale with the texts of the shared string table.
    QVNumberUtilities();
    /// Formats in the ICU locale `localeName` ("de_DE"). `texts` must outlive this.
    QVNumberUtilities(const std::string& localeName, const StringTable& texts);
    ~QVNumberUtilities();
    QVNumberUtilities(const QVNumberUtilities&) = delete;
    QVNumberUtilities& operator=(const QVNumberUtilities&) = delete;

    static QVNumberUtilities& sharedControl();

    /// `number` with 0 to 2 decimals and the locale's separators: "1,234.5", "3". Cheap for counts.
    QString numberToFormatString(double number) const;
    /// `number` with exactly 2 decimals (`doublePrecision`) or exactly 1.
    QString numberToFormatString(double number, bool doublePrecision) const;

    /// A byte count with its unit word, nothing between them. Units are decimal: a kilobyte is 1000
    /// bytes. `scale` caps the unit: 1 bytes, 2 kilobytes, 4 terabytes, any other value megabytes.
    /// Bytes are whole, larger units have 2 decimals (`doublePrecision`) or 1. The unit is chosen
    /// before rounding, so 999,999 bytes are 1,000.00 kilobytes.
    QString sizeToFormatString(std::uint64_t bytes, std::uint16_t scale,
                               bool doublePrecision) const;

    /// A duration as clock text: "00:00:59", "2:01:40" (hours are not padded), from a day on
    /// "1 day1:01:01" with the table's day word as it stands. "00:00:00" for zero and less.
    QString secondsToFormatString(std::int64_t seconds) const;

    /// An angle without its sign, in degrees, minutes and seconds cut to whole ones, with its
    /// compass letter: -33.8688 and "S" give `33° 52' 7" S`. Empty for exactly 0 and for what is no
    /// number.
    QString mpsFromDegrees(double degrees, const QString& reference) const;

 private:
    struct Formatters;

    QString daysText(std::int64_t seconds) const;

    const StringTable& m_texts;
    std::unique_ptr<const Formatters> m_formatters;
    QString m_byteWord;
    QString m_kilobyteWord;
    QString m_megabyteWord;
    QString m_gigabyteWord;
    QString m_terabyteWord;
};

}  // namespace kestrin
