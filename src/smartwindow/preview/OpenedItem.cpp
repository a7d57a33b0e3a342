// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/OpenedItem.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <ranges>
#include <utility>

#include "inventory/ThumbnailCache.h"
#include "platform/items/ItemAttributes.h"
#include "platform/items/OpenRegularFile.h"
#include "platform/processes/AnswerWithin.h"
#include "smartwindow/preview/FolderPreview.h"

namespace kestrin {
namespace {

constexpr std::int64_t kReferenceDateSince1970 = 978307200;

PreviewFault faultFrom(const HostError& error) {
    switch (error.systemError) {
        case EINVAL:
            return PreviewFault::NotAFile;
        case ENOENT:
        case ENOTDIR:
        case ESTALE:
            return PreviewFault::Gone;
        default:
            return PreviewFault::Unreadable;
    }
}

/// What the cache has, the smallest first. Whether it is of the item as it is now, only the
/// decoder can tell.
std::vector<std::pair<OpenedFile, int>> openCachedThumbnails(const FileUrl& item) {
    const auto attributes = itemAttributes(item);
    if (!attributes) return {};
    const auto seconds = static_cast<std::int64_t>(std::floor(attributes->dateModified));
    std::vector<std::pair<OpenedFile, int>> opened;
    for (const CachedThumbnail& thumbnail : cachedThumbnailsOf(item)) {
        auto file = openRegularFile(thumbnail.file, {});
        if (!file) continue;
        opened.emplace_back(
            OpenedFile{HeldFile(std::move(*file)), DecodePurpose::CachedThumbnail,
                       thumbnailUri(item), std::to_string(seconds + kReferenceDateSince1970)},
            thumbnail.side);
    }
    return opened;
}

}  // namespace

HeldFile& HeldFile::operator=(HeldFile&& other) noexcept {
    if (this != &other) {
        close();
        m_file = std::move(other.m_file);
    }
    return *this;
}

void HeldFile::close() noexcept {
    if (!m_file) return;
    const int file = m_file.release();
    // Where no thread is to be had, a wait is less likely than one file after the other left open.
    if (!runAbandoned([file] { ::close(file); })) ::close(file);
}

std::shared_ptr<const Preview> previewOfFault(PreviewFault fault) {
    Preview preview;
    preview.fault = fault;
    return std::make_shared<const Preview>(std::move(preview));
}

OpenedItem openForPreview(const PreviewedItem& item, DecodePurpose purpose, int side) {
    OpenedItem opened;
    if (item.isFolder) {
        opened.preview = std::make_shared<const Preview>(previewOfFolder(item.url, item.identity));
        return opened;
    }
    auto file = openRegularFile(item.url, item.identity);
    if (!file) {
        opened.preview = previewOfFault(faultFrom(file.error()));
        return opened;
    }
    std::vector<std::pair<OpenedFile, int>> cached;
    if (purpose == DecodePurpose::Thumbnail) cached = openCachedThumbnails(item.url);
    // A cached picture that would have to be enlarged comes after the file itself.
    const auto larger =
        std::ranges::find_if(cached, [&](const auto& c) { return c.second >= side; });
    for (auto& [thumbnail, ofSide] : std::ranges::subrange(cached.begin(), larger))
        opened.files.push_back(std::move(thumbnail));
    opened.files.push_back({HeldFile(std::move(*file)), purpose, {}, {}});
    for (auto& [thumbnail, ofSide] :
         std::ranges::subrange(larger, cached.end()) | std::views::reverse)
        opened.files.push_back(std::move(thumbnail));
    return opened;
}

}  // namespace kestrin
