// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/QVDateUtilities.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cmath>
#include <filesystem>
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
    test::ScratchFolder folder;
    UserDefaults defaults{folder / "settings.conf"};
    std::unique_ptr<QVDateUtilities> english = make("en_US");
};

TEST_F(QVDateUtilitiesTest, WritesDatesAsTheLocaleDoes) {
    const std::vector<std::tuple<const char*, DateStyle, bool, bool, QString>> rows = {
        {"en_US", DateStyle::Short, true, false, u"5/3/17"_s},
        {"en_US", DateStyle::Medium, true, true, u"May 3, 2017, 2:22:01\u202FPM"_s},
        {"fr_FR", DateStyle::Full, true, false, u"mercredi 3 mai 2017"_s},
        {"hi_IN", DateStyle::Long, true, false, u"3 मई 2017"_s},
        // The time has one style; the date's counts only when a date is wanted.
        {"de_DE", DateStyle::Full, false, true, u"14:22:01"_s},
        {"de_DE", DateStyle::None, true, true, u"14:22:01"_s},
        {"de_DE", DateStyle::Full, false, false, QString()}};
    for (const auto& [locale, style, isDate, withTime, expected] : rows)
        EXPECT_EQ(make(locale)->stringWithSeconds(may3, style, isDate, withTime), expected);
    EXPECT_EQ(english->stringWithSeconds(NAN, DateStyle::Full, true, true), QString());
    const auto tokyo = make("de_DE", "Asia/Tokyo");
    EXPECT_EQ(tokyo->localeFormattedDateStringWithDate(std::nullopt, DateStyle::Full), QString());
    EXPECT_EQ(tokyo->localeFormattedDateStringWithDate(may3, DateStyle::Medium), u"03.05.2017"_s);
    EXPECT_EQ(tokyo->localeFormattedDateStringWithDate(may3, DateStyle::Full),
              u"Mittwoch, 3. Mai 2017 um 23:22:01"_s)
        << "full dates alone have a time";
}

TEST_F(QVDateUtilitiesTest, ParsesFourFormsAndNoOther) {
    for (const auto& [text, expected] :
         {std::pair("2017/05/03 14:22:01", may3),
          {"2001/01/01 00:00:00", double{QVDateUtilities::wrongDate}},
          {"2017-05-03T14:22:01UTC", may3},
          {"2017-05-03T14:22:01Z", may3},
          {"2017-05-03T14:22:01+0200", may3 - 7200},
          {"2017-05-03T06:22:01PST", may3},
          {"2017", 504921600},
          // Minutes where the month stands: January, and the minutes of the time.
          {"2017-30-03T14:22:01+0000", 505146121}}) {
        EXPECT_EQ(english->dateWithString(QString::fromUtf8(text)), expected) << text;
    }
    const auto refuses = [this](const char* begin, std::initializer_list<const char*> rests) {
        for (const char* rest : rests) {
            const QString text = QString::fromUtf8(begin) + QString::fromUtf8(rest);
            EXPECT_EQ(english->dateWithString(text), std::nullopt) << begin << rest;
        }
    };
    refuses("", {"", "201", "abcd", "20171", " 2017", "2017 ", "-017", "٢٠١٧"});
    refuses("2017/", {"02/29 14:22:01", "05/03 24:00:00", "5/3 14:22:01", "05/03 14:22:01 "});
    refuses("2017-", {"05-03 14:22:01", "05-03T14:22:01", "60-03T14:22:01+0000"});
    refuses("2017-05-03T14:22:01", {" UTC", "UTCx"});
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
    EXPECT_TRUE(english->dateStringIsSmaller(u"2016"_s, u"2017"_s));
    EXPECT_FALSE(english->dateStringIsSmaller(u"2017"_s, u"2017"_s));
    EXPECT_FALSE(english->dateStringIsSmaller(u"abcd"_s, u"2017"_s));
    EXPECT_FALSE(english->dateStringIsSmaller(u"2017"_s, u"abcd"_s));
}

TEST_F(QVDateUtilitiesTest, JoinsMinutesAndSeconds) {
    const std::vector<std::array<QString, 3>> rows = {
        {u"5"_s, u"9"_s, u"05:09"_s},    {u"0"_s, u"00"_s, u"00:00"_s},
        {u"07"_s, u"59"_s, u"7:59"_s},   {u" 12x"_s, u"abc"_s, u"12:00"_s},
        {u"65541"_s, u"1"_s, u"5:01"_s}, {u"60"_s, u"0"_s, QString()},
        {u"0"_s, u"60"_s, QString()},    {u"-1"_s, u"0"_s, QString()}};
    for (const auto& [minutes, seconds, expected] : rows) {
        QString text = minutes;
        EXPECT_EQ(english->isValidStringWithMinutes(text, seconds, u":"_s), !expected.isEmpty());
        EXPECT_EQ(text, expected.isEmpty() ? minutes : expected);
    }
}

TEST_F(QVDateUtilitiesTest, CountsSecondsSince1904) {
    EXPECT_EQ(english->secondsFromDate(std::nullopt), 0U);
    EXPECT_EQ(english->secondsFromDate(3599.9), 3061155599U);
    EXPECT_EQ(english->secondsFromDate(1233815295.0), std::numeric_limits<std::uint32_t>::max());
    // The first stands for a missing date.
    for (const double none : {3600.0, -3061152001.0, 1233815296.0, std::nan("")})
        EXPECT_EQ(english->secondsFromDate(none), 0U) << none;

    const auto rome = make("it_IT", "Europe/Rome");
    EXPECT_EQ(rome->utcDateTimeToAbsoluteTime({9, 3061152000, 9}), 3061155600);
    EXPECT_EQ(rome->utcDateTimeToAbsoluteTime({0, 3576666121, 0}), 3576673321);  // in summer
    EXPECT_EQ(make("en_US", "America/New_York")->utcDateTimeToAbsoluteTime({0, 0, 0}), -18000);
}

TEST_F(QVDateUtilitiesTest, FindsTheStartOfTheDay) {
    const std::vector<std::tuple<const char*, QString, QString>> rows = {
        {"UTC", u"1999/12/31 23:59:59"_s, u"1999/12/31 00:00:00"_s},
        {"Asia/Tokyo", u"2017/05/03 15:22:01"_s, u"2017/05/03 15:00:00"_s},
        // Clocks change in the course of the day.
        {"Europe/Rome", u"2017/03/26 12:00:00"_s, u"2017/03/25 23:00:00"_s},
        // Clocks go back from 1 to 0: there are two midnights, and the later is no start.
        {"America/Havana", u"2017/11/05 04:30:00"_s, u"2017/11/05 04:00:00"_s},
        // Clocks go from 0 to 1: the day has no midnight and starts at 1.
        {"America/Sao_Paulo", u"2017/10/15 12:00:00"_s, u"2017/10/15 03:00:00"_s}};
    for (const auto& [zone, moment, midnight] : rows) {
        EXPECT_EQ(make("en_US", zone)->convertDateToMidnight(*english->dateWithString(moment)),
                  english->dateWithString(midnight))
            << zone;
    }
    EXPECT_EQ(english->convertDateToMidnight(INFINITY), INFINITY);
}

TEST_F(QVDateUtilitiesTest, KnowsMonthsAndDays) {
    const std::vector<std::tuple<std::uint16_t, std::int16_t, int>> rows = {
        {2, 1900, 29}, {2, 2001, 28}, {2, 2004, 29}, {2, -3, 28}, {11, 2001, 30}, {12, 0, 31}};
    for (const auto& [month, year, expected] : rows)
        EXPECT_EQ(english->daysOfMonth(month, year), expected) << month << "/" << year;
    EXPECT_GT(english->todayDate(), may3);
    EXPECT_NEAR(english->yesterdayDate(), english->todayDate() - 86400, 5);
    EXPECT_NEAR(english->tomorrowDate(), english->todayDate() + 86400, 5);
}

TEST_F(QVDateUtilitiesTest, OrdersThePartsOfADate) {
    EXPECT_EQ(make("de_DE")->localeDateDict().NSDateTimeOrdering, u"DMYH"_s);
    EXPECT_EQ(make("ja_JP")->localeDateDict().NSDateTimeOrdering, u"YMDH"_s);
    // The Chinese calendar's pattern has no "y"; the setting then decides.
    defaults.set("NSDateTimeOrdering", u"YDMH"_s);
    EXPECT_EQ(make("en_US@calendar=chinese")->localeDateDict().NSDateTimeOrdering, u"YDMH"_s);
}

TEST_F(QVDateUtilitiesTest, FollowsTheHostsTimeZone) {
    KESTRIN_REQUIRE_MOUNTS();
    const test::TestVolume etc(test::TestVolume::Kind::Tmpfs, "/etc");
    const auto setZone = [](const std::string& name) {
        std::filesystem::remove("/etc/localtime");
        std::filesystem::create_symlink("/usr/share/zoneinfo/" + name, "/etc/localtime");
    };
    setZone("Asia/Tokyo");
    const auto dates = make("de_DE", "");
    const auto time = [&] { return dates->stringWithSeconds(may3, DateStyle::None, false, true); };
    EXPECT_EQ(time(), u"23:22:01"_s);
    setZone("America/New_York");
    EXPECT_TRUE(test::waitFor([&] { return time() == u"10:22:01"_s; }, 3000)) << qPrintable(time());
    EXPECT_EQ(dates->utcDateTimeToAbsoluteTime({0, 0, 0}), -18000);
    EXPECT_EQ(dates->yearWithString(u"2017"_s), 2016);
}

TEST_F(QVDateUtilitiesTest, FollowsLocaleChangesWhileItServesManyThreads) {
    std::atomic<bool> isGerman = true;
    std::atomic<int> wrong = 0;
    QVDateUtilities dates(
        defaults, [&] { return isGerman ? "de_DE" : "en_US"; }, "UTC");
    const auto date = [&] { return dates.stringWithSeconds(may3, DateStyle::Long, true, false); };
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] {
                for (int round = 0; round < 500; ++round) {
                    const QString text = date();
                    wrong += text != u"May 3, 2017"_s && text != u"3. Mai 2017"_s;
                    wrong += dates.yearWithString(u"2017"_s) != 2017;
                }
            });
        }
        for (int change = 0; change < 50; ++change) {
            EXPECT_EQ(date(), isGerman ? u"3. Mai 2017"_s : u"May 3, 2017"_s);
            isGerman = !isGerman;
            dates.localeChanged();
        }
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace kestrin
