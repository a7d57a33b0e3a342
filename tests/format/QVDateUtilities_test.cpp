// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/QVDateUtilities.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
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

TEST_F(QVDateUtilitiesTest, ReadsDatesOutOfTextsThatFit) {
    for (const auto& [text, expected] :
         {std::pair("2017/05/03 14:22:01", may3), {"2017-05-03T16:22:01+0200", may3}})
        EXPECT_EQ(english->dateWithString(QString::fromUtf8(text)), expected) << text;
    for (const char* text : {"", "20171", "2017/02/29 14:22:01", "2017-05-03T14:22:01", "٢٠١٧"})
        EXPECT_EQ(english->dateWithString(QString::fromUtf8(text)), std::nullopt) << text;
    QString date = u"2017/05/03 14:22:01"_s, minutes = u"5"_s;
    EXPECT_TRUE(english->isValidStringDate(date, DateStyle::Full));
    EXPECT_EQ(date, u"Wednesday, May 3, 2017"_s);
    EXPECT_TRUE(english->isValidStringWithMinutes(minutes, u"9"_s, u":"_s));
    EXPECT_EQ(minutes, u"05:09"_s);
    EXPECT_TRUE(english->dateStringIsSmaller(u"2016"_s, u"2017"_s));
    EXPECT_EQ(english->yearWithString(u"2017/05/03 14:22:01"_s), 2017);
}

TEST_F(QVDateUtilitiesTest, CountsSecondsAndDays) {
    EXPECT_EQ(english->secondsFromDate(3599.9), 3061155599U);
    EXPECT_EQ(english->secondsFromDate(std::nullopt), 0U);
    EXPECT_EQ(make("it_IT", "Europe/Rome")->utcDateTimeToAbsoluteTime({0, 3576666121, 0}),
              3576673321)
        << "in summer";
    // Clocks go from 0 to 1: the day has no midnight and starts at 1.
    EXPECT_EQ(make("en_US", "America/Sao_Paulo")
                  ->convertDateToMidnight(*english->dateWithString(u"2017/10/15 12:00:00"_s)),
              english->dateWithString(u"2017/10/15 03:00:00"_s));
    EXPECT_EQ(english->daysOfMonth(2, 2004), 29);
    EXPECT_EQ(make("de_DE")->localeDateDict().NSDateTimeOrdering, u"DMYH"_s);
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
