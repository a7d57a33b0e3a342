// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "viewer/DecodedBytes.h"

namespace kestrin {
namespace {

using namespace std::string_literals;
using test::decodedBytes;

TEST(TextDecoder, findsTheEncoding) {
    const struct {
        std::string bytes, encoding, text;
    } kTexts[] = {
        {"plain\n", "UTF-8", "plain\n"},
        {"gr\xC3\xBC\xC3\x9F Gott", "UTF-8", "grüß Gott"},
        {"\xEF\xBB\xBFmarked", "UTF-8", "marked"},
        {"\xFF\xFEg\0\xFC\0"s, "UTF-16LE", "gü"},
        {"\xFE\xFF\0g\0\xFC"s, "UTF-16BE", "gü"},
        {"\xFF\xFE\0\0g\0\0\0"s, "UTF-32LE", "g"},
        {"W\0i\0n\0d\0o\0w\0s\0 \0\xFC\0"s, "UTF-16LE", "Windows ü"},
        {"Die B\xFC"
         "cher stehen \xFC"
         "ber dem T\xFCrrahmen und das ist sch\xF6n.",
         "ISO-8859-1", "Die Bücher stehen über dem Türrahmen und das ist schön."},
        {"\xD0\xD2\xC9\xD7\xC5\xD4, \xD0\xD2\xC5\xCB\xD2\xC1\xD3\xCE\xD9\xCA \xCD\xC9\xD2 \xC9 "
         "\xCF\xCE \xCE\xC5 \xD7 \xC7\xCF\xD2\xC5",
         "KOI8-R", "привет, прекрасный мир и он не в горе"},
        {"\x82\xB1\x82\xEA\x82\xCD\x93\xFA\x96{\x8C\xEA\x82\xCC\x83"
         "e\x83"
         "L\x83X\x83g\x82\xC5\x82\xB7",
         "Shift_JIS", "これは日本語のテキストです"},
    };
    for (const auto& [bytes, encoding, text] : kTexts) {
        const Preview preview = decodedBytes(bytes);
        EXPECT_EQ(preview.text, text);
        EXPECT_EQ(preview.facts.encoding, encoding);
        EXPECT_FALSE(preview.facts.isPartial);
    }
}

TEST(TextDecoder, showsWhatWouldLieAboutTheText) {
    const std::string filler(600, 'x');
    const struct {
        std::string bytes, text;
    } kTexts[] = {
        {"a\r\nb\rc\n\r\nd\xE2\x80\xA8"
         "e\t",
         "a\nb\nc\n\nd\ne\t"},
        {"ab\x1B[31m", "ab␛[31m"},
        {"\x01\x7F\xC2\x9B" + filler, "␁␡\uFFFD" + filler},
        {"null\0"s + filler, "null␀" + filler},
        {"exe.\xE2\x80\xAEgpj", "exe.‹U+202E›gpj"},
        {"\xD8\x9C\xE2\x81\xA6\xEF\xBB\xBF", "‹U+061C›‹U+2066›‹U+FEFF›"},
    };
    for (const auto& [bytes, text] : kTexts)
        EXPECT_EQ(decodedBytes(bytes).text, text);
    EXPECT_FALSE(decodedBytes(std::string(100'000, 'a')).facts.isPartial);
}

TEST(TextDecoder, showsTheFirstMegabyteInWholeCharacters) {
    std::string bytes;
    while (bytes.size() < (1 << 20) + 10)
        bytes += "€\n";
    const Preview preview = decodedBytes(bytes);
    EXPECT_TRUE(preview.facts.isPartial);
    EXPECT_EQ(preview.text, bytes.substr(0, (1 << 20) / 4 * 4));
}

TEST(TextDecoder, leavesOutWhatIsNoText) {
    std::mt19937 random(3);
    for (std::size_t size = 1; size < 40'000; size += size / 3 + 20) {
        std::string bytes(size + 40, '\0');
        std::ranges::generate(bytes, [&random] { return static_cast<char>(random()); });
        for (const char* const beginning : {"", "\xFF\xFE", "\xFE\xFF", "\xEF\xBB\xBF"}) {
            const Preview preview = decodedBytes(beginning + bytes, "text/plain");
            EXPECT_EQ(preview.kind, PreviewKind::None) << size << preview.facts.encoding;
        }
    }
    EXPECT_EQ(decodedBytes(std::string(5000, '\0'), "text/plain").kind, PreviewKind::None);
}

}  // namespace
}  // namespace kestrin
