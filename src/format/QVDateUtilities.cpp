// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/QVDateUtilities.h"

#include <unicode/smpdtfmt.h>

#include <QLatin1Char>
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "format/UserLocale.h"
#include "platform/desktop/TimeZoneStamp.h"

namespace kestrin {

using namespace Qt::StringLiterals;

namespace {

constexpr double secondsFrom1970To2001 = 978307200;
constexpr double secondsFrom1904To2001 = 3061152000;
constexpr double secondsPerDay = 86400;

/// Tried in this order. The last reads minutes where the month would stand: that is wanted, a text
/// that only it accepts is in January.
constexpr std::array<std::u16string_view, 4> dateFormats = {
    u"yyyy'/'MM'/'dd' 'HH':'mm':'ss",
    u"yyyy'-'MM'-'dd'T'HH':'mm':'ssz",
    u"yyyy",
    u"yyyy'-'mm'-'dd'T'HH':'mm':'ssZ",
};

UDate toIcuDate(double seconds) {
    return (seconds + secondsFrom1970To2001) * U_MILLIS_PER_SECOND;
}

double fromIcuDate(UDate date) {
    return date / U_MILLIS_PER_SECOND - secondsFrom1970To2001;
}

icu::UnicodeString toIcuText(QStringView text) {
    return icu::UnicodeString(text.utf16(), static_cast<std::int32_t>(text.size()));
}

QString fromIcuText(const icu::UnicodeString& text) {
    return QStringView(text.getBuffer(), text.length()).toString();
}

icu::DateFormat::EStyle icuStyle(DateStyle style) {
    switch (style) {
        case DateStyle::None:
            return icu::DateFormat::kNone;
        case DateStyle::Short:
            return icu::DateFormat::kShort;
        case DateStyle::Medium:
            return icu::DateFormat::kMedium;
        case DateStyle::Long:
            return icu::DateFormat::kLong;
        case DateStyle::Full:
            return icu::DateFormat::kFull;
    }
    return icu::DateFormat::kNone;
}

std::string formatterKey(DateStyle style, bool isDate, bool withTime) {
    return std::to_string(static_cast<unsigned>(style)) + (isDate ? "-1" : "-0") +
           (withTime ? "-1" : "-0");
}

bool isAsciiDigit(QChar character) {
    return character >= u'0' && character <= u'9';
}

/// Whether `text` has the digits and marks of `pattern` at their places, and a zone where one
/// stands. ICU's strict parsing still takes leading blanks and years of any length.
bool hasShape(QStringView text, std::u16string_view pattern) {
    qsizetype position = 0;
    for (const char16_t symbol : pattern) {
        if (symbol == u'\'') continue;
        if (position >= text.size()) return false;
        const QChar character = text.at(position++);
        if (symbol == u'z' || symbol == u'Z') return !character.isSpace();
        const bool isField = QStringView(u"yMdHms").contains(symbol);
        if (isField ? !isAsciiDigit(character) : character != symbol) return false;
    }
    return position == text.size();
}

std::optional<double> parsed(QStringView text, std::u16string_view pattern) {
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat format(toIcuText(pattern), icu::Locale("en_US_POSIX"), status);
    if (U_FAILURE(status)) return std::nullopt;
    format.setTimeZone(*icu::TimeZone::getGMT());
    format.setLenient(false);
    icu::ParsePosition position;
    const UDate date = format.parse(toIcuText(text), position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != text.size()) return std::nullopt;
    return fromIcuDate(date);
}

/// The whole number that `text` begins with, after blanks, kept in 16 bits.
std::uint16_t leadingNumber(const QString& text) {
    return static_cast<std::uint16_t>(std::strtoll(text.toLatin1().constData(), nullptr, 10));
}

QString padded(const QString& text, std::uint16_t number) {
    const bool isPadded = text.size() == 1 || number == 0;
    return (isPadded ? u"0"_s : QString()) + QString::number(number);
}

/// The host's of this moment when `name` is empty. ICU's default zone would be the one of the first
/// look.
icu::TimeZone* timeZoneNamed(const std::string& name) {
    if (name.empty()) return icu::TimeZone::detectHostTimeZone();
    return icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name));
}

std::string userDateLocale() {
    return userLocaleName("LC_TIME");
}

}  // namespace

QVDateUtilities::QVDateUtilities()
    : QVDateUtilities(UserDefaults::standardUserDefaults(), userDateLocale, std::string()) {}

QVDateUtilities::QVDateUtilities(const UserDefaults& uDefault, LocaleSource localeSource,
                                 const std::string& timeZoneName)
    : m_uDefault(uDefault),
      m_localeSource(std::move(localeSource)),
      m_followsHost(timeZoneName.empty()),
      m_localeName(m_localeSource()),
      m_zoneStamp(timeZoneStamp()),
      m_timeZone(timeZoneNamed(timeZoneName)),
      m_dateFormatter(generalFormatter()) {}

QVDateUtilities::~QVDateUtilities() = default;

QVDateUtilities& QVDateUtilities::sharedControl() {
    static QVDateUtilities shared;
    return shared;
}

QString QVDateUtilities::stringWithSeconds(double seconds, DateStyle formatted, bool isDate,
                                           bool withTime) const {
    followHostZone();
    const Formatter formatter = formatterWithKey(formatterKey(formatted, isDate, withTime));
    if (!formatter || !std::isfinite(seconds)) return {};
    icu::UnicodeString text;
    return fromIcuText(formatter->format(toIcuDate(seconds), text));
}

QString QVDateUtilities::localeFormattedDateStringWithDate(std::optional<double> date,
                                                           DateStyle formatted) const {
    if (!date) return {};
    return stringWithSeconds(*date, formatted, true, formatted == DateStyle::Full);
}

/// Cheap enough for every row of a list: it mostly reads a clock.
void QVDateUtilities::followHostZone() const {
    using Clock = std::chrono::steady_clock;
    constexpr Clock::duration kInterval = std::chrono::seconds(1);
    if (!m_followsHost) return;
    const std::int64_t now = Clock::now().time_since_epoch().count();
    std::int64_t due = m_nextLook.load(std::memory_order_relaxed);
    if (now < due || !m_nextLook.compare_exchange_strong(due, now + kInterval.count())) return;
    const auto stamp = timeZoneStamp();
    const std::unique_lock lock(m_updateLock);
    if (stamp == m_zoneStamp) return;
    m_zoneStamp = stamp;
    m_timeZone.reset(timeZoneNamed(std::string()));
    rebuildFormatters();
}

/// Requires: m_updateLock is held.
void QVDateUtilities::rebuildFormatters() const {
    m_dateFormatter = generalFormatter();
    for (auto& [key, formatter] : m_formatters)
        formatter = updateFormatterWithKey(key);
}

QVDateUtilities::Formatter QVDateUtilities::formatterWithKey(const std::string& key) const {
    {
        const std::shared_lock lock(m_updateLock);
        const auto found = m_formatters.find(key);
        if (found != m_formatters.end()) return found->second;
    }
    // Built under the lock: a formatter of the former locale must not arrive after a change.
    const std::unique_lock lock(m_updateLock);
    const auto [entry, isNew] = m_formatters.try_emplace(key);
    if (isNew) entry->second = updateFormatterWithKey(key);
    return entry->second;
}

/// Requires: m_updateLock is held.
QVDateUtilities::Formatter QVDateUtilities::updateFormatterWithKey(const std::string& key) const {
    unsigned style = 0;
    const char* end = std::from_chars(key.data(), key.data() + key.size(), style).ptr;
    const bool isDate = end[1] == '1';
    const bool withTime = end[3] == '1';

    const auto dateStyle = isDate ? icuStyle(DateStyle{style}) : icu::DateFormat::kNone;
    const auto timeStyle = withTime ? icu::DateFormat::kMedium : icu::DateFormat::kNone;
    // Of two empty styles ICU would make its default format.
    if (dateStyle == icu::DateFormat::kNone && timeStyle == icu::DateFormat::kNone) return {};
    std::shared_ptr<icu::DateFormat> formatter(icu::DateFormat::createDateTimeInstance(
        dateStyle, timeStyle, icu::Locale(m_localeName.c_str())));
    if (formatter) formatter->setTimeZone(*m_timeZone);
    return formatter;
}

std::unique_ptr<icu::SimpleDateFormat> QVDateUtilities::generalFormatter() const {
    std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createDateTimeInstance(
        icu::DateFormat::kShort, icu::DateFormat::kMedium, icu::Locale(m_localeName.c_str())));
    auto* general = dynamic_cast<icu::SimpleDateFormat*>(format.get());
    if (general == nullptr) return {};
    general->setTimeZone(*m_timeZone);
    format.release();
    return std::unique_ptr<icu::SimpleDateFormat>(general);
}

void QVDateUtilities::localeChanged() {
    std::string localeName = m_localeSource();
    const std::unique_lock lock(m_updateLock);
    m_localeName = std::move(localeName);
    rebuildFormatters();
}

std::optional<double> QVDateUtilities::dateWithString(const QString& text) const {
    for (const std::u16string_view pattern : dateFormats) {
        if (!hasShape(text, pattern)) continue;
        if (const auto date = parsed(text, pattern)) return date;
    }
    return std::nullopt;
}

int QVDateUtilities::yearWithString(const QString& text) const {
    const std::optional<double> date = dateWithString(text);
    const auto calendar = date ? calendarAt(*date) : nullptr;
    if (!calendar) return 0;
    UErrorCode status = U_ZERO_ERROR;
    const int year = calendar->get(UCAL_YEAR, status);
    return U_SUCCESS(status) ? year : 0;
}

bool QVDateUtilities::isValidStringDate(QString& text, DateStyle dateType) const {
    const std::optional<double> date = dateWithString(text);
    if (!date) return false;
    text = stringWithSeconds(*date, dateType, true, false);
    return true;
}

bool QVDateUtilities::isValidStringWithMinutes(QString& minutes, const QString& seconds,
                                               const QString& separator) const {
    const std::uint16_t minutesNumber = leadingNumber(minutes);
    const std::uint16_t secondsNumber = leadingNumber(seconds);
    if (minutesNumber >= 60 || secondsNumber >= 60) return false;
    minutes = padded(minutes, minutesNumber) + separator + padded(seconds, secondsNumber);
    return true;
}

bool QVDateUtilities::dateStringIsSmaller(const QString& text, const QString& toDateString) const {
    const std::optional<double> date = dateWithString(text);
    const std::optional<double> other = dateWithString(toDateString);
    return date && other && *date < *other;
}

std::uint32_t QVDateUtilities::secondsFromDate(std::optional<double> date) const {
    constexpr std::uint32_t missingDate = 3061155600;
    if (!date) return 0;
    const double seconds = *date + secondsFrom1904To2001;
    if (!(seconds >= 0 && seconds < 0x1p32)) return 0;
    const auto wholeSeconds = static_cast<std::uint32_t>(seconds);
    return wholeSeconds == missingDate ? 0 : wholeSeconds;
}

std::int64_t QVDateUtilities::utcDateTimeToAbsoluteTime(const UtcDateTime& utc) const {
    const double seconds = utc.lowSeconds - secondsFrom1904To2001;
    std::int32_t rawOffset = 0;
    std::int32_t daylightOffset = 0;
    UErrorCode status = U_ZERO_ERROR;
    followHostZone();
    const std::shared_lock lock(m_updateLock);
    m_timeZone->getOffset(toIcuDate(seconds), false, rawOffset, daylightOffset, status);
    if (U_FAILURE(status)) return 0;
    return std::int64_t{utc.lowSeconds} + (rawOffset + daylightOffset) / U_MILLIS_PER_SECOND;
}

double QVDateUtilities::convertDateToMidnight(double seconds) const {
    const auto calendar = calendarAt(seconds);
    if (!calendar) return seconds;
    // Where clocks are set back over midnight, the day starts at the first of the two.
    calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
    for (const UCalendarDateFields field :
         {UCAL_HOUR_OF_DAY, UCAL_MINUTE, UCAL_SECOND, UCAL_MILLISECOND}) {
        calendar->set(field, 0);
    }
    UErrorCode status = U_ZERO_ERROR;
    const UDate midnight = calendar->getTime(status);
    return U_SUCCESS(status) ? fromIcuDate(midnight) : seconds;
}

/// The user's calendar set to a date; null when it cannot hold it.
std::unique_ptr<icu::Calendar> QVDateUtilities::calendarAt(double seconds) const {
    followHostZone();
    std::unique_ptr<icu::Calendar> calendar;
    {
        const std::shared_lock lock(m_updateLock);
        if (m_dateFormatter) calendar.reset(m_dateFormatter->getCalendar()->clone());
    }
    if (!calendar || !std::isfinite(seconds)) return {};
    UErrorCode status = U_ZERO_ERROR;
    calendar->setTime(toIcuDate(seconds), status);
    return U_SUCCESS(status) ? std::move(calendar) : nullptr;
}

int QVDateUtilities::daysOfMonth(std::uint16_t month, std::int16_t year) const {
    switch (month) {
        case 2:
            return year % 4 == 0 ? 29 : 28;
        case 4:
        case 6:
        case 9:
        case 11:
            return 30;
        default:
            return 31;
    }
}

double QVDateUtilities::todayDate() const {
    const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
    return now.count() - secondsFrom1970To2001;
}

double QVDateUtilities::yesterdayDate() const {
    return todayDate() - secondsPerDay;
}

double QVDateUtilities::tomorrowDate() const {
    return todayDate() + secondsPerDay;
}

std::string_view QVDateUtilities::localeTodayString() const {
    return "today"_key;
}

std::string_view QVDateUtilities::localeYesterdayString() const {
    return "yesterday"_key;
}

const LocaleDateDict& QVDateUtilities::localeDateDict() const {
    const std::unique_lock lock(m_updateLock);
    if (!m_uDateDict) {
        m_uDateDict.emplace();
        m_uDateDict->NSDateTimeOrdering = dateTimeOrdering();
    }
    return *m_uDateDict;
}

/// Requires: m_updateLock is held.
QString QVDateUtilities::dateTimeOrdering() const {
    icu::UnicodeString pattern;
    if (m_dateFormatter) m_dateFormatter->toPattern(pattern);
    std::array<std::pair<qsizetype, QChar>, 4> elements;
    std::transform(u"DMYH", u"DMYH" + 4, elements.begin(), [&](char16_t letter) {
        const qsizetype position =
            fromIcuText(pattern).indexOf(QChar(letter), 0, Qt::CaseInsensitive);
        return std::pair(position, QChar(letter));
    });
    std::sort(elements.begin(), elements.end());
    if (elements.front().first < 0) return m_uDefault.stringForKey("NSDateTimeOrdering");
    QString ordering;
    for (const auto& [position, letter] : elements)
        ordering += letter;
    return ordering;
}

}  // namespace kestrin
