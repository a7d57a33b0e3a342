// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/DisplayName.h"

#include <gtest/gtest.h>

#include <random>

namespace kestrin {
namespace {

using namespace std::string_literals;

struct ShownName {
    std::string bytes;
    QString shown;
};

TEST(DisplayName, ShowsReadableNamesAsTheyAre) {
    for (const QString& name : {QStringLiteral("plain 100%@ \\n.txt"), QStringLiteral("Ä日本語😀"),
                                QStringLiteral("‹U+202E›")}) {
        EXPECT_EQ(displayName(name.toStdString()), name);
        EXPECT_EQ(displayName(name), name);
    }
}

TEST(DisplayName, MakesVisibleWhatWouldActOnTheReader) {
    const ShownName names[] = {
        {"a\nb\rc\td", QStringLiteral("a\\nb\\rc\\td")},
        {"\x1b[31mred\x7f"s, QStringLiteral("‹U+001B›[31mred‹U+007F›")},
        {"nul\0l"s, QStringLiteral("nul‹U+0000›l")},
        {"\xC2\x9B"
         "31m",
         QStringLiteral("‹U+009B›31m")},
        {"evil\xE2\x80\xAE"
         "fdp.exe",
         QStringLiteral("evil‹U+202E›fdp.exe")},
        {"\xE2\x81\xA7\xE2\x80\x8F\xE2\x80\xA8", QStringLiteral("‹U+2067›‹U+200F›‹U+2028›")},
        {"\xEF\xBB\xBF"
         "bom",
         QStringLiteral("‹U+FEFF›bom")},
    };
    for (const ShownName& name : names) {
        EXPECT_EQ(displayName(name.bytes), name.shown);
        EXPECT_EQ(displayName(QString::fromStdString("x" + name.bytes)),
                  QLatin1Char('x') + name.shown);
    }
}

TEST(DisplayName, ShowsAReplacementCharacterForEachBadByte) {
    const std::pair<std::string, int> names[] = {
        {"\xFF", 1},     {"\xC0\xAF", 2},         {"\xE2\x82", 2}, {"\xED\xA0\x80", 3},
        {"\x80\x80", 2}, {"\xF4\x90\x80\x80", 4}, {"\xC3", 1},     {"\xE0\x80\x80", 3}};
    for (const auto& [bytes, count] : names)
        EXPECT_EQ(displayName(bytes + "z"), QString(count, QChar(0xFFFD)) + QLatin1Char('z'));
    EXPECT_EQ(displayName(QString(QChar(0xD83D))), QString(QChar(0xFFFD)));
}

TEST(TitleName, CutsLongNamesInTheMiddle) {
    const std::string fits(60, 'a');
    EXPECT_EQ(titleName(fits), QString::fromStdString(fits));
    EXPECT_EQ(titleName(std::string(40, 'a') + std::string(200, 'b') + ".pdf"),
              QString(30, u'a') + QChar(0x2026) + QString(25, u'b') + QStringLiteral(".pdf"));
}

TEST(TitleName, TearsNoCharacterApart) {
    const QString smileys = QString::fromUcs4(U"😀").repeated(100);
    const QString shown = titleName(smileys);
    EXPECT_LE(shown.size(), kTitleNameLimit);
    EXPECT_FALSE(displayName(shown).contains(QChar(0xFFFD)));
    const QString stacked = QLatin1Char('e') + QString(500, QChar(0x0301));
    EXPECT_EQ(titleName(stacked), QString(QChar(0x2026)));
}

/// What `printf '%b'` does with the escapes in use.
std::string unescaped(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes += text[i];
            continue;
        }
        const char letter = text[++i];
        if (letter == 'x') {
            bytes += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
            i += 2;
        } else {
            bytes += letter == 'n' ? '\n' : letter == 'r' ? '\r' : letter == 't' ? '\t' : letter;
        }
    }
    return bytes;
}

TEST(EscapedName, WritesOneReadableLine) {
    const std::pair<std::string, std::string> names[] = {
        {"/home/u/plain 1%.txt", "/home/u/plain 1%.txt"},
        {"/Ä/日", "/Ä/日"},
        {"a\nb\rc\td\\e", "a\\nb\\rc\\td\\\\e"},
        {"x\xFFy\x1B", "x\\xFFy\\x1B"},
        {"\xE2\x80\xAE"
         "fdp",
         "\\xE2\\x80\\xAE"
         "fdp"},
    };
    for (const auto& [bytes, escaped] : names) {
        std::string line = "1 ";
        appendEscapedName(line, bytes);
        EXPECT_EQ(line, "1 " + escaped);
    }
}

TEST(EscapedName, KeepsTheExactBytesOfAnyName) {
    std::mt19937 random(1);  // NOLINT: the same names in every run
    for (int round = 0; round < 2000; ++round) {
        std::string bytes(random() % 40, '\0');
        for (char& byte : bytes)
            byte =
                static_cast<char>(random() % 3 ? random() : "\\nx\xE2\x80\xAE\xF0"[random() % 7]);
        std::string line;
        appendEscapedName(line, bytes);
        ASSERT_EQ(unescaped(line), bytes);
        ASSERT_EQ(displayName(line), QString::fromStdString(line)) << "not readable as it is";
    }
}

}  // namespace
}  // namespace kestrin
