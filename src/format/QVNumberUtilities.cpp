// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/QVNumberUtilities.h"

#include <unicode/numberformatter.h>

#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include "base/StringTable.h"
#include "format/UserLocale.h"

namespace kestrin {

using icu::number::LocalizedNumberFormatter;
using icu::number::Precision;
using namespace Qt::StringLiterals;

namespace {

constexpr std::int64_t secondsPerHour = 3600;
constexpr std::int64_t secondsPerDay = 86400;

LocalizedNumberFormatter formatterFor(const icu::Locale& locale, const Precision& precision) {
    return icu::number::NumberFormatter::withLocale(locale).precision(precision).roundingMode(
        UNUM_ROUND_HALFEVEN);
}

QString formatted(const LocalizedNumberFormatter& formatter, double number) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString text = formatter.formatDouble(number, status).toString(status);
    if (U_FAILURE(status)) return QString::number(number);
    return QStringView(text.getBuffer(), text.length()).toString();
}

/// Writes counts ten times faster than ICU does, in locales that write them with ASCII digits in
/// groups of three. Whether a locale does is asked of its formatter by examples.
class PlainCounts {
 public:
    static std::optional<PlainCounts> like(const LocalizedNumberFormatter& formatter);

    static bool covers(double number) {
        // The sign of -0 is ICU's business, as are fractions and what is no number.
        return number >= 0 && number < 1e15 && std::trunc(number) == number &&
               !std::signbit(number);
    }
    /// Requires: covers(number).
    QString text(double number) const;

 private:
    explicit PlainCounts(QChar separator) : m_separator(separator) {}

    QChar m_separator;
};

std::optional<PlainCounts> PlainCounts::like(const LocalizedNumberFormatter& formatter) {
    const QString million = formatted(formatter, 1000000);
    if (million.size() != 9) return std::nullopt;
    const PlainCounts counts(million.at(1));
    // Every digit and group, and the lengths at which locales differ in when grouping begins.
    for (const double example : {0.0, 7.0, 45.0, 999.0, 1000.0, 9876.0, 12345.0, 123456.0, 1e6,
                                 1234567890.0, 999999999999999.0}) {
        if (counts.text(example) != formatted(formatter, example)) return std::nullopt;
    }
    return counts;
}

QString PlainCounts::text(double number) const {
    std::array<QChar, 20> buffer;  // 15 digits, 4 separators
    auto first = buffer.end();
    auto rest = static_cast<std::uint64_t>(number);
    for (int digits = 0; digits == 0 || rest > 0; ++digits, rest /= 10) {
        if (digits > 0 && digits % 3 == 0) *--first = m_separator;
        *--first = QChar(static_cast<char16_t>(u'0' + rest % 10));
    }
    return QString(first, buffer.end() - first);
}

QString twoDigits(std::int64_t number) {
    return u"%1"_s.arg(number, 2, 10, QChar(u'0'));
}

std::uint64_t secondsOfArc(double degrees) {
    const double seconds = std::fabs(degrees) * 3600.0;
    return seconds < 0x1p64 ? static_cast<std::uint64_t>(seconds)
                            : std::numeric_limits<std::uint64_t>::max();
}

}  // namespace

struct QVNumberUtilities::Formatters {
    explicit Formatters(const icu::Locale& locale)
        : general(formatterFor(locale, Precision::minMaxFraction(0, 2))),
          oneDecimal(formatterFor(locale, Precision::fixedFraction(1))),
          twoDecimals(formatterFor(locale, Precision::fixedFraction(2))),
          plainCounts(PlainCounts::like(general)) {}

    LocalizedNumberFormatter general;
    LocalizedNumberFormatter oneDecimal;
    LocalizedNumberFormatter twoDecimals;
    std::optional<PlainCounts> plainCounts;
};

QVNumberUtilities::QVNumberUtilities()
    : QVNumberUtilities(userLocaleName("LC_NUMERIC"), StringTable::sharedControl()) {}

QVNumberUtilities::QVNumberUtilities(const std::string& localeName, const StringTable& texts)
    : m_texts(texts),
      m_formatters(std::make_unique<Formatters>(icu::Locale(localeName.c_str()))),
      m_byteWord(texts.text("byte"_key)),
      m_kilobyteWord(texts.text("Kb"_key)),
      m_megabyteWord(texts.text("Mb"_key)),
      m_gigabyteWord(texts.text("Gb"_key)),
      m_terabyteWord(texts.text("Tb"_key)) {}

QVNumberUtilities::~QVNumberUtilities() = default;

QVNumberUtilities& QVNumberUtilities::sharedControl() {
    static QVNumberUtilities shared;
    return shared;
}

QString QVNumberUtilities::numberToFormatString(double number) const {
    const auto& plainCounts = m_formatters->plainCounts;
    if (plainCounts && PlainCounts::covers(number)) return plainCounts->text(number);
    return formatted(m_formatters->general, number);
}

QString QVNumberUtilities::numberToFormatString(double number, bool doublePrecision) const {
    return formatted(doublePrecision ? m_formatters->twoDecimals : m_formatters->oneDecimal,
                     number);
}

QString QVNumberUtilities::sizeToFormatString(std::uint64_t bytes, std::uint16_t scale,
                                              bool doublePrecision) const {
    constexpr std::uint16_t bytesOnly = 1;
    constexpr std::uint16_t upToKilobytes = 2;
    constexpr std::uint16_t upToTerabytes = 4;

    double value = static_cast<double>(bytes);
    if (bytes < 1000 || scale == bytesOnly) return numberToFormatString(value) + m_byteWord;

    const auto withUnit = [&](const QString& word) {
        return numberToFormatString(value, doublePrecision) + word;
    };
    value /= 1000.0;
    if (value < 1000.0 || scale == upToKilobytes) return withUnit(m_kilobyteWord);
    value /= 1000.0;
    if (value < 1000.0 || scale != upToTerabytes) return withUnit(m_megabyteWord);
    value /= 1000.0;
    if (value < 1000.0) return withUnit(m_gigabyteWord);
    value /= 1000.0;
    return withUnit(m_terabyteWord);
}

QString QVNumberUtilities::secondsToFormatString(std::int64_t seconds) const {
    if (seconds <= 0) return u"00:00:00"_s;
    const std::int64_t hours = seconds % secondsPerDay / secondsPerHour;
    return (seconds < secondsPerDay ? QString() : daysText(seconds)) +
           (hours == 0 ? u"00"_s : QString::number(hours)) + u':' + twoDigits(seconds / 60 % 60) +
           u':' + twoDigits(seconds % 60);
}

QString QVNumberUtilities::daysText(std::int64_t seconds) const {
    const std::int64_t days = seconds / secondsPerDay;
    return QString::number(days) + u' ' + m_texts.text(days == 1 ? "day"_key : "days"_key);
}

QString QVNumberUtilities::mpsFromDegrees(double degrees, const QString& reference) const {
    if (degrees == 0.0 || std::isnan(degrees)) return {};
    const std::uint64_t seconds = secondsOfArc(degrees);
    return QString::number(seconds / 3600) + u"\u00B0 "_s + QString::number(seconds % 3600 / 60) +
           u"' "_s + QString::number(seconds % 60) + u"\" "_s + reference;
}

}  // namespace kestrin
