// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/QVDateUtilities.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <thread>
#include <tuple>
#include <vector>

#include "base/UserDefaults.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace Qt::StringLiterals;

constexpr double may3 = 515514121;  // 2017-05-03 14:22:01 UTC

class QVDateUtilitiesTest : public ::testing::Test {
 protected:
    std::unique_ptr<QVDateUtilities> make(const char* name, const char* zone = "UTC") {
        return std::make_unique<QVDateUtilities>(
            defaults, [name] { return std::string(name); }, zone);
    }
    QString text(const char* name, DateStyle style, bool isDate, bool withTime) {
        return make(name)->stringWithSeconds(may3, style, isDate, withTime);
    }

    test::ScratchFolder folder;
    UserDefaults defaults{folder / "settings.conf"};
    std::unique_ptr<QVDateUtilities> english = make("en_US");
};

TEST_F(QVDateUtilitiesTest, WritesDatesAsTheLocaleDoes) {
    EXPECT_EQ(text("en_US", DateStyle::Short, true, false), u"5/3/17"_s);
    EXPECT_EQ(text("en_US", DateStyle::Medium, true, true), u"May 3, 2017, 2:22:01\u202FPM"_s);
    EXPECT_EQ(text("en_US", DateStyle::Full, true, true),
              u"Wednesday, May 3, 2017 at 2:22:01\u202FPM"_s);
    EXPECT_EQ(text("de_DE", DateStyle::Short, true, true), u"03.05.17, 14:22:01"_s);
    EXPECT_EQ(text("de_DE", DateStyle::Long, true, false), u"3. Mai 2017"_s);
    EXPECT_EQ(text("fr_FR", DateStyle::Full, true, false), u"mercredi 3 mai 2017"_s);
    EXPECT_EQ(text("hi_IN", DateStyle::Long, true, false), u"3 मई 2017"_s);
    // The time has one style; the date's counts only when a date is wanted.
    EXPECT_EQ(text("de_DE", DateStyle::Full, false, true), u"14:22:01"_s);
    EXPECT_EQ(text("de_DE", DateStyle::None, true, true), u"14:22:01"_s);
    EXPECT_EQ(text("de_DE", DateStyle::Full, false, false), QString());
    EXPECT_EQ(english->stringWithSeconds(NAN, DateStyle::Full, true, true), QString());
    EXPECT_EQ(make("de_DE", "Asia/Tokyo")->stringWithSeconds(may3, DateStyle::Short, true, true),
              u"03.05.17, 23:22:01"_s);
}

TEST_F(QVDateUtilitiesTest, ShowsTheTimeOfFullDatesOnly) {
    const auto german = make("de_DE");
    EXPECT_EQ(german->localeFormattedDateStringWithDate(std::nullopt, DateStyle::Full), QString());
    EXPECT_EQ(german->localeFormattedDateStringWithDate(may3, DateStyle::Medium), u"03.05.2017"_s);
    EXPECT_EQ(german->localeFormattedDateStringWithDate(may3, DateStyle::Full),
              u"Mittwoch, 3. Mai 2017 um 14:22:01"_s);
}

TEST_F(QVDateUtilitiesTest, FollowsALocaleChange) {
    std::string locale = "en_US";
    QVDateUtilities dates(
        defaults, [&locale] { return locale; }, "UTC");
    const auto longDate = [&] {
        return dates.stringWithSeconds(may3, DateStyle::Long, true, false);
    };
    EXPECT_EQ(longDate(), u"May 3, 2017"_s);
    EXPECT_EQ(dates.localeDateDict().NSDateTimeOrdering, u"MDYH"_s);
    locale = "de_DE";
    EXPECT_EQ(longDate(), u"May 3, 2017"_s);
    dates.localeChanged();
    EXPECT_EQ(longDate(), u"3. Mai 2017"_s);
    EXPECT_EQ(dates.stringWithSeconds(may3, DateStyle::Short, true, false), u"03.05.17"_s);
    EXPECT_EQ(dates.localeDateDict().NSDateTimeOrdering, u"MDYH"_s);
}

TEST_F(QVDateUtilitiesTest, ParsesFourForms) {
    const std::vector<std::pair<QString, double>> rows = {
        {u"2017/05/03 14:22:01"_s, may3},
        {u"2001/01/01 00:00:00"_s, QVDateUtilities::wrongDate},
        {u"2017-05-03T14:22:01UTC"_s, may3},
        {u"2017-05-03T14:22:01Z"_s, may3},
        {u"2017-05-03T14:22:01+0200"_s, may3 - 7200},
        {u"2017-05-03T06:22:01PST"_s, may3},
        {u"2017"_s, 504921600},
        // Minutes where the month stands: January, and the minutes of the time.
        {u"2017-30-03T14:22:01+0000"_s, 505146121},
    };
    for (const auto& [dateText, expected] : rows) {
        EXPECT_EQ(english->dateWithString(dateText), expected) << dateText.toStdString();
    }
}

TEST_F(QVDateUtilitiesTest, RefusesWhatHasAnotherForm) {
    for (const QString& dateText : {u""_s,
                                    u"201"_s,
                                    u"abcd"_s,
                                    u"20171"_s,
                                    u" 2017"_s,
                                    u"2017 "_s,
                                    u"-017"_s,
                                    u"2017/13/03 14:22:01"_s,
                                    u"2017/02/29 14:22:01"_s,
                                    u"2017/05/03 24:00:00"_s,
                                    u"2017/05/03 14:22:60"_s,
                                    u"2017/05/03 14:22"_s,
                                    u"2017/5/3 14:22:01"_s,
                                    u"17/05/03 14:22:01"_s,
                                    u"2017/05/03 14:22:01 "_s,
                                    u" 2017/05/03 14:22:01"_s,
                                    u"2017/05/03  4:22:01"_s,
                                    u"2017-05-03 14:22:01"_s,
                                    u"2017-05-03T14:22:01"_s,
                                    u"2017-05-03T14:22:01 UTC"_s,
                                    u"2017-05-03T14:22:01UTCx"_s,
                                    u"2017-60-03T14:22:01+0000"_s,
                                    u"\u0662\u0660\u0661\u0667"_s}) {
        EXPECT_EQ(english->dateWithString(dateText), std::nullopt) << dateText.toStdString();
    }
}

TEST_F(QVDateUtilitiesTest, ReadsDatesOutOfTexts) {
    EXPECT_EQ(english->yearWithString(u"2017/05/03 14:22:01"_s), 2017);
    EXPECT_EQ(english->yearWithString(u"201"_s), 0);
    EXPECT_EQ(make("th_TH")->yearWithString(u"2017"_s), 2560);
    EXPECT_EQ(make("en_US", "America/New_York")->yearWithString(u"2017"_s), 2016);

    QString date = u"2017/05/03 14:22:01"_s;
    EXPECT_TRUE(english->isValidStringDate(date, DateStyle::Full));
    EXPECT_EQ(date, u"Wednesday, May 3, 2017"_s);
    EXPECT_FALSE(english->isValidStringDate(date, DateStyle::Full));
    EXPECT_EQ(date, u"Wednesday, May 3, 2017"_s);

    EXPECT_TRUE(english->dateStringIsSmaller(u"2016"_s, u"2017"_s));
    EXPECT_FALSE(english->dateStringIsSmaller(u"2017"_s, u"2017"_s));
    EXPECT_FALSE(english->dateStringIsSmaller(u"2017"_s, u"2016"_s));
    EXPECT_FALSE(english->dateStringIsSmaller(u"abcd"_s, u"2017"_s));
    EXPECT_FALSE(english->dateStringIsSmaller(u"2017"_s, u"abcd"_s));
}

TEST_F(QVDateUtilitiesTest, JoinsMinutesAndSeconds) {
    struct Row {
        QString minutes;
        QString seconds;
        std::optional<QString> expected;
    };
    for (const Row& row : {
             Row{u"5"_s, u"9"_s, u"05:09"_s},
             Row{u"0"_s, u"00"_s, u"00:00"_s},
             Row{u"07"_s, u"59"_s, u"7:59"_s},
             Row{u" 12x"_s, u"abc"_s, u"12:00"_s},
             Row{u"65541"_s, u"1"_s, u"5:01"_s},
             Row{u"60"_s, u"0"_s, std::nullopt},
             Row{u"0"_s, u"60"_s, std::nullopt},
             Row{u"-1"_s, u"0"_s, std::nullopt},
             Row{u"99999999999999999999"_s, u"0"_s, std::nullopt},
         }) {
        QString minutes = row.minutes;
        EXPECT_EQ(english->isValidStringWithMinutes(minutes, row.seconds, u":"_s),
                  row.expected.has_value());
        EXPECT_EQ(minutes, row.expected.value_or(row.minutes));
    }
}

TEST_F(QVDateUtilitiesTest, CountsSecondsSince1904) {
    EXPECT_EQ(english->secondsFromDate(std::nullopt), 0U);
    EXPECT_EQ(english->secondsFromDate(QVDateUtilities::wrongDate), 3061152000U);
    EXPECT_EQ(english->secondsFromDate(3599.9), 3061155599U);
    EXPECT_EQ(english->secondsFromDate(3600), 0U);  // stands for a missing date
    EXPECT_EQ(english->secondsFromDate(-3061152001.0), 0U);
    EXPECT_EQ(english->secondsFromDate(1233815295.0), std::numeric_limits<std::uint32_t>::max());
    EXPECT_EQ(english->secondsFromDate(1233815296.0), 0U);
    EXPECT_EQ(english->secondsFromDate(NAN), 0U);

    const auto rome = make("it_IT", "Europe/Rome");
    EXPECT_EQ(rome->utcDateTimeToAbsoluteTime({9, 3061152000, 9}), 3061155600);
    EXPECT_EQ(rome->utcDateTimeToAbsoluteTime({0, 3576666121, 0}), 3576673321);  // in summer
    EXPECT_EQ(make("en_US", "America/New_York")->utcDateTimeToAbsoluteTime({0, 0, 0}), -18000);
}

TEST_F(QVDateUtilitiesTest, FindsTheStartOfTheDay) {
    struct Row {
        const char* zone;
        QString moment;
        QString midnight;
    };
    for (const Row& row : {
             Row{"UTC", u"2017/05/03 14:22:01"_s, u"2017/05/03 00:00:00"_s},
             Row{"UTC", u"2017/05/03 00:00:00"_s, u"2017/05/03 00:00:00"_s},
             Row{"UTC", u"1999/12/31 23:59:59"_s, u"1999/12/31 00:00:00"_s},
             Row{"Asia/Tokyo", u"2017/05/03 15:22:01"_s, u"2017/05/03 15:00:00"_s},
             // Clocks change in the course of the day.
             Row{"Europe/Rome", u"2017/03/26 12:00:00"_s, u"2017/03/25 23:00:00"_s},
             // Clocks go back from 1 to 0: there are two midnights, and the later is no start.
             Row{"America/Havana", u"2017/11/05 04:30:00"_s, u"2017/11/05 04:00:00"_s},
             // Clocks go from 0 to 1: the day has no midnight and starts at 1.
             Row{"America/Sao_Paulo", u"2017/10/15 12:00:00"_s, u"2017/10/15 03:00:00"_s},
         }) {
        const double moment = english->dateWithString(row.moment).value() + 0.25;
        EXPECT_EQ(make("en_US", row.zone)->convertDateToMidnight(moment),
                  english->dateWithString(row.midnight))
            << row.zone << " " << row.moment.toStdString();
    }
    EXPECT_EQ(english->convertDateToMidnight(INFINITY), INFINITY);
}

TEST_F(QVDateUtilitiesTest, KnowsMonthsAndDays) {
    const std::vector<std::tuple<std::uint16_t, std::int16_t, int>> rows = {
        {2, 1900, 29}, {2, 2001, 28},  {2, 2004, 29}, {2, -3, 28}, {4, 2001, 30}, {6, 2001, 30},
        {9, 2001, 30}, {11, 2001, 30}, {1, 2001, 31}, {12, 0, 31}, {0, 2001, 31}, {65535, 1, 31}};
    for (const auto& [month, year, expected] : rows) {
        EXPECT_EQ(english->daysOfMonth(month, year), expected) << month << "/" << year;
    }
    const double today = english->todayDate();
    EXPECT_GT(today, may3);
    EXPECT_NEAR(english->yesterdayDate(), today - 86400, 5);
    EXPECT_NEAR(english->tomorrowDate(), today + 86400, 5);
    EXPECT_EQ(english->localeTodayString(), "today");
    EXPECT_EQ(english->localeYesterdayString(), "yesterday");
}

TEST_F(QVDateUtilitiesTest, OrdersThePartsOfADate) {
    EXPECT_EQ(make("de_DE")->localeDateDict().NSDateTimeOrdering, u"DMYH"_s);
    EXPECT_EQ(make("ja_JP")->localeDateDict().NSDateTimeOrdering, u"YMDH"_s);
    // The Chinese calendar's pattern has no "y"; the setting then decides.
    defaults.set("NSDateTimeOrdering", u"YDMH"_s);
    EXPECT_EQ(make("en_US@calendar=chinese")->localeDateDict().NSDateTimeOrdering, u"YDMH"_s);
    EXPECT_TRUE(english->localeDateDict().NSThisDayDesignations.isEmpty());
    EXPECT_EQ(&english->localeDateDict(), &english->localeDateDict());
}

TEST_F(QVDateUtilitiesTest, ServesManyThreadsOverLocaleChanges) {
    std::atomic<bool> isGerman = false;
    std::atomic<int> wrong = 0;
    QVDateUtilities dates(
        defaults, [&] { return isGerman ? "de_DE" : "en_US"; }, "UTC");
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] {
                for (int round = 0; round < 500; ++round) {
                    const QString date =
                        dates.stringWithSeconds(may3, DateStyle::Long, true, false);
                    wrong += date != u"May 3, 2017"_s && date != u"3. Mai 2017"_s;
                    wrong += dates.dateWithString(u"2017/05/03 14:22:01"_s) != may3;
                    wrong += dates.yearWithString(u"2017"_s) != 2017;
                }
            });
        }
        for (int change = 0; change < 50; ++change) {
            isGerman = !isGerman;
            dates.localeChanged();
        }
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace kestrin
