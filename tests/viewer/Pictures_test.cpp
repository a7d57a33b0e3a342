// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/Pictures.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <QBuffer>
#include <QColorSpace>
#include <QImageWriter>
#include <QPainter>
#include <QPdfWriter>

#include "viewer/DecodedBytes.h"

namespace kestrin {
namespace {

Preview decoded(const QByteArray& bytes, const DecodeRequest& request) {
    InputFile file = test::fileOf({bytes.constData(), std::size_t(bytes.size())});
    return decode(file, request);
}

const DecodeRequest kBox{.width = 80, .height = 60};
const DecodeRequest kNamed{.width = 80, .height = 60, .type = "image/any"};

/// Red above, blue below.
QImage twoHalves(QSize size, QImage::Format format = QImage::Format_RGB32) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::red);
    QPainter(&image).fillRect(0, size.height() / 2, size.width(), size.height(), Qt::blue);
    return image.convertToFormat(format);
}

QByteArray saved(const QImage& image, const char* format,
                 QImageIOHandler::Transformations turned = {}) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, format);
    writer.setTransformation(turned);
    EXPECT_TRUE(writer.write(image)) << format;
    return bytes;
}

/// Red and green pages by turns.
QByteArray pdf(int pages) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setTitle(QStringLiteral("Täglich"));
    writer.setPageSize(QPageSize(QSizeF(300, 150), QPageSize::Point));
    writer.setPageMargins({});
    QPainter painter(&writer);
    for (int page = 0; page < pages; ++page) {
        if (page > 0) writer.newPage();
        painter.fillRect(QRect(0, 0, writer.width(), writer.height()),
                         page % 2 == 0 ? Qt::red : Qt::green);
    }
    painter.end();
    return bytes;
}

QSize sizeOf(const Preview& preview) {
    return preview.frames.empty() ? QSize() : preview.frames.front().size();
}

bool isNear(QRgb colour, QColor expected) {
    const auto differs = [](int one, int other) { return std::abs(one - other) > 12; };
    return qAlpha(colour) == 255 && !differs(qRed(colour), expected.red()) &&
           !differs(qGreen(colour), expected.green()) && !differs(qBlue(colour), expected.blue());
}

TEST(ImageDecoder, showsEveryFormatByItsContent) {
    for (const char* format : {"png", "jpeg", "bmp", "ppm", "tiff", "webp", "ico", "xpm"}) {
        const Preview preview = decoded(saved(twoHalves({200, 100}), format), kBox);
        ASSERT_EQ(preview.kind, PreviewKind::Image) << format;
        EXPECT_EQ(sizeOf(preview), QSize(80, 40)) << format;
        EXPECT_EQ(preview.facts.naturalWidth, 200u) << format;
        EXPECT_TRUE(isNear(preview.frames[0].pixel(40, 5), Qt::red)) << format;
        EXPECT_TRUE(isNear(preview.frames[0].pixel(40, 34), Qt::blue)) << format;
    }
    for (const auto format :
         {QImage::Format_Mono, QImage::Format_Indexed8, QImage::Format_Grayscale8,
          QImage::Format_RGBA64, QImage::Format_Grayscale16, QImage::Format_ARGB32}) {
        const QByteArray png = saved(twoHalves({1500, 2000}, format), "png");
        EXPECT_EQ(sizeOf(decoded(png, kBox)), QSize(45, 60)) << format;
    }
    EXPECT_EQ(sizeOf(decoded(saved(twoHalves({7, 5}), "png"), kBox)), QSize(7, 5)) << "as it is";
    EXPECT_EQ(sizeOf(decoded(saved(twoHalves({9000, 2}), "png"), kBox)), QSize(80, 1));
}

TEST(ImageDecoder, turnsAndColoursWhatItShows) {
    const Preview turned = decoded(
        saved(twoHalves({200, 100}), "jpeg", QImageIOHandler::TransformationRotate90), kBox);
    EXPECT_EQ(sizeOf(turned), QSize(30, 60));
    EXPECT_EQ(turned.facts.naturalWidth, 100u);
    EXPECT_TRUE(isNear(turned.frames[0].pixel(25, 30), Qt::red));
    EXPECT_TRUE(isNear(turned.frames[0].pixel(5, 30), Qt::blue));
    for (const auto format : {QImage::Format_RGB32, QImage::Format_RGBA64}) {
        QImage wide(100, 100, format);
        wide.fill(QColor(120, 200, 120));
        wide.setColorSpace(QColorSpace(QColorSpace::ProPhotoRgb));
        const QColor shown = decoded(saved(wide, "png"), kBox).frames.at(0).pixelColor(9, 9);
        EXPECT_LT(shown.red(), 90) << "the same colour in sRGB has less red";
    }
}

TEST(ImageDecoder, showsWhatThereIsOfATruncatedFile) {
    for (const char* format : {"png", "jpeg", "bmp", "ppm", "tiff", "webp", "ico"}) {
        const QByteArray whole = saved(twoHalves({400, 300}), format);
        for (int tenth = 1; tenth < 10; ++tenth) {
            const Preview preview = decoded(whole.left(whole.size() * tenth / 10), kNamed);
            if (preview.kind != PreviewKind::Image) {
                EXPECT_EQ(preview.fault, PreviewFault::Damaged) << format << tenth;
                continue;
            }
            EXPECT_EQ(sizeOf(preview), QSize(80, 60)) << format << tenth;
            EXPECT_TRUE(preview.facts.isPartial) << format << tenth;
        }
    }
    QImage noise(400, 300, QImage::Format_RGB32);
    std::generate_n(reinterpret_cast<QRgb*>(noise.bits()), 400 * 300,
                    [state = 1u]() mutable { return 0xff808080 | (state = state * 1664525 + 1); });
    const QByteArray png = saved(noise, "png");
    const Preview half = decoded(png.left(png.size() / 2), kBox);
    ASSERT_EQ(half.kind, PreviewKind::Image);
    EXPECT_TRUE(half.facts.isPartial);
    EXPECT_EQ(qAlpha(half.frames[0].pixel(40, 10)), 255);
    EXPECT_EQ(qAlpha(half.frames[0].pixel(40, 55)), 0) << "what is missing is not made up";
}

/// A header alone, of an image of that size.
QByteArray pngHeader(quint32 width, quint32 height) {
    QByteArray bytes = saved(twoHalves({4, 4}), "png");
    const auto put = [&bytes](int at, quint32 value) {
        for (int byte = 0; byte < 4; ++byte)
            bytes[at + byte] = char(value >> (24 - 8 * byte));
    };
    put(16, width);
    put(20, height);
    put(29, quint32(crc32(0, reinterpret_cast<const Bytef*>(bytes.constData()) + 12, 17)));
    return bytes;
}

TEST(ImageDecoder, refusesSizesBeforeItTakesMemory) {
    const QByteArray gif(
        "GIF89a\xff\xff\xff\xff\x80\0\0\0\0\0\xff\xff\xff,\0\0\0\0\xff\xff\xff\xff\0\2\2", 31);
    for (const QByteArray& bytes :
         {pngHeader(0x7fffffff, 0x7fffffff), pngHeader(0x7fffffff, 1), pngHeader(0, 5),
          saved(twoHalves({4, 4}), "bmp").replace(18, 8, "\xff\xff\0\0\xff\xff\0\0", 8)})
        EXPECT_EQ(decoded(bytes, kNamed).fault, PreviewFault::Damaged) << bytes.left(3).data();
    for (const QByteArray& bytes : {pngHeader(65535, 65535), gif})
        EXPECT_EQ(decoded(bytes, kBox).fault, PreviewFault::TooLarge) << bytes.left(3).data();
}

TEST(ImageDecoder, takesForAnImageOnlyWhatIsOne) {
    for (const auto& [text, request] : std::initializer_list<std::pair<const char*, DecodeRequest>>{
             {"BMW and others", kBox},
             {"P1 is the first", kBox},
             {"<?xml version='1.0'?><a/>", kNamed},
             {"<svg width='9' height='9'/>", kNamed}}) {
        InputFile file = test::fileOf(text);
        EXPECT_FALSE(decodeImage(file, request)) << text;
    }
    QByteArray targa(2000, '\0');  // begins like an icon
    targa[2] = 2;
    targa[12] = targa[14] = 20;
    targa[16] = 24;
    targa.replace(1982, 18, QByteArray("TRUEVISION-XFILE.\0", 18));
    InputFile file = test::fileOf({targa.constData(), 2000});
    EXPECT_EQ(decodeImage(file, {.width = 80, .height = 60, .type = "image/x-tga"})->kind,
              PreviewKind::Image);
}

TEST(Decoders, callDamagedWhatIsNotWhatItsNameSays) {
    const std::string noise("\1\2\xff\0\0\xfe", 6);
    for (const char* type : {"image/png", "image/svg+xml", "application/pdf", "font/ttf"})
        EXPECT_EQ(test::decodedBytes(noise, type).fault, PreviewFault::Damaged) << type;
    for (const char* type : {"", "text/plain", "image/of-another-world"})
        EXPECT_EQ(test::decodedBytes(noise, type).fault, PreviewFault::None) << type;
}

/// An animation of as many frames of one pixel.
QByteArray gif(int frames) {
    QByteArray bytes("GIF89a\4\0\4\0\x80\0\0\xff\0\0\0\0\xff", 19);
    for (int frame = 0; frame < frames; ++frame) {
        bytes += QByteArray("!\xf9\4\0\7\0\0\0", 8);
        bytes += QByteArray(",\0\0\0\0\1\0\1\0\0\2\2", 12) + (frame % 2 ? "L" : "D") +
                 QByteArray("\1\0", 2);
    }
    return bytes + ';';
}

TEST(ImageDecoder, playsWhatFitsOfAnAnimation) {
    const Preview three = decoded(gif(3), kBox);
    ASSERT_EQ(three.frames.size(), 3u);
    EXPECT_EQ(three.frameDelays, std::vector<std::uint32_t>(3, 70));
    EXPECT_FALSE(three.facts.isPartial);
    const Preview many = decoded(gif(2000), kBox);
    EXPECT_EQ(many.frames.size(), 250u);
    EXPECT_TRUE(many.facts.isPartial);
    const QByteArray large = gif(100).replace(6, 4, "\x58\2\xc2\1", 4);  // 600 x 450
    const Preview smaller = decoded(large, {.width = 800, .height = 600});
    EXPECT_EQ(smaller.frames.size(), 100u) << "rather smaller than only a part";
    EXPECT_TRUE(sizeOf(smaller).width() > 300 && sizeOf(smaller).width() < 600);
    DecodeRequest thumbnail = kBox;
    thumbnail.purpose = DecodePurpose::Thumbnail;
    EXPECT_EQ(decoded(gif(3), thumbnail).frames.size(), 1u);
}

TEST(PdfDecoder, showsThePageAskedFor) {
    for (const std::uint32_t page : {0u, 1u, 7u}) {
        const Preview preview = decoded(pdf(3), {.width = 800, .height = 800, .page = page});
        ASSERT_EQ(preview.kind, PreviewKind::Image);
        EXPECT_EQ(sizeOf(preview), QSize(800, 400)) << "drawn as large as asked for";
        EXPECT_TRUE(isNear(preview.frames[0].pixel(400, 200), page == 1 ? Qt::green : Qt::red));
        EXPECT_EQ(preview.facts.page, std::min(page, 2u));
        EXPECT_EQ(preview.facts.pageCount, 3u);
        EXPECT_EQ(preview.facts.title, "Täglich");
        EXPECT_EQ(preview.facts.naturalWidth, 300u);
    }
    // The table of objects, which is broken then, is mended by the reader.
    const std::pair<const char*, QSize> pages[]{
        {"/Rotate 90 /MediaBox", {30, 60}},
        {"/CropBox [0 0 100 100] /MediaBox", {60, 60}},
        {"/CropBox [0 0 900000000 900000000] /MediaBox", {80, 40}},
        {"/MediaBox [0 0 900000000 900000000] /Other", {60, 60}},
        {"/MediaBox [0 0 0.000001 900000000] /Other", {1, 60}},
        {"/MediaBox [0 0 0 0] /Other", {46, 60}}};
    for (const auto& [box, size] : pages)
        EXPECT_EQ(sizeOf(decoded(pdf(1).replace("/MediaBox", box), kBox)), size) << box;
}

TEST(PdfDecoder, saysWhatIsWrong) {
    const QByteArray whole = pdf(2);
    for (int tenth = 0; tenth < 10; ++tenth) {
        const Preview preview = decoded(whole.left(8 + whole.size() * tenth / 10), kBox);
        EXPECT_TRUE(preview.kind == PreviewKind::Image || preview.fault == PreviewFault::Damaged);
    }
    EXPECT_EQ(decoded("%PDF-1.4 and nothing else", kBox).fault, PreviewFault::Damaged);
    const QByteArray hex(64, 'a');
    QByteArray locked = whole;
    locked.replace("trailer\n<<", "trailer\n<</Encrypt<</Filter/Standard/V 1/R 2/P -4/O<" + hex +
                                      ">/U<" + hex + ">>>/ID[<aa><aa>]");
    EXPECT_EQ(decoded(locked, kBox).fault, PreviewFault::Encrypted);
}

TEST(CachedThumbnail, tellsWhatItWasMadeOf) {
    QImage image = twoHalves({128, 96});
    image.setText(QStringLiteral("Thumb::URI"), QStringLiteral("file:///a%20b"));
    image.setText(QStringLiteral("Thumb::MTime"), QStringLiteral("1700000000"));
    DecodeRequest request{.purpose = DecodePurpose::CachedThumbnail, .width = 64, .height = 64};
    const Preview preview = decoded(saved(image, "png"), request);
    EXPECT_EQ(sizeOf(preview), QSize(64, 48));
    EXPECT_EQ(preview.facts.thumbnailUri, "file:///a%20b");
    EXPECT_EQ(preview.facts.thumbnailTime, "1700000000");
    EXPECT_EQ(decoded(saved(image, "jpeg"), request).kind, PreviewKind::None);
    EXPECT_EQ(decoded(saved(twoHalves({1100, 9}), "png"), request).fault, PreviewFault::TooLarge);
}

}  // namespace
}  // namespace kestrin
