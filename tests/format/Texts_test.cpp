// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <thread>
#include <tuple>
#include <vector>

#include "format/DisplayName.h"
#include "format/NameSortKey.h"
#include "format/QVInterfaceUtilities.h"
#include "format/UserLocale.h"
#include "support/ScopedVariable.h"

namespace kestrin {
namespace {

using namespace std::string_literals;
using namespace Qt::StringLiterals;

TEST(DisplayName, MakesVisibleWhatWouldActOnTheReaderAndNothingElse) {
    const std::pair<std::string, QString> names[] = {
        {"plain 100%@ \\n Ä日本語😀‹U+202E›", QStringLiteral("plain 100%@ \\n Ä日本語😀‹U+202E›")},
        {"a\nb\rc\td", QStringLiteral("a\\nb\\rc\\td")},
        {"\x1b[31m\x7f\0\u009B"s, QStringLiteral("‹U+001B›[31m‹U+007F›‹U+0000›‹U+009B›")},
        {"\u202E\u2067\u200F\u2028", QStringLiteral("‹U+202E›‹U+2067›‹U+200F›‹U+2028›")},
        {"\uFEFF\u061C\uFFFC\U000E0041", QStringLiteral("‹U+FEFF›‹U+061C›‹U+FFFC›‹U+E0041›")},
    };
    for (const auto& [bytes, shown] : names) {
        EXPECT_EQ(displayName(bytes), shown);
        EXPECT_EQ(displayName(QString::fromStdString("x" + bytes)), QLatin1Char('x') + shown);
    }
}

TEST(DisplayName, ShowsAReplacementCharacterForEachBadByte) {
    for (const std::string bytes : {"\xFF", "\xC3", "\xC0\xAF", "\xE2\x82", "\x80\x80",
                                    "\xED\xA0\x80", "\xE0\x80\x80", "\xF4\x90\x80\x80"})
        EXPECT_EQ(displayName(bytes + "z"),
                  QString(qsizetype(bytes.size()), QChar(0xFFFD)) + QLatin1Char('z'));
    EXPECT_EQ(displayName(QString(QChar(0xD83D))), QString(QChar(0xFFFD)));
}

TEST(TitleName, CutsLongNamesInTheMiddleAndTearsNoCharacterApart) {
    EXPECT_EQ(titleName(std::string(60, 'a')), QString(60, u'a'));
    EXPECT_EQ(titleName(std::string(40, 'a') + std::string(200, 'b') + ".pdf"),
              QString(30, u'a') + QChar(0x2026) + QString(25, u'b') + QStringLiteral(".pdf"));
    const QString shown = titleName(QString::fromUcs4(U"😀").repeated(100));
    EXPECT_LE(shown.size(), kTitleNameLimit);
    EXPECT_FALSE(displayName(shown).contains(QChar(0xFFFD)));
    const QString stacked = QLatin1Char('e') + QString(500, QChar(0x0301));
    EXPECT_EQ(titleName(stacked), QString(QChar(0x2026)));
}

TEST(NameSortKey, OrdersAsTheLocaleDoesWithoutRegardToCase) {
    const test::ScopedVariable german("LC_ALL", "de_DE.UTF-8");
    std::thread([] {  // another thread has its own collator
        const std::string names[] = {"", "10", "9", "apfel", "\xC3\x84pfel", "b", "\xFF", "x\xFF"};
        for (std::size_t i = 1; i < std::size(names) - 2; ++i)
            EXPECT_LT(nameSortKey(names[i - 1]), nameSortKey(names[i])) << names[i];
        EXPECT_EQ(nameSortKey("\xC3\x84PFEL"), nameSortKey("\xC3\xA4pfel"));
        EXPECT_NE(nameSortKey("x\xFF"), nameSortKey("x"));
        EXPECT_LT(nameSortKey(std::string(300, 'a') + "b"),
                  nameSortKey(std::string(300, 'A') + "C"));
    })
        .join();
}

/// What `printf '%b'` does with the escapes in use.
std::string unescaped(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char letter = text[i] == '\\' ? text[++i] : '\0';
        if (letter == 'x') {
            bytes += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
            i += 2;
        } else {
            bytes += letter == 'n' ? '\n' : letter == 'r' ? '\r' : letter == 't' ? '\t' : text[i];
        }
    }
    return bytes;
}

TEST(EscapedName, IsOneReadableLineWithTheExactBytesOfAnyName) {
    std::string line = "1 ";
    appendEscapedName(line, "/Ä/日 1%\n\\\xFF");
    EXPECT_EQ(line, "1 /Ä/日 1%\\n\\\\\\xFF");
    std::mt19937 random(1);  // NOLINT: the same names in every run
    for (int round = 0; round < 2000; ++round) {
        std::string bytes(random() % 40, '\0');
        for (char& byte : bytes)
            byte =
                static_cast<char>(random() % 3 ? random() : "\\nx\xE2\x80\xAE\xF0"[random() % 7]);
        line.clear();
        appendEscapedName(line, bytes);
        ASSERT_EQ(unescaped(line), bytes);
        ASSERT_EQ(displayName(line), QString::fromStdString(line)) << "not readable as it is";
    }
}

TEST(QVInterfaceUtilities, FillsTheFirstPlaceholderLeft) {
    const std::vector<std::tuple<QString, QStringList, QString>> rows = {
        {u"a %@ b %@"_s, {u"x"_s}, u"a x b %@"_s},
        {u"a %@ b %@"_s, {u"x"_s, u"y"_s, u"z"_s}, u"a x b y"_s},
        // A placeholder that came in with a string is filled before those behind it.
        {u"%@ and %@"_s, {u"<%@>"_s, u"in"_s, u"out"_s}, u"<in> and out"_s},
        {u"%%@@"_s, {u"%@"_s, u"x"_s}, u"%x@"_s},
        {u"%@"_s, {u"50%1\\0$&"_s}, u"50%1\\0$&"_s}};
    for (const auto& [text, strings, expected] : rows) {
        EXPECT_EQ(QVInterfaceUtilities::sharedControl().replaceContentOfString(text, strings),
                  expected);
    }
}

TEST(UserLocale, FollowsThePrecedenceOfTheEnvironment) {
    // The values of LC_ALL, LC_NUMERIC and LANG.
    for (const auto& [values, expected] :
         {std::pair(std::array{"de_DE.UTF-8", "fr_FR.UTF-8", "hi_IN"}, "de_DE"),
          {std::array{"", "fr_FR.UTF-8", "hi_IN"}, "fr_FR"},
          {std::array{"", "", "hi_IN"}, "hi_IN"},
          {std::array{"C.UTF-8", "de_DE.UTF-8", "de_DE.UTF-8"}, "en_US"},
          {std::array{"", "POSIX", "de_DE.UTF-8"}, "en_US"},
          {std::array{"", "", ""}, "en_US"}}) {
        const test::ScopedVariable all("LC_ALL", values[0]), category("LC_NUMERIC", values[1]),
            language("LANG", values[2]);
        EXPECT_EQ(userLocaleName("LC_NUMERIC"), expected);
    }
}

}  // namespace
}  // namespace kestrin
