// SPDX-License-Identifier: GPL-3.0-or-later
// Pages of PDF files.
#include <poppler-qt6.h>

#include <algorithm>
#include <chrono>
#include <cmath>

#include "viewer/Decoders.h"
#include "viewer/InputFile.h"
#include "viewer/Pictures.h"

namespace kestrin {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr double kPointsPerInch = 72;
/// Where readers of PDF files look for the beginning.
constexpr std::size_t kHeaderBytes = 1024;
/// A page that is not ready by then is shown as it is, if anything of it was told; and is given up
/// a little later. A file has five seconds of processor time in all.
constexpr auto kLongRendering = 2s;
constexpr auto kLongestRendering = 3s;

/// The page while it is drawn, as the functions that Poppler calls meanwhile see it.
struct Drawing {
    const Clock::time_point begin = Clock::now();
    QImage beginning;  ///< what stood on the page when that took long already
    bool isGivenUp = false;

    static Drawing& of(const QVariant& payload) {
        return *static_cast<Drawing*>(payload.value<void*>());
    }
    static bool isLong(const QVariant& payload) {
        Drawing& drawing = of(payload);
        return drawing.beginning.isNull() && Clock::now() > drawing.begin + kLongRendering;
    }
    static void keep(const QImage& image, const QVariant& payload) {
        of(payload).beginning = image.copy();
    }
    static bool isTooLong(const QVariant& payload) {
        Drawing& drawing = of(payload);
        drawing.isGivenUp |= Clock::now() > drawing.begin + kLongestRendering;
        return drawing.isGivenUp;
    }
};

/// The page, as large as the box allows; null when that failed. `drawing` tells whether it took too
/// long.
QImage render(const Poppler::Page& page, QSizeF points, QSize box, Drawing& drawing) {
    const QSize size = filling(points, box);
    // The two differ where a page is so narrow that a pixel is more than its share.
    const double horizontal = size.width() * kPointsPerInch / points.width();
    const double vertical = size.height() * kPointsPerInch / points.height();
    const QImage image =
        page.renderToImage(horizontal, vertical, 0, 0, size.width(), size.height(),
                           Poppler::Page::Rotate0, Drawing::keep, Drawing::isLong,
                           Drawing::isTooLong, QVariant::fromValue(static_cast<void*>(&drawing)));
    return previewFrame(drawing.isGivenUp ? drawing.beginning : image, size);
}

Preview pageOf(const Poppler::Document& document, const DecodeRequest& request) {
    const int count = document.numPages();
    if (count < 1) return withoutPicture(PreviewFault::Damaged);
    const std::uint32_t number = std::min(request.page, std::uint32_t(count - 1));
    const std::unique_ptr<Poppler::Page> page = document.page(int(number));
    const QSizeF points = page ? page->pageSizeF() : QSizeF();
    const auto isLength = [](double length) { return std::isfinite(length) && length > 0; };
    if (!isLength(points.width()) || !isLength(points.height()))
        return withoutPicture(PreviewFault::Damaged);
    Drawing drawing;
    QImage image = render(*page, points, boxOf(request), drawing);
    if (image.isNull())
        return withoutPicture(drawing.isGivenUp ? PreviewFault::TooSlow : PreviewFault::Damaged);
    const auto rounded = [](double length) { return int(std::clamp(length, 1.0, 1e9)); };
    Preview preview =
        withPicture(std::move(image), {rounded(points.width()), rounded(points.height())});
    preview.facts.isPartial = drawing.isGivenUp;
    preview.facts.page = number;
    preview.facts.pageCount = std::uint32_t(count);
    preview.facts.title = document.info(QStringLiteral("Title")).trimmed().toStdString();
    return preview;
}

}  // namespace

std::optional<Preview> decodePdf(InputFile& file, const DecodeRequest& request) {
    if (!file.beginning(kHeaderBytes).contains("%PDF-")) return std::nullopt;
    // What it says of a file's faults would be a line of the file's own choice in our log.
    Poppler::setDebugErrorFunction([](const QString&, const QVariant&) {}, {});
    const std::unique_ptr<QIODevice> device = file.device();
    const std::unique_ptr<Poppler::Document> document = Poppler::Document::load(device.get());
    if (!document) return withoutPicture(PreviewFault::Damaged);
    if (document->isLocked()) return withoutPicture(PreviewFault::Encrypted);
    document->setRenderHint(Poppler::Document::Antialiasing);
    document->setRenderHint(Poppler::Document::TextAntialiasing);
    return pageOf(*document, request);
}

}  // namespace kestrin
