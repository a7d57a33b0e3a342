// SPDX-License-Identifier: GPL-3.0-or-later
// Drawings in SVG. What is drawn is a copy (SvgCopy) that refers to nothing outside itself.
#include <QPainter>
#include <QSvgRenderer>

#include "viewer/Decoders.h"
#include "viewer/InputFile.h"
#include "viewer/Pictures.h"
#include "viewer/SvgCopy.h"

namespace kestrin {

namespace {

constexpr std::size_t kBeginningBytes = 64 << 10;
/// Of the drawing's text, packed or not.
constexpr std::size_t kLargestDrawing = 16 << 20;

QImage render(QSvgRenderer& drawing, QSize size) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull()) return {};
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    drawing.setAspectRatioMode(Qt::KeepAspectRatio);
    drawing.render(&painter, QRectF(QPointF(), QSizeF(size)));
    return image;
}

}  // namespace

std::optional<Preview> decodeSvg(InputFile& file, const DecodeRequest& request) {
    if (!isSvg(unpacked(file.beginning(kBeginningBytes), kBeginningBytes))) return std::nullopt;
    const std::optional<QByteArray> content = file.content(kLargestDrawing);
    const QByteArray text = content ? unpacked(*content, kLargestDrawing + 1) : QByteArray();
    if (!content || std::size_t(text.size()) > kLargestDrawing)
        return withoutPicture(PreviewFault::TooLarge);
    const SvgCopy copy = copySvg(text);
    if (copy.fault != PreviewFault::None) return withoutPicture(copy.fault);
    QSvgRenderer drawing(copy.text);
    const QSize natural = drawing.defaultSize();
    if (!drawing.isValid() || natural.isEmpty()) return withoutPicture(PreviewFault::Damaged);
    QImage image = render(drawing, filling(natural, boxOf(request)));
    if (image.isNull()) return withoutPicture(PreviewFault::TooLarge);
    return withPicture(std::move(image), natural);
}

}  // namespace kestrin
