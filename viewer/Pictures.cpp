// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/Pictures.h"

#include <QColorSpace>
#include <algorithm>
#include <cmath>
#include <cstring>

namespace kestrin {

namespace {

/// Rows of the source that are scaled at a time are worth this much at 32 bits a pixel.
constexpr qint64 kBandBytes = 16 << 20;

/// The rows from `top` to `bottom` of the image, in its own memory.
QImage rows(const QImage& image, int top, int bottom) {
    QImage band(image.constScanLine(top), image.width(), bottom - top, image.bytesPerLine(),
                image.format());
    if (image.colorCount() > 0) band.setColorTable(image.colorTable());
    return band;
}

/// Scales band by band: the scaling of Qt first converts its whole source to 32 bits, which a scan
/// of 1 bit a pixel makes 32 times as large.
QImage scaledInBands(const QImage& image, QSize size) {
    QImage scaled(size, QImage::Format_ARGB32_Premultiplied);
    if (scaled.isNull()) return {};
    const qint64 rowsOfBand = std::max<qint64>(1, kBandBytes / (image.width() * 4LL));
    const int bands = int(std::clamp<qint64>(image.height() / rowsOfBand + 1, 1, size.height()));
    for (int band = 0; band < bands; ++band) {
        const int top = int(qint64(size.height()) * band / bands);
        const int bottom = int(qint64(size.height()) * (band + 1) / bands);
        const int sourceTop = int(qint64(image.height()) * top / size.height());
        const int sourceBottom =
            std::max(sourceTop + 1, int(qint64(image.height()) * bottom / size.height()));
        const QImage part =
            rows(image, sourceTop, sourceBottom)
                .scaled(size.width(), bottom - top, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                .convertToFormat(QImage::Format_ARGB32_Premultiplied);
        if (part.isNull()) return {};
        for (int row = top; row < bottom; ++row)
            std::memcpy(scaled.scanLine(row), part.constScanLine(row - top),
                        std::size_t(size.width()) * 4);
    }
    scaled.setColorSpace(image.colorSpace());
    return scaled;
}

}  // namespace

QSize boxOf(const DecodeRequest& request) {
    const auto side = [](std::uint32_t pixels) {
        return int(std::clamp<std::uint32_t>(pixels, 1, kLargestPreviewSide));
    };
    return {side(request.width), side(request.height)};
}

QSize filling(QSizeF natural, QSize box) {
    const double scale = std::min(box.width() / natural.width(), box.height() / natural.height());
    const auto side = [scale](double length, int bound) {
        return int(std::clamp(std::round(length * scale), 1.0, double(bound)));
    };
    return {side(natural.width(), box.width()), side(natural.height(), box.height())};
}

QSize fitting(QSize natural, QSize box) {
    const bool fits = natural.width() <= box.width() && natural.height() <= box.height();
    return fits ? natural : filling(natural, box);
}

QImage previewFrame(const QImage& image, QSize size) {
    if (image.isNull()) return {};
    QImage frame = image.size() == size ? image.convertToFormat(QImage::Format_ARGB32_Premultiplied)
                                        : scaledInBands(image, size);
    const QColorSpace screen(QColorSpace::SRgb);
    if (frame.colorSpace().isValid() && frame.colorSpace() != screen)
        frame.convertToColorSpace(screen);
    return frame;
}

Preview withoutPicture(PreviewFault fault) {
    Preview preview;
    preview.fault = fault;
    return preview;
}

Preview withPicture(QImage frame, QSize natural) {
    Preview preview;
    preview.kind = PreviewKind::Image;
    preview.facts.naturalWidth = std::uint32_t(natural.width());
    preview.facts.naturalHeight = std::uint32_t(natural.height());
    preview.frames.push_back(std::move(frame));
    preview.frameDelays.push_back(0);
    return preview;
}

}  // namespace kestrin
