// SPDX-License-Identifier: GPL-3.0-or-later
// Dates as the user reads them, the fixed date texts that are parsed, and small calendar sums.
#pragma once

#include <unicode/uversion.h>

#include <QString>
#include <QStringList>
#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>

U_NAMESPACE_BEGIN
class Calendar;
class DateFormat;
class SimpleDateFormat;
class TimeZone;
U_NAMESPACE_END

namespace kestrin {

class UserDefaults;

/// How much of a date is written. In English, Short is 5/3/17, Medium and Long are May 3, 2017, and
/// Full is Wednesday, May 3, 2017.
enum class DateStyle : unsigned {
    None = 0,
    Short = 1,
    Medium = 2,
    Long = 3,
    Full = 4,
};

/// A date and time of a file system, UTC, since 1 January 1904.
struct UtcDateTime {
    std::uint16_t highSeconds = 0;
    std::uint32_t lowSeconds = 0;
    std::uint16_t fraction = 0;  ///< 65536ths of a second
};

/// How the locale orders and names parts of a date. Hosts without such lists leave them empty.
struct LocaleDateDict {
    QString NSDateTimeOrdering;  ///< 'D', 'M', 'Y' and 'H' in the order of a short date with time
    QStringList NSEarlierTimeDesignations;
    QStringList NSHourNameDesignations;
    QStringList NSLaterTimeDesignations;
    QStringList NSNextDayDesignations;
    QStringList NSNextNextDayDesignations;
    QStringList NSPriorDayDesignations;
    QStringList NSThisDayDesignations;
    QStringList NSYearMonthWeekDesignations;
};

/// Dates are seconds since 1 January 2001 00:00:00 UTC; "no date" is an empty optional. Texts
/// follow the user's locale of the moment this was made, or of the last localeChanged(). The time
/// zone is the one in force; a change of the host's zone is noticed within a second. Thread: any.
class QVDateUtilities {
 public:
    /// Gives the ICU name of the locale to use; asked at construction and by localeChanged().
    using LocaleSource = std::function<std::string()>;

    /// The user's locale and time zone, and the standard user defaults.
    QVDateUtilities();
    /// `timeZoneName` is an Olson id ("Europe/Rome"), or empty for the host's zone. `uDefault` must
    /// outlive this.
    QVDateUtilities(const UserDefaults& uDefault, LocaleSource localeSource,
                    const std::string& timeZoneName);
    ~QVDateUtilities();
    QVDateUtilities(const QVDateUtilities&) = delete;
    QVDateUtilities& operator=(const QVDateUtilities&) = delete;

    static QVDateUtilities& sharedControl();

    /// What stands for a missing date in item records: the reference date.
    static constexpr double wrongDate = 0;

    /// The date in `formatted` style when `isDate`, and the time (always hours, minutes and
    /// seconds) when `withTime`. Empty when neither is wanted or `seconds` is no number.
    QString stringWithSeconds(double seconds, DateStyle formatted, bool isDate,
                              bool withTime) const;
    /// The date, followed by the time for DateStyle::Full only. Empty when there is no date.
    QString localeFormattedDateStringWithDate(std::optional<double> date,
                                              DateStyle formatted) const;

    /// The date that `text` holds in one of these forms (digits in these numbers, nothing before or
    /// after), else none: "2017/05/03 14:22:01" and "2017" are UTC, "2017-05-03T14:22:01" is
    /// followed by its zone ("UTC", "PST", "Z", "+0200"). In that last form a middle number that is
    /// no month is read as minutes that the time then overrides, the month being January.
    std::optional<double> dateWithString(const QString& text) const;
    /// The year of the date that `text` holds, in the user's calendar and time zone; 0 when it
    /// holds none.
    int yearWithString(const QString& text) const;
    /// Whether `text` holds a date; it is then replaced by that date in style `dateType`, no time.
    bool isValidStringDate(QString& text, DateStyle dateType) const;
    /// Whether `minutes` and `seconds`, read as whole numbers modulo 65536 (0 when they are none),
    /// are both below 60; `minutes` is then replaced by both, `separator` between them. A number
    /// gets a leading 0 when its text was one character long or its value is 0: "5" gives "05", but
    /// "07" gives "7".
    bool isValidStringWithMinutes(QString& minutes, const QString& seconds,
                                  const QString& separator) const;
    /// Whether both texts hold dates and the first is the earlier one.
    bool dateStringIsSmaller(const QString& text, const QString& toDateString) const;

    /// Whole seconds since 1 January 1904 UTC. 0 for no date, for one that 32 bits cannot hold, and
    /// for 3061155600, which files carry in place of a missing date.
    std::uint32_t secondsFromDate(std::optional<double> date) const;
    /// `utc` in local seconds since 1904: its low seconds plus the time zone's offset at that
    /// moment.
    std::int64_t utcDateTimeToAbsoluteTime(const UtcDateTime& utc) const;
    /// 00:00:00 of the local day that holds `seconds`.
    double convertDateToMidnight(double seconds) const;
    /// Days in a month; 1 is January. Every fourth year is a leap year, 1900 and 2100 too; numbers
    /// that are no month give 31.
    int daysOfMonth(std::uint16_t month, std::int16_t year) const;

    double todayDate() const;      ///< now
    double yesterdayDate() const;  ///< exactly 86400 seconds before now
    double tomorrowDate() const;   ///< exactly 86400 seconds after now
    /// Keys of the string table, not texts to show.
    std::string_view localeTodayString() const;
    std::string_view localeYesterdayString() const;

    /// The first call builds it, and it is kept when the locale changes. Where the locale's pattern
    /// lacks a part, the ordering is the setting "NSDateTimeOrdering".
    const LocaleDateDict& localeDateDict() const;

    /// Reads the user's locale again; later texts follow it. Whoever learns of a change calls this,
    /// since the system sends no notice of one.
    void localeChanged();

 private:
    using Formatter = std::shared_ptr<const icu::DateFormat>;

    void followHostZone() const;
    void rebuildFormatters() const;
    Formatter formatterWithKey(const std::string& key) const;
    Formatter updateFormatterWithKey(const std::string& key) const;
    std::unique_ptr<icu::SimpleDateFormat> generalFormatter() const;
    std::unique_ptr<icu::Calendar> calendarAt(double seconds) const;
    QString dateTimeOrdering() const;

    const UserDefaults& m_uDefault;
    const LocaleSource m_localeSource;
    const bool m_followsHost;  ///< the time zone is the host's
    /// When to look for a change of the host's zone, in ticks of the steady clock.
    mutable std::atomic<std::int64_t> m_nextLook = 0;

    mutable std::shared_mutex m_updateLock;  // guards what follows
    std::string m_localeName;
    mutable std::array<std::int64_t, 4> m_zoneStamp;
    mutable std::shared_ptr<const icu::TimeZone> m_timeZone;  ///< never null
    /// Short date and medium time; its calendar is the user's.
    mutable std::shared_ptr<const icu::SimpleDateFormat> m_dateFormatter;
    /// By "style-date-time", as "4-1-0"; a null one writes nothing.
    mutable std::map<std::string, Formatter> m_formatters;
    mutable std::optional<LocaleDateDict> m_uDateDict;
};

}  // namespace kestrin
