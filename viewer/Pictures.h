// SPDX-License-Identifier: GPL-3.0-or-later
// What every decoder that answers with a picture shares. Thread: one at a time, with a
// QGuiApplication.
#pragma once

#include <QImage>
#include <QSize>
#include <optional>
#include <string_view>

#include "viewer/ViewerProtocol.h"

class QIODevice;

namespace kestrin {

/// The box of the request in pixels, from 1 to kLargestPreviewSide each way.
QSize boxOf(const DecodeRequest& request);

/// The largest size of the shape of `natural` that fits into `box`, at least a pixel each way.
QSize filling(QSizeF natural, QSize box);

/// The same, but never larger than `natural`: what is made of pixels is not blown up.
QSize fitting(QSize natural, QSize box);

/// The picture as a preview shows it: of that size, smoothly scaled, in the colours of sRGB, as
/// premultiplied ARGB32. It takes little memory beside `image` itself, also for a very large one.
/// A null image when there is no memory, or `image` is null.
QImage previewFrame(const QImage& image, QSize size);

/// A preview of a file whose kind is known, but of which there is nothing to see.
Preview withoutPicture(PreviewFault fault);

/// A preview of one picture, of a file that is `natural` pixels large.
Preview withPicture(QImage frame, QSize natural);

/// The raster image that begins where the device stands, by the image plug-ins of Qt, which are
/// chosen by content. None when it is no raster image.
/// Shapes: turned as its orientation says, fitted into the box of the request. Of an animation the
///         frames from the first on that fit the bounds of a preview, down to half the size where
///         more of them fit then; of a file of several pages the page asked for; of an icon its
///         largest picture.
/// Errors: TooLarge by the size that it tells, before memory is taken; Damaged. A file that breaks
///         off shows what there is of it, as partial.
std::optional<Preview> decodeImageOf(QIODevice& device, const DecodeRequest& request);

/// Whether the image plug-ins that are installed read files of that MIME type.
bool isImageType(std::string_view type);

}  // namespace kestrin
