// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/QVNumberUtilities.h"

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>

#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include "base/StringTable.h"

namespace kestrin {
namespace {

using icu::number::NumberFormatter;
using icu::number::Precision;
using namespace Qt::StringLiterals;

class QVNumberUtilitiesTest : public ::testing::Test {
 protected:
    StringTable texts{u"en"_s};
    QVNumberUtilities english{"en_US", texts};
};

TEST_F(QVNumberUtilitiesTest, WritesNumbersAsTheLocaleDoes) {
    const std::vector<std::tuple<const char*, double, QString>> rows = {
        {"en_US", 0.125, u"0.12"_s},   {"en_US", 0.375, u"0.38"_s},
        {"en_US", -1204, u"-1,204"_s}, {"de_DE", 1234567.891, u"1.234.567,89"_s},
        {"es_ES", 1204, u"1204"_s},    {"ar_EG", 1204, u"\u0661\u066C\u0662\u0660\u0664"_s}};
    for (const auto& [locale, number, expected] : rows) {
        EXPECT_EQ(QVNumberUtilities(locale, texts).numberToFormatString(number), expected);
    }
    EXPECT_EQ(english.numberToFormatString(1204, false), u"1,204.0"_s);
    EXPECT_EQ(english.numberToFormatString(1204, true), u"1,204.00"_s);
}

// Counts take a short way around ICU; no locale may show it.
TEST_F(QVNumberUtilitiesTest, AgreesWithIcuInEveryLocale) {
    std::vector<double> numbers = {-0.0, -1, -1000, 0.5, 999.995, 1e15, 1e16, INFINITY, NAN};
    for (double power = 1; power <= 1e15; power *= 10)
        numbers.insert(numbers.end(), {power - 1, power, power * 2 + 1});
    std::mt19937_64 random(20010101);
    for (int bits = 1; bits < 53; ++bits)
        numbers.push_back(static_cast<double>(random() >> (64 - bits)));
    std::int32_t localeCount = 0;
    const icu::Locale* locales = icu::Locale::getAvailableLocales(localeCount);
    ASSERT_GT(localeCount, 100);
    for (const icu::Locale* locale = locales; locale != locales + localeCount; ++locale) {
        const auto icuFormat =
            NumberFormatter::withLocale(*locale).precision(Precision::minMaxFraction(0, 2));
        const QVNumberUtilities ours(locale->getName(), texts);
        for (const double number : numbers) {
            UErrorCode status = U_ZERO_ERROR;
            const auto expected = icuFormat.formatDouble(number, status).toString(status);
            ASSERT_TRUE(U_SUCCESS(status));
            EXPECT_EQ(ours.numberToFormatString(number),
                      QStringView(expected.getBuffer(), expected.length()))
                << locale->getName() << " " << number;
        }
    }
}

TEST_F(QVNumberUtilitiesTest, CutsSizesIntoDecimalUnits) {
    const std::vector<std::tuple<std::uint64_t, std::uint16_t, bool, QString, const char*>> rows = {
        {999, 4, true, u"999"_s, "byte"},
        {1000, 4, false, u"1.0"_s, "Kb"},
        {999'999, 4, true, u"1,000.00"_s, "Kb"},
        {1'000'000, 4, true, u"1.00"_s, "Mb"},
        {1'500'000, 1, true, u"1,500,000"_s, "byte"},
        {1'500'000, 2, true, u"1,500.00"_s, "Kb"},
        {5'000'000'000, 3, true, u"5,000.00"_s, "Mb"},
        {5'000'000'000, 0, true, u"5,000.00"_s, "Mb"},
        {5'000'000'000, 4, true, u"5.00"_s, "Gb"},
        {std::numeric_limits<std::uint64_t>::max(), 4, true, u"18,446,744.07"_s, "Tb"}};
    for (const auto& [bytes, scale, doublePrecision, number, unit] : rows) {
        EXPECT_EQ(english.sizeToFormatString(bytes, scale, doublePrecision),
                  number + texts.text(unit));
    }
}

TEST_F(QVNumberUtilitiesTest, WritesDurationsAsClockTextAndAnglesInMinutes) {
    EXPECT_EQ(english.mpsFromDegrees(-33.8688, u"S"_s), u"33\u00B0 52' 7\" S"_s);
    const std::vector<std::pair<std::int64_t, QString>> rows = {
        {-5, u"00:00:00"_s},
        {61, u"00:01:01"_s},
        {3600, u"1:00:00"_s},
        {86399, u"23:59:59"_s},
        {90061, u"1 "_s + texts.text("day") + u"1:01:01"_s},
        {172800, u"2 "_s + texts.text("days") + u"00:00:00"_s},
        {std::numeric_limits<std::int64_t>::max(),
         u"106751991167300 "_s + texts.text("days") + u"15:30:07"_s}};
    for (const auto& [seconds, expected] : rows) {
        EXPECT_EQ(english.secondsToFormatString(seconds), expected) << seconds;
    }
}

}  // namespace
}  // namespace kestrin
