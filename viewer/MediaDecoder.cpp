// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/MediaDecoder.h"

#include <QBuffer>
#include <utility>

#include "viewer/MediaFile.h"
#include "viewer/Pictures.h"
#include "viewer/VisibleText.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

constexpr auto kTime = 2500ms;

PreviewFacts factsOf(const MediaFile& media) {
    PreviewFacts facts;
    facts.title = visibleLine(media.metadata("title").c_str());
    facts.artist = visibleLine(media.metadata("artist").c_str());
    facts.durationMilliseconds = media.durationMilliseconds();
    const QSize size = media.videoSize();
    facts.naturalWidth = static_cast<std::uint32_t>(std::max(0, size.width()));
    facts.naturalHeight = static_cast<std::uint32_t>(std::max(0, size.height()));
    return facts;
}

QImage coverOf(const MediaFile& media, const DecodeRequest& request) {
    QByteArray bytes = media.cover();
    if (bytes.isEmpty()) return {};
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto picture = decodeImageOf(buffer, request);
    return picture && !picture->frames.empty() ? picture->frames.front() : QImage();
}

}  // namespace

std::optional<Preview> decodeMedia(InputFile& file, const DecodeRequest& request) {
    MediaFile media(file, kTime);
    const MediaFile::Outcome outcome = media.open();
    if (outcome == MediaFile::Outcome::NoMedia) return std::nullopt;
    if (outcome == MediaFile::Outcome::Damaged) {
        return Preview{.fault =
                           media.isOutOfTime() ? PreviewFault::TooSlow : PreviewFault::Damaged};
    }
    Preview preview{.facts = factsOf(media)};
    QImage picture = coverOf(media, request);
    if (picture.isNull()) picture = media.pictureNearBeginning(boxOf(request));
    if (!picture.isNull()) {
        preview.kind = PreviewKind::Image;
        preview.frames.push_back(std::move(picture));
    }
    return preview;
}

}  // namespace kestrin
