// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/MediaDecoder.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include <QBuffer>

#include "viewer/DecodedBytes.h"

namespace kestrin {
namespace {

using namespace std::string_literals;

std::optional<Preview> decodedMedia(const std::string& bytes, std::uint32_t side = 100) {
    InputFile file = test::fileOf(bytes);
    return decodeMedia(file, {.width = side, .height = side, .type = "video/x"});
}

/// Four seconds of a picture that is red above and blue below, at 10 a second, uncompressed. Its
/// first second is black.
std::string video(const char* format, int quarters = 0) {
    constexpr int kWidth = 128, kHeight = 64;
    AVFormatContext* muxer = nullptr;
    avformat_alloc_output_context2(&muxer, nullptr, format, nullptr);
    AVStream* const stream = avformat_new_stream(muxer, nullptr);
    AVCodecParameters& parameters = *stream->codecpar;
    parameters.codec_type = AVMEDIA_TYPE_VIDEO;
    parameters.codec_id = AV_CODEC_ID_RAWVIDEO;
    parameters.format = AV_PIX_FMT_UYVY422;
    parameters.codec_tag = MKTAG('U', 'Y', 'V', 'Y');
    parameters.bits_per_coded_sample = 16;
    parameters.width = kWidth;
    parameters.height = kHeight;
    stream->time_base = {1, 10};
    if (quarters != 0) {
        auto* const matrix = av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, 36);
        av_display_rotation_set(reinterpret_cast<std::int32_t*>(matrix), 90.0 * quarters);
    }
    av_dict_set(&muxer->metadata, "title", "A \xE2\x80\xAEtitle\n", 0);
    av_dict_set(&muxer->metadata, "artist",
                "Some\xFF"
                "body",
                0);
    avio_open_dyn_buf(&muxer->pb);
    EXPECT_GE(avformat_write_header(muxer, nullptr), 0);
    AVPacket* packet = av_packet_alloc();
    for (int number = 0; number < 40; ++number) {
        av_new_packet(packet, kWidth * kHeight * 2);
        for (int at = 0; at < packet->size; at += 4) {
            const bool isAbove = at < packet->size / 2;
            const char* const colour = number < 3 ? "\x80\x10\x80\x10"
                                       : isAbove  ? "\x5A\x51\xF0\x51"
                                                  : "\xF0\x29\x6E\x29";
            std::copy_n(colour, 4, packet->data + at);
        }
        packet->pts = packet->dts = av_rescale_q(number, {1, 10}, stream->time_base);
        packet->duration = av_rescale_q(1, {1, 10}, stream->time_base);
        packet->flags = AV_PKT_FLAG_KEY;
        av_write_frame(muxer, packet);
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    av_write_trailer(muxer);
    std::uint8_t* bytes = nullptr;
    const int size = avio_close_dyn_buf(muxer->pb, &bytes);
    std::string file(reinterpret_cast<char*>(bytes), static_cast<std::size_t>(size));
    av_free(bytes);
    avformat_free_context(muxer);
    return file;
}

/// Silence of two seconds; with a cover when there are bytes for one.
std::string song(const std::string& cover = {}) {
    std::string bytes;
    if (!cover.empty()) {
        const std::string frame = "\0image/png\0\3\0"s + cover;
        const auto size = [](std::size_t n) {
            return std::string{char(n >> 21 & 127), char(n >> 14 & 127), char(n >> 7 & 127),
                               char(n & 127)};
        };
        bytes =
            "ID3\4\0\0"s + size(frame.size() + 10) + "APIC" + size(frame.size()) + "\0\0"s + frame;
    }
    for (int at = 0; at < 77; ++at)
        bytes += "\xFF\xFB\x90\x64"s + std::string(413, '\0');
    return bytes;
}

bool isLike(QRgb one, QRgb other) {
    return std::abs(qRed(one) - qRed(other)) < 30 && std::abs(qGreen(one) - qGreen(other)) < 30 &&
           std::abs(qBlue(one) - qBlue(other)) < 30;
}

TEST(MediaDecoder, showsAPictureNearTheBeginning) {
    for (const char* const format : {"matroska", "mov", "nut"}) {
        const auto preview = decodedMedia(video(format));
        ASSERT_TRUE(preview && preview->kind == PreviewKind::Image) << format;
        const QImage& picture = preview->frames.at(0);
        EXPECT_EQ(picture.size(), QSize(100, 50));
        EXPECT_TRUE(isLike(picture.pixel(50, 10), qRgb(255, 0, 0)))
            << format << std::hex << picture.pixel(50, 10);
        EXPECT_TRUE(isLike(picture.pixel(50, 40), qRgb(0, 0, 255)))
            << format << std::hex << picture.pixel(50, 40);
        EXPECT_EQ(preview->facts.naturalWidth, 128U);
        EXPECT_EQ(preview->facts.naturalHeight, 64U);
        EXPECT_NEAR(double(preview->facts.durationMilliseconds), 4000, 101);
        EXPECT_EQ(preview->facts.title, "A ‹U+202E›title");
    }
    const auto turned = decodedMedia(video("mov", 1));
    EXPECT_EQ(turned->frames.at(0).size(), QSize(50, 100));
    EXPECT_EQ(turned->facts.naturalHeight, 128U);
    EXPECT_TRUE(isLike(turned->frames.at(0).pixel(40, 50), qRgb(255, 0, 0)));
}

TEST(MediaDecoder, tellsOfASongAndShowsItsCover) {
    auto preview = decodedMedia(song());
    ASSERT_TRUE(preview);
    EXPECT_EQ(preview->kind, PreviewKind::None);
    EXPECT_EQ(preview->fault, PreviewFault::None);
    EXPECT_NEAR(double(preview->facts.durationMilliseconds), 2011, 60);
    QImage image(200, 100, QImage::Format_RGB32);
    image.fill(Qt::green);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "png");
    preview = decodedMedia(song(buffer.data().toStdString()));
    ASSERT_EQ(preview->kind, PreviewKind::Image);
    EXPECT_EQ(preview->frames.at(0).size(), QSize(100, 50));
    EXPECT_EQ(decodedMedia(song("no picture"))->kind, PreviewKind::None);
}

TEST(MediaDecoder, readsNothingButTheFile) {
    for (const char* const text :
         {"#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\n/etc/passwd\n",
          "ffconcat version 1.0\nfile /etc/passwd\n", "v=0\nm=audio 1 RTP/AVP 0\n",
          "<?xml version='1.0'?><MPD xmlns='urn:mpeg:dash:schema:mpd:2011'/>", ""}) {
        EXPECT_FALSE(decodedMedia(text)) << text;
    }
}

TEST(MediaDecoder, survivesWhatIsDamaged) {
    for (const std::string& whole : {video("matroska"), video("mov"), song("cover")}) {
        for (std::size_t tenth = 1; tenth < 10; ++tenth) {
            decodedMedia(whole.substr(0, whole.size() * tenth / 10));
            std::string broken = whole;
            for (std::size_t at = 20 + tenth; at < broken.size(); at += 97)
                broken[at] = static_cast<char>(broken[at] * 5 + 3);
            decodedMedia(broken);
        }
    }
    const std::string box =
        "\0\0\0\x18"
        "ftypisom\0\0\0\0isommp42"s;
    EXPECT_EQ(decodedMedia(box + std::string(1000, '\x55'))->fault, PreviewFault::Damaged);
}

}  // namespace
}  // namespace kestrin
