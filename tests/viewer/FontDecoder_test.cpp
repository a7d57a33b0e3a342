// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QRawFont>
#include <QtEndian>

#include "viewer/Archives.h"
#include "viewer/DecodedBytes.h"

// Qt 6.4 keeps the engines that a layout with a raw font makes; a decoder ends after some files.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:QFontconfigDatabase::fontEngineMulti\n";
}

namespace kestrin {
namespace {

using namespace std::string_literals;
using test::decodedBytes;

/// A bitmap font of one square letter, 8 pixels wide and high.
std::string bitmapFont(const std::string& encoding, const std::string& registry = "iso10646-1") {
    return "STARTFONT 2.1\nFONT -misc-square-medium-r-normal--8-80-75-75-c-80-" + registry +
           "\nSIZE 8 75 75\nFONTBOUNDINGBOX 8 8 0 0\nSTARTPROPERTIES 5\nFAMILY_NAME \"Square\"\n"
           "FONT_ASCENT 8\nFONT_DESCENT 0\nCHARSET_REGISTRY \"" +
           registry.substr(0, registry.find('-')) + "\"\nCHARSET_ENCODING \"" +
           registry.substr(registry.find('-') + 1) +
           "\"\nENDPROPERTIES\nCHARS 2\nSTARTCHAR none\nENCODING 0\nSWIDTH 1000 0\nDWIDTH 8 0\n"
           "BBX 8 8 0 0\nBITMAP\n00\n00\n00\n00\n00\n00\n00\n00\nENDCHAR\nSTARTCHAR "
           "one\nENCODING " +
           encoding +
           "\nSWIDTH 1000 0\nDWIDTH 8 0\nBBX 8 8 0 0\nBITMAP\nFF\nFF\nFF\nFF\nFF\nFF\nFF\nFF\n"
           "ENDCHAR\nENDFONT\n";
}

/// A font of the system, put together again of its tables.
std::string outlineFont() {
    const QRawFont font = QRawFont::fromFont(QFont());
    std::string directory = "\0\1\0\0"s + std::string(8, '\0'), tables;
    const char* const kTags[] = {"cmap", "glyf", "head", "hhea", "hmtx",
                                 "loca", "maxp", "name", "post"};
    directory[5] = static_cast<char>(std::size(kTags));
    for (const char* const tag : kTags) {
        const QByteArray table = font.fontTable(tag);
        EXPECT_FALSE(table.isEmpty()) << tag;
        char numbers[12] = {};
        qToBigEndian(quint32(12 + 16 * std::size(kTags) + tables.size()), numbers + 4);
        qToBigEndian(quint32(table.size()), numbers + 8);
        directory += tag + std::string(numbers, 12);
        tables += table.toStdString() + std::string(std::size_t(3 - (table.size() + 3) % 4), '\0');
    }
    return directory + tables;
}

/// How much of the picture is black, of 1.
double inkOf(const Preview& preview) {
    const QImage& image = preview.frames.at(0);
    double ink = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ink += 255 - qGray(image.pixel(x, y));
    return ink / 255 / image.width() / image.height();
}

TEST(FontDecoder, drawsTheFontsOwnGlyphs) {
    const std::string outlines = outlineFont();
    // Latin, Hebrew, an ideograph, a sign of its own; and one that has no Unicode.
    const std::string fonts[] = {outlines,
                                 bitmapFont("65"),
                                 bitmapFont("1488"),
                                 bitmapFont("20013"),
                                 bitmapFont("57344"),
                                 bitmapFont("70", "jisx0208.1983-0")};
    for (const std::string& font : fonts) {
        for (const std::uint32_t side : {60U, 400U}) {
            const Preview preview = decodedBytes(font, {}, side);
            ASSERT_EQ(preview.kind, PreviewKind::Image) << font.substr(0, 60);
            EXPECT_EQ(preview.frames.at(0).size(), QSize(int(side), int(side)));
            EXPECT_GT(inkOf(preview), 0.0002) << font.substr(0, 80) << side;
            EXPECT_LT(inkOf(preview), 0.5);
        }
    }
    EXPECT_EQ(decodedBytes(fonts[1]).facts.title, "Square Regular");
    const std::string packed = test::archiveOf({{"", fonts[1]}}, archive_write_set_format_raw,
                                               archive_write_add_filter_gzip);
    EXPECT_EQ(decodedBytes(packed, "application/x-font-pcf").kind, PreviewKind::Image);
}

TEST(FontDecoder, showsEachFaceOfACollection) {
    const std::string font = outlineFont();
    // Two faces that share the tables of one font, which begins after both directories.
    const std::size_t directory = 12 + 16 * 9;
    std::string faces;
    for (int face = 0; face < 2; ++face) {
        std::string copy = font.substr(0, directory);
        for (std::size_t at = 12 + 8; at < directory; at += 16)
            qToBigEndian(qFromBigEndian<quint32>(&copy[at]) + quint32(20 + directory), &copy[at]);
        faces += copy;
    }
    const std::string collection =
        "ttcf\0\1\0\0\0\0\0\2\0\0\0\x14\0\0\0\xB0"s + faces + font.substr(directory);
    for (const std::uint32_t page : {0U, 1U, 2U}) {
        InputFile file = test::fileOf(collection);
        const Preview preview = decode(file, {.width = 300, .height = 300, .page = page});
        EXPECT_EQ(preview.fault, page < 2 ? PreviewFault::None : PreviewFault::Damaged);
        if (page == 2) continue;
        EXPECT_EQ(preview.facts.pageCount, 2U);
        EXPECT_NEAR(inkOf(preview), inkOf(decodedBytes(font, {}, 300)), 0.0001);
    }
}

TEST(FontDecoder, survivesBrokenTables) {
    const std::string fonts[] = {outlineFont(), bitmapFont("65")};
    for (const std::string& font : fonts) {
        for (std::size_t tenth = 0; tenth < 10; ++tenth) {
            decodedBytes(font.substr(0, font.size() * tenth / 10), "font/ttf");
            std::string broken = font;
            for (std::size_t at = 30 + tenth * 7; at < broken.size(); at += 211)
                broken[at] = static_cast<char>(broken[at] * 3 + 1);
            decodedBytes(broken, "font/ttf");
        }
    }
    for (const char* const mark :
         {"OTTO", "ttcf", "wOFF", "wOF2", "\1fcp", "\x80\1", "%!PS-AdobeFont"})
        EXPECT_EQ(decodedBytes(mark + std::string(300, '\x81')).fault, PreviewFault::Damaged)
            << mark;
}

}  // namespace
}  // namespace kestrin
