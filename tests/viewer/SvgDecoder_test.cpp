// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <chrono>

#include "support/TestEnvironment.h"
#include "viewer/DecodedBytes.h"
#include "viewer/SvgCopy.h"

namespace kestrin {
namespace {

const std::string kBegin =
    "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' "
    "width='20' height='10'>";
const std::string kRed = "<rect width='20' height='10' fill='#f00'/>";

std::string repeated(const std::string& text, int times) {
    std::string result;
    while (times-- > 0)
        result += text;
    return result;
}

QRgb middle(const Preview& preview) {
    if (preview.frames.empty()) return 0;
    const QImage& frame = preview.frames.front();
    return frame.pixel(frame.width() / 2, frame.height() / 2);
}

TEST(SvgDecoder, drawsAsLargeAsAskedFor) {
    // Packed by gzip without compressing: a stored block and a checksum.
    const std::string text = kBegin + kRed + "</svg>";
    const std::string length{char(text.size()), '\0', char(~text.size()), '\xff'};
    const std::string packed = std::string("\x1f\x8b\x08\0\0\0\0\0\0\3\1", 11) + length + text;
    for (const std::string& svg :
         {text,
          "<?xml version='1.0'?><!DOCTYPE svg [<!ENTITY red '#f00'>]><!-- x -->" + kBegin +
              "<rect width='20' height='10' fill='&red;'/></svg>",
          "\xef\xbb\xbf" + kBegin + "<defs><g id='r'>" + kRed +
              "</g></defs><use xlink:href='#r'/></svg>",
          std::string("<s:svg xmlns:s='http://www.w3.org/2000/svg' width='20' height='10'><s:rect "
                      "width='20' "
                      "height='10' fill='#f00'/></s:svg>"),
          packed}) {
        const Preview preview = test::decodedBytes(svg, "image/svg+xml", 400);
        ASSERT_EQ(preview.kind, PreviewKind::Image) << svg;
        EXPECT_EQ(preview.frames.front().size(), QSize(400, 200));
        EXPECT_EQ(preview.facts.naturalWidth, 20u);
        EXPECT_EQ(middle(preview), qRgb(255, 0, 0)) << svg;
    }
    InputFile page = test::fileOf("<!DOCTYPE html><html><svg/></html>");
    EXPECT_FALSE(decodeSvg(page, {.width = 10, .height = 10}));
}

TEST(SvgDecoder, reachesNothingOutsideTheFile) {
    const test::ScratchFolder scratch;
    QImage green(20, 10, QImage::Format_RGB32);
    green.fill(Qt::green);
    ASSERT_TRUE(green.save(QString::fromStdString(scratch / "green.png")));
    QByteArray png;
    QBuffer buffer(&png);
    green.save(&buffer, "png");
    const auto shows = [](const std::string& reference) {
        return middle(test::decodedBytes(kBegin + kRed +
                                         "<image width='20' height='10' xlink:href='" + reference +
                                         "'/></svg>"));
    };
    const auto embedded = [](const std::string& type, const std::string& bytes) {
        return "data:" + type + ";base64," +
               QByteArray::fromStdString(bytes).toBase64().toStdString();
    };
    const std::string path = scratch / "green.png";
    EXPECT_EQ(shows(embedded("image/png", png.toStdString())), qRgb(0, 255, 0));
    for (const std::string& reference :
         {path, "file://" + path, std::string("green.png"),
          embedded("image/png",
                   kBegin + "<image width='20' height='10' xlink:href='" + path + "'/></svg>")})
        EXPECT_EQ(shows(reference), qRgb(255, 0, 0)) << reference;
    const SvgCopy copy =
        copySvg(QByteArray::fromStdString(
            kBegin + "<script>alert()</script><foreignObject><p>x</p></foreignObject>"
                     "<?xml-stylesheet href='file:///x'?><a href='https://x'/></svg>"));
    for (const char* gone : {"script", "alert", "foreignObject", "file:", "https:"})
        EXPECT_FALSE(copy.text.contains(gone)) << copy.text.constData();
}

TEST(SvgDecoder, refusesBombsAtOnce) {
    std::string entities = "<!DOCTYPE svg [<!ENTITY a0 'xxxxxxxxxx'>";
    std::string uses;
    for (int level = 1; level < 30; ++level) {
        const auto number = [](int value) { return std::to_string(value); };
        entities += "<!ENTITY a" + number(level) + " '" +
                    repeated("&a" + number(level - 1) + ";", 10) + "'>";
        uses += "<g id='u" + number(level) + "'>" +
                repeated("<use xlink:href='#u" + number(level - 1) + "'/>", 10) + "</g>";
    }
    const std::string deep = repeated("<g>", 5000) + repeated("</g>", 5000);
    const std::vector<std::pair<std::string, PreviewFault>> bombs{
        {entities + "]>" + kBegin + "<text>&a29;</text></svg>", PreviewFault::Damaged},
        {kBegin + "<rect id='u0'/>" + uses + "</svg>", PreviewFault::TooLarge},
        {kBegin + deep + "</svg>", PreviewFault::TooLarge},
        {kBegin + repeated("<g/>", 200'001) + "</svg>", PreviewFault::TooLarge},
        {kBegin + "<g id='x'><use xlink:href='#y'/></g><g id='y'><use xlink:href='#x'/></g></svg>",
         PreviewFault::Damaged},
        {"<svg>" + std::string(17 << 20, ' '), PreviewFault::TooLarge},
        {kBegin + kRed, PreviewFault::Damaged},
        {"<svg/>", PreviewFault::Damaged}};
    const auto start = std::chrono::steady_clock::now();
    for (const auto& [svg, fault] : bombs)
        EXPECT_EQ(test::decodedBytes(svg).fault, fault) << svg.substr(0, 400);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    for (const char* size : {"1e9", "1e300", "nan", "0.0001", "-5", "100%"}) {
        std::string svg = kBegin + kRed + "</svg>";
        const QSize shown = test::decodedBytes(svg.replace(svg.find("20"), 2, size)).frames.empty()
                                ? QSize(0, 0)
                                : test::decodedBytes(svg).frames.front().size();
        EXPECT_TRUE(shown.width() <= 200 && shown.height() <= 200) << size;
    }
}

}  // namespace
}  // namespace kestrin
