// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/MediaFile.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <QTransform>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <string_view>

#include "viewer/Pictures.h"

namespace kestrin {
namespace {

/// Formats that hold everything themselves.
constexpr char kFormats[] =
    "aac,ac3,aiff,amr,ape,asf,au,avi,caf,dsf,dts,dv,eac3,flac,flv,gxf,ivf,matroska,mov,mp3,mpc,"
    "mpc8,"
    "mpeg,mpegts,mpegvideo,mxf,nut,ogg,rm,tta,voc,w64,wav,wv";
constexpr int kBufferBytes = 32 << 10;
constexpr std::int64_t kMostProbed = 5 << 20;  ///< bytes
constexpr std::int64_t kMostPixels = 40'000'000;
constexpr int kMostPackets = 5000;

struct CodecCloser {
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
};
struct FrameCloser {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketCloser {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct ScalerCloser {
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
using Codec = std::unique_ptr<AVCodecContext, CodecCloser>;
using Frame = std::unique_ptr<AVFrame, FrameCloser>;
using Packet = std::unique_ptr<AVPacket, PacketCloser>;

bool isAllowed(const AVInputFormat& format) {
    const std::string_view names = format.name;  // all that it is known by
    return av_match_name(std::string(names.substr(0, names.find(','))).c_str(), kFormats) != 0;
}

int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EACCES);
}

/// Whether pixels are half as wide as high, and the like; 1 when nothing plausible is told.
double pixelAspect(AVRational ratio) {
    const double aspect = ratio.den != 0 ? av_q2d(ratio) : 0;
    return aspect > 0.05 && aspect < 20 ? aspect : 1;
}

/// By how much the picture is to be turned clockwise, in whole quarters.
int quartersOf(const AVStream& stream) {
    std::size_t size = 0;
    const std::uint8_t* const matrix =
        av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (!matrix || size < 9 * sizeof(std::int32_t)) return 0;
    std::int32_t numbers[9];
    std::memcpy(numbers, matrix, sizeof numbers);
    const double degrees = av_display_rotation_get(numbers);
    if (!std::isfinite(degrees)) return 0;
    return ((static_cast<int>(std::lround(-degrees / 90)) % 4) + 4) % 4;
}

QSize sizeAsSeen(int width, int height, double aspect, int quarters) {
    const QSize size(std::max(1, static_cast<int>(std::lround(width * aspect))), height);
    return quarters % 2 == 0 ? size : size.transposed();
}

Codec openCodec(const AVStream& stream) {
    const AVCodec* const known = avcodec_find_decoder(stream.codecpar->codec_id);
    Codec codec(known ? avcodec_alloc_context3(known) : nullptr);
    if (!codec || avcodec_parameters_to_context(codec.get(), stream.codecpar) < 0) return {};
    codec->thread_count = 1;
    codec->max_pixels = kMostPixels;
    codec->skip_loop_filter = AVDISCARD_NONREF;
    return avcodec_open2(codec.get(), known, nullptr) < 0 ? Codec() : std::move(codec);
}

/// The matrix that made its colours: as it tells, or else as is usual for its size.
const int* coefficientsOf(const AVFrame& frame) {
    constexpr int kLeastRowsOfHd = 720;
    if (frame.colorspace != AVCOL_SPC_UNSPECIFIED) return sws_getCoefficients(frame.colorspace);
    return sws_getCoefficients(frame.height >= kLeastRowsOfHd ? SWS_CS_ITU709 : SWS_CS_ITU601);
}

QImage scaled(const AVFrame& frame, QSize size) {
    const std::unique_ptr<SwsContext, ScalerCloser> scaler(sws_getContext(
        frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), size.width(),
        size.height(), AV_PIX_FMT_RGB32, SWS_BICUBIC, nullptr, nullptr, nullptr));
    if (!scaler) return {};
    sws_setColorspaceDetails(scaler.get(), coefficientsOf(frame),
                             frame.color_range == AVCOL_RANGE_JPEG ? 1 : 0,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    // It writes whole vectors, also beyond the end of a row: not into the image itself.
    constexpr int kAlignment = 64;
    std::uint8_t* planes[4] = {};
    int strides[4] = {};
    if (av_image_alloc(planes, strides, size.width() + kAlignment, size.height() + 1,
                       AV_PIX_FMT_RGB32, kAlignment) < 0)
        return {};
    sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    const QImage view(planes[0], size.width(), size.height(), strides[0], QImage::Format_RGB32);
    QImage image = view.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    av_freep(&planes[0]);
    return image;
}

}  // namespace

/// Where the library reads.
struct MediaFile::Source {
    InputFile& file;
    const std::chrono::steady_clock::time_point end;
    std::int64_t position = 0;

    static int read(void* opaque, std::uint8_t* bytes, int length) {
        auto& self = *static_cast<Source*>(opaque);
        if (length <= 0) return AVERROR(EINVAL);
        if (std::chrono::steady_clock::now() >= self.end) return AVERROR_EXIT;
        const std::size_t got =
            self.file.readAt(static_cast<std::uint64_t>(self.position),
                             {reinterpret_cast<char*>(bytes), static_cast<std::size_t>(length)});
        self.position += static_cast<std::int64_t>(got);
        return got > 0 ? static_cast<int>(got) : AVERROR_EOF;
    }

    static std::int64_t seek(void* opaque, std::int64_t offset, int whence) {
        auto& self = *static_cast<Source*>(opaque);
        const auto size = static_cast<std::int64_t>(self.file.size());
        whence &= ~AVSEEK_FORCE;
        if (whence == AVSEEK_SIZE) return size;
        const std::int64_t base = whence == SEEK_CUR   ? self.position
                                  : whence == SEEK_END ? size
                                                       : 0;
        if (offset < -base || offset > size - base) return AVERROR(EINVAL);
        return self.position = base + offset;
    }
};

MediaFile::MediaFile(InputFile& file, std::chrono::milliseconds time)
    : m_end(std::chrono::steady_clock::now() + time), m_source(new Source{file, m_end}) {
    av_log_set_level(AV_LOG_QUIET);
}

MediaFile::~MediaFile() {
    avformat_close_input(&m_format);
    if (m_io) av_freep(&m_io->buffer);
    avio_context_free(&m_io);
}

MediaFile::Outcome MediaFile::open() {
    auto* const buffer = static_cast<unsigned char*>(av_malloc(kBufferBytes));
    m_io = avio_alloc_context(buffer, kBufferBytes, 0, m_source.get(), Source::read, nullptr,
                              Source::seek);
    m_format = avformat_alloc_context();
    if (!m_io || !m_format) return Outcome::Damaged;
    const AVInputFormat* format = nullptr;
    const int score = av_probe_input_buffer2(m_io, &format, "", nullptr, 0, 1 << 20);
    if (score <= AVPROBE_SCORE_RETRY || !format || !isAllowed(*format)) return Outcome::NoMedia;

    m_format->pb = m_io;
    m_format->flags |= AVFMT_FLAG_CUSTOM_IO;
    m_format->io_open = refuseToOpen;
    m_format->format_whitelist = av_strdup(kFormats);
    m_format->protocol_whitelist = av_strdup("none");
    m_format->probesize = kMostProbed;
    m_format->max_analyze_duration = 2 * AV_TIME_BASE;
    m_format->max_streams = 64;
    if (avformat_open_input(&m_format, "", format, nullptr) < 0) return Outcome::Damaged;
    if (avformat_find_stream_info(m_format, nullptr) < 0) return Outcome::Damaged;
    return m_format->nb_streams > 0 ? Outcome::Open : Outcome::Damaged;
}

std::string MediaFile::metadata(const char* name) const {
    const AVDictionaryEntry* found = av_dict_get(m_format->metadata, name, nullptr, 0);
    for (unsigned at = 0; at < m_format->nb_streams && !found; ++at)
        found = av_dict_get(m_format->streams[at]->metadata, name, nullptr, 0);
    return found && found->value ? found->value : std::string();
}

std::uint64_t MediaFile::durationMilliseconds() const {
    // AV_NOPTS_VALUE, for one that is not known, is negative.
    return static_cast<std::uint64_t>(std::max<std::int64_t>(m_format->duration, 0)) / 1000;
}

int MediaFile::videoStream() const {
    const int index = av_find_best_stream(m_format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (index < 0) return index;
    const bool isCover = m_format->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC;
    return isCover ? -1 : index;
}

QSize MediaFile::videoSize() const {
    const int index = videoStream();
    if (index < 0) return {};
    AVStream* const stream = m_format->streams[index];
    const AVCodecParameters& parameters = *stream->codecpar;
    if (parameters.width <= 0 || parameters.height <= 0) return {};
    return sizeAsSeen(parameters.width, parameters.height,
                      pixelAspect(av_guess_sample_aspect_ratio(m_format, stream, nullptr)),
                      quartersOf(*stream));
}

QByteArray MediaFile::cover() const {
    for (unsigned at = 0; at < m_format->nb_streams; ++at) {
        const AVStream& stream = *m_format->streams[at];
        const AVPacket& picture = stream.attached_pic;
        if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) && picture.size > 0)
            return {reinterpret_cast<const char*>(picture.data), picture.size};
    }
    return {};
}

/// Goes to a tenth of the video, for many begin with black, but five seconds at most.
void MediaFile::seekFrom(const AVStream& stream) {
    const std::int64_t target = std::min<std::int64_t>(m_format->duration / 10, 5 * AV_TIME_BASE);
    if (target <= 0) return;
    const std::int64_t start = stream.start_time == AV_NOPTS_VALUE ? 0 : stream.start_time;
    const std::int64_t at = av_rescale_q(target, AV_TIME_BASE_Q, stream.time_base);
    av_seek_frame(m_format, stream.index, av_sat_add64(start, at), AVSEEK_FLAG_BACKWARD);
}

QImage MediaFile::pictureNearBeginning(QSize box) {
    const int index = videoStream();
    if (index < 0) return {};
    AVStream* const stream = m_format->streams[index];
    const Codec codec = openCodec(*stream);
    const Packet packet(av_packet_alloc());
    const Frame frame(av_frame_alloc());
    if (!codec || !packet || !frame) return {};
    seekFrom(*stream);
    int received = AVERROR(EAGAIN);
    for (int count = 0; count < kMostPackets && received == AVERROR(EAGAIN) && !isOutOfTime();
         ++count) {
        const int read = av_read_frame(m_format, packet.get());
        if (read >= 0 && packet->stream_index != index) {
            av_packet_unref(packet.get());
            continue;
        }
        // At the end what the codec still holds comes out.
        avcodec_send_packet(codec.get(), read >= 0 ? packet.get() : nullptr);
        av_packet_unref(packet.get());
        received = avcodec_receive_frame(codec.get(), frame.get());
    }
    if (received < 0 || frame->width <= 0 || frame->height <= 0) return {};
    const int quarters = quartersOf(*stream);
    const double aspect = pixelAspect(av_guess_sample_aspect_ratio(m_format, stream, frame.get()));
    const QSize seen = fitting(sizeAsSeen(frame->width, frame->height, aspect, quarters), box);
    const QImage image = scaled(*frame, quarters % 2 == 0 ? seen : seen.transposed());
    return quarters == 0 ? image : image.transformed(QTransform().rotate(90.0 * quarters));
}

}  // namespace kestrin
