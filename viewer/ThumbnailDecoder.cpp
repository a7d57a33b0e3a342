// SPDX-License-Identifier: GPL-3.0-or-later
// Thumbnails of the desktop's own cache, which any program may have written.
#include <QImageReader>

#include "viewer/Decoders.h"
#include "viewer/InputFile.h"
#include "viewer/Pictures.h"

namespace kestrin {

namespace {

/// The largest thumbnails of the standard, "xx-large".
constexpr int kLargestThumbnailSide = 1024;

}  // namespace

std::optional<Preview> decodeCachedThumbnail(InputFile& file, const DecodeRequest& request) {
    const std::unique_ptr<QIODevice> device = file.device();
    QImageReader reader(device.get(), "png");
    reader.setAutoDetectImageFormat(false);
    const QSize natural = reader.size();
    if (!natural.isValid()) return std::nullopt;
    if (natural.width() > kLargestThumbnailSide || natural.height() > kLargestThumbnailSide)
        return withoutPicture(PreviewFault::TooLarge);
    const QImage image = reader.read();
    QImage frame = previewFrame(image, fitting(natural, boxOf(request)));
    if (frame.isNull()) return withoutPicture(PreviewFault::Damaged);
    Preview preview = withPicture(std::move(frame), natural);
    preview.facts.thumbnailUri = image.text(QStringLiteral("Thumb::URI")).toStdString();
    preview.facts.thumbnailTime = image.text(QStringLiteral("Thumb::MTime")).toStdString();
    return preview;
}

}  // namespace kestrin
