// SPDX-License-Identifier: GPL-3.0-or-later
// Documents that are zip archives with a picture of themselves in them.
#include <QBuffer>
#include <QByteArray>
#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "viewer/BoundedArchive.h"
#include "viewer/Decoders.h"
#include "viewer/Pictures.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

constexpr auto kTime = 500ms;
constexpr std::uint64_t kMostBytes = 16 << 20;
constexpr int kMostEntries = 20'000;

bool isPicture(const std::string& name) {
    static constexpr std::array<std::string_view, 13> kNames = {
        "Thumbnails/thumbnail.png",  // OpenDocument
        "docProps/thumbnail.jpeg",   // Office Open XML
        "docProps/thumbnail.jpg",
        "docProps/thumbnail.png",
        "Metadata/thumbnail.png",  // 3MF
        "preview.png",             // Krita
        "preview.jpg",
        "QuickLook/Thumbnail.jpg",
        "QuickLook/Preview.jpg",     // iWork
        "previews/preview.png",      // Sketch
        "thumbnails/Thumbnail.png",  // FreeCAD
        "Thumbnails/thumbnail.jpg",
        "META-INF/thumbnail.png"};
    return std::ranges::find(kNames, name) != kNames.end();
}

/// Kinds of documents, by the beginnings of their types, whose other content says nothing to
/// anybody.
bool isDocument(std::string_view type) {
    static constexpr std::array<std::string_view, 7> kTypes = {
        "application/vnd.oasis.opendocument.",
        "application/vnd.openxmlformats-officedocument.",
        "application/vnd.ms-",
        "application/vnd.apple.",
        "application/x-krita",
        "application/x-extension-fcstd",
        "image/openraster"};
    return std::ranges::any_of(kTypes,
                               [type](std::string_view begin) { return type.starts_with(begin); });
}

bool isZip(InputFile& file) {
    std::array<char, 4> bytes{};
    return std::string_view(bytes.data(), file.readAt(0, bytes)) == "PK\3\4";
}

/// The picture's file; empty when there is none.
std::string pictureIn(InputFile& file) {
    BoundedArchive archive(file, ArchiveKinds::Zip, kTime);
    std::string content;
    for (int count = 0; count < kMostEntries && archive.next(); ++count) {
        if (!isPicture(archive.name())) continue;
        // A picture that is cut would be shown as a damaged one.
        if (archive.readContent(kMostBytes + 1, &content) <= kMostBytes && !content.empty()) break;
        content.clear();
    }
    return content;
}

}  // namespace

std::optional<Preview> decodeOfficeThumbnail(InputFile& file, const DecodeRequest& request) {
    if (!isZip(file)) return std::nullopt;
    const std::string content = pictureIn(file);
    QByteArray bytes =
        QByteArray::fromRawData(content.data(), static_cast<qsizetype>(content.size()));
    QBuffer picture(&bytes);
    picture.open(QIODevice::ReadOnly);
    std::optional<Preview> preview;
    if (!content.empty()) preview = decodeImageOf(picture, request);
    if (preview && preview->kind == PreviewKind::Image) {
        // These are the pixels of the picture, and not of the document.
        preview->facts.naturalWidth = preview->facts.naturalHeight = 0;
        return preview;
    }
    return isDocument(request.type) ? std::optional(Preview{}) : std::nullopt;
}

}  // namespace kestrin
