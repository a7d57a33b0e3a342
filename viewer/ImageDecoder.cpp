// SPDX-License-Identifier: GPL-3.0-or-later
// Raster images.
#include <QImageReader>
#include <QtEndian>
#include <QtGlobal>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>

#include "viewer/Decoders.h"
#include "viewer/InputFile.h"
#include "viewer/Pictures.h"

namespace kestrin {

namespace {

using namespace std::chrono_literals;

/// What a decoded picture may take where its plug-in cannot scale while it decodes.
constexpr qint64 kLargestImageBytes = 256 << 20;
/// Beyond these the decoders need more processor time than a file has.
constexpr qint64 kMostPixels = 400'000'000;
constexpr qint64 kMostJpegPixels = 2'000'000'000;
/// From here on a failure is likelier one of memory than of the file.
constexpr qint64 kManyPixels = 1LL << 25;

constexpr std::size_t kMostAnimationBytes = 48 << 20;
constexpr std::size_t kMostAnimationFrames = 250;
constexpr auto kLongestAnimationReading = 1500ms;

bool isOneOf(const QByteArray& format, std::initializer_list<const char*> names) {
    return std::any_of(names.begin(), names.end(),
                       [&](const char* name) { return format == name; });
}

/// Notes, while it lives, whether the library for JPEG misses data that the file should have. Its
/// plug-in fills that with grey, calls it a success, and hands on the library's complaint alone.
class MissingDataWatch {
 public:
    MissingDataWatch() {
        s_isMissing = false;
        s_next = qInstallMessageHandler(handleMessage);
    }
    ~MissingDataWatch() { qInstallMessageHandler(s_next); }
    MissingDataWatch(const MissingDataWatch&) = delete;
    MissingDataWatch& operator=(const MissingDataWatch&) = delete;

    bool isMissing() const { return s_isMissing; }

 private:
    static void handleMessage(QtMsgType type, const QMessageLogContext& context,
                              const QString& message) {
        if (message.contains(u"premature end", Qt::CaseInsensitive)) s_isMissing = true;
        if (s_next) s_next(type, context, message);
    }

    static inline QtMessageHandler s_next = nullptr;
    static inline std::atomic<bool> s_isMissing = false;
};

/// One file that a plug-in of Qt takes for its own.
class ImageFile {
 public:
    /// With an empty format the plug-in is chosen by content.
    ImageFile(QIODevice& device, const DecodeRequest& request, const QByteArray& format = {})
        : m_start(device.pos()), m_reader(&device, format), m_request(request) {
        m_reader.setAutoDetectImageFormat(format.isEmpty());
        m_reader.setDecideFormatFromContent(format.isEmpty());
        m_reader.setAutoTransform(true);
        m_isImage = m_reader.canRead();
        m_format = m_reader.format();
    }

    /// What the file looks like; none when it is no raster image. Drawings have decoders of their
    /// own, and what is known by no magic number has to have a name that says so.
    std::optional<Preview> decode() {
        if (!m_isImage || isOneOf(m_format, {"svg", "svgz", "pdf"})) return std::nullopt;
        // Its library takes as much memory as a file wishes, and nobody keeps it any more.
        if (m_format == "mng") return std::nullopt;
        if (!isNamedImage() && isOneOf(m_format, {"", "wbmp"})) return std::nullopt;
        return decodeImage();
    }

 private:
    std::optional<Preview> decodeImage() {
        choosePicture();
        // Not every plug-in knows the size before it has decoded; the bound of memory holds anyway.
        m_stored = m_reader.size();
        m_isTurned = m_reader.transformation() & QImageIOHandler::TransformationRotate90;
        const qint64 pixels = qint64(m_stored.width()) * m_stored.height();
        if (pixels > (m_format == "jpeg" ? kMostJpegPixels : kMostPixels))
            return withoutPicture(PreviewFault::TooLarge);
        const QImage image = read();
        if (image.isNull()) return failure(pixels);
        if (!m_stored.isValid()) m_stored = m_isTurned ? image.size().transposed() : image.size();
        const QSize natural = m_isTurned ? m_stored.transposed() : m_stored;
        const bool isPlayed =
            m_reader.supportsAnimation() && m_request.purpose == DecodePurpose::Preview;
        const QSize fitted = fitting(natural, boxOf(m_request));
        const QSize size = isPlayed ? sizeToPlay(fitted) : fitted;
        QImage frame = previewFrame(image, size);
        if (frame.isNull()) return withoutPicture(PreviewFault::TooLarge);
        Preview preview = withPicture(std::move(frame), natural);
        preview.facts.isPartial = m_isPartial;
        preview.facts.page = m_page;
        preview.facts.pageCount = m_pageCount;
        if (isPlayed) addFrames(preview, size);
        return preview;
    }

    bool isNamedImage() const { return m_request.type.starts_with("image/"); }

    /// Two letters at the beginning of a text are no damaged image.
    std::optional<Preview> failure(qint64 pixels) const {
        if (!isNamedImage() &&
            isOneOf(m_format, {"bmp", "dib", "pbm", "pgm", "ppm", "xbm", "xpm", "ico", "cur"}))
            return std::nullopt;
        return withoutPicture(pixels > kManyPixels ? PreviewFault::TooLarge
                                                   : PreviewFault::Damaged);
    }

    /// Goes to the picture to be shown of a file with several.
    void choosePicture() {
        if (m_reader.supportsAnimation()) return;
        const int count = m_reader.imageCount();
        if (count < 2) return;
        if (!isOneOf(m_format, {"ico", "cur", "icns"})) {
            m_pageCount = std::uint32_t(count);
            m_page = std::min(m_request.page, m_pageCount - 1);
            m_reader.jumpToImage(int(m_page));
            return;
        }
        int largest = 0, widest = -1;
        for (int index = 0; index < std::min(count, 64); ++index) {
            if (!m_reader.jumpToImage(index) || m_reader.size().width() <= widest) continue;
            widest = m_reader.size().width();
            largest = index;
        }
        m_reader.jumpToImage(largest);
    }

    /// Whether the plug-in itself scales while it decodes. That for PNG says so of every image, but
    /// does it for those of 32 bits alone.
    bool canScale() const {
        if (!m_stored.isValid() || !m_reader.supportsOption(QImageIOHandler::ScaledSize))
            return false;
        const QImage::Format format = m_reader.imageFormat();
        return m_format != "png" || format == QImage::Format_RGB32 ||
               format == QImage::Format_ARGB32;
    }

    /// The picture, scaled already where the plug-in can do that. A plug-in that meets the end too
    /// early has written what there was into the image it was given.
    QImage read() {
        QSize size = m_stored;
        if (canScale()) {
            const QSize natural = m_isTurned ? m_stored.transposed() : m_stored;
            size = fitting(natural, boxOf(m_request));
            if (m_isTurned) size.transpose();
            if (size != m_stored) m_reader.setScaledSize(size);
        }
        QImage image = emptyImage(size);
        const MissingDataWatch watch;
        if (m_reader.read(&image)) {
            m_isPartial = watch.isMissing() || (m_format == "bmp" && isShorterThanItSays());
            return image;
        }
        const bool isUpright = m_reader.transformation() == QImageIOHandler::TransformationNone;
        if (image.size() != size || !isUpright || !hasContent(image)) return {};
        m_isPartial = true;
        // What is missing stays transparent.
        if (image.format() == QImage::Format_RGB32)
            image.reinterpretAsFormat(QImage::Format_ARGB32_Premultiplied);
        return image;
    }

    /// Whether a bitmap's header, which tells the size of the file, tells more than there is.
    bool isShorterThanItSays() const {
        QIODevice& device = *m_reader.device();
        quint32 size = 0;
        constexpr int kSizeAt = 2;
        if (!device.seek(m_start + kSizeAt) ||
            device.read(reinterpret_cast<char*>(&size), sizeof size) != sizeof size)
            return true;
        return device.size() - m_start < qFromLittleEndian(size);
    }

    /// What the plug-in will fill, empty; null when that is not known or too much. From here on the
    /// plug-in may take as much as that and no more.
    QImage emptyImage(QSize size) const {
        const QImage::Format format = m_reader.imageFormat();
        const qint64 pixels = qint64(size.width()) * size.height();
        const bool isKnown = !size.isEmpty() && format != QImage::Format_Invalid;
        const qint64 bytes =
            isKnown ? pixels * QImage::toPixelFormat(format).bitsPerPixel() / 8 : 0;
        const bool isBounded = isKnown && bytes <= kLargestImageBytes;
        // The plug-ins count at least 4 bytes a pixel, however few it takes.
        const qint64 counted = isBounded ? pixels * 4 + (1 << 20) : 0;
        QImageReader::setAllocationLimit(int(std::max(kLargestImageBytes, counted) >> 20));
        if (!isBounded) return {};
        QImage image(size, format);
        // Not by fill(), which makes pixels without an alpha channel opaque.
        if (!image.isNull()) std::memset(image.bits(), 0, std::size_t(image.sizeInBytes()));
        return image;
    }

    static bool hasContent(const QImage& image) {
        const uchar* bytes = image.constBits();
        return std::any_of(bytes, bytes + image.sizeInBytes(), [](uchar byte) { return byte; });
    }

    static std::size_t bytesOf(QSize size) {
        return std::size_t(size.width()) * std::size_t(size.height()) * 4;
    }

    /// A smaller size, if more of the animation fits the bounds then. Below half the side it is
    /// better to see less of it.
    QSize sizeToPlay(QSize fitted) const {
        const std::size_t frames =
            std::min(std::size_t(std::max(m_reader.imageCount(), 1)), kMostAnimationFrames);
        const double share = double(kMostAnimationBytes) / double(bytesOf(fitted) * frames);
        if (share >= 1) return fitted;
        const double scale = std::max(0.5, std::sqrt(share));
        return {std::max(1, int(fitted.width() * scale)),
                std::max(1, int(fitted.height() * scale))};
    }

    /// Adds the frames after the first one.
    void addFrames(Preview& preview, QSize size) {
        const auto deadline = std::chrono::steady_clock::now() + kLongestAnimationReading;
        preview.frameDelays.front() = delay();
        while (m_reader.canRead()) {
            if (preview.frames.size() >= kMostAnimationFrames ||
                (preview.frames.size() + 1) * bytesOf(size) > kMostAnimationBytes ||
                std::chrono::steady_clock::now() > deadline) {
                preview.facts.isPartial = true;
                return;
            }
            QImage frame = previewFrame(m_reader.read(), size);
            if (frame.isNull()) return;
            preview.frames.push_back(std::move(frame));
            preview.frameDelays.push_back(delay());
        }
    }

    /// How long the frame that was just read is shown. Browsers take what is hardly longer than
    /// nothing for a tenth of a second, and animations are made for browsers.
    std::uint32_t delay() const {
        const int milliseconds = m_reader.nextImageDelay();
        return milliseconds > 10 ? std::uint32_t(std::min(milliseconds, 60'000)) : 100u;
    }

    const qint64 m_start;
    QImageReader m_reader;
    const DecodeRequest& m_request;
    QByteArray m_format;
    bool m_isImage = false;
    QSize m_stored;  ///< before it is turned
    bool m_isTurned = false;
    bool m_isPartial = false;
    std::uint32_t m_page = 0;
    std::uint32_t m_pageCount = 0;
};

}  // namespace

std::optional<Preview> decodeImageOf(QIODevice& device, const DecodeRequest& request) {
    const qint64 start = device.pos();
    std::optional<Preview> preview = ImageFile(device, request).decode();
    // Targa images have their mark at the end, and pass for icons.
    if (request.type == "image/x-tga" && (!preview || preview->kind == PreviewKind::None)) {
        device.seek(start);
        preview = ImageFile(device, request, "tga").decode();
    }
    return preview;
}

bool isImageType(std::string_view type) {
    return QImageReader::supportedMimeTypes().contains(
        QByteArrayView(type.data(), qsizetype(type.size())));
}

std::optional<Preview> decodeImage(InputFile& file, const DecodeRequest& request) {
    const std::unique_ptr<QIODevice> device = file.device();
    return decodeImageOf(*device, request);
}

}  // namespace kestrin
