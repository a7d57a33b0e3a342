// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/ThumbnailCache.h"

#include <QCryptographicHash>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "base/HomeFolder.h"

namespace kestrin {
namespace {

/// The cache's folders and the side in pixels of the square that fits into each.
constexpr std::array<std::pair<const char*, int>, 4> kFolders{
    {{"normal", 128}, {"large", 256}, {"x-large", 512}, {"xx-large", 1024}}};

bool staysInUri(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= '0' && byte <= '9') ||
           std::string_view("-_.!~*'()/&=:@+$,").find(byte) != std::string_view::npos;
}

std::string escaped(std::string_view path) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const char byte : path) {
        if (staysInUri(byte)) {
            text += byte;
        } else {
            const auto value = static_cast<unsigned char>(byte);
            text.append({'%', kDigits[value >> 4], kDigits[value & 15]});
        }
    }
    return text;
}

std::string fileNameFor(const std::string& uri) {
    const auto bytes = QByteArray::fromRawData(uri.data(), static_cast<qsizetype>(uri.size()));
    return QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex().toStdString() + ".png";
}

}  // namespace

std::string thumbnailUri(const FileUrl& item) {
    return "file://" + escaped(item.path());
}

FileUrl thumbnailCacheFolder() {
    const char* cache = std::getenv("XDG_CACHE_HOME");
    const std::string base = cache && cache[0] == '/' ? cache : homeFolder() + "/.cache";
    return FileUrl::fromPath(base).appending("thumbnails");
}

std::vector<CachedThumbnail> cachedThumbnailsOf(const FileUrl& item) {
    const FileUrl cache = thumbnailCacheFolder();
    const std::string name = fileNameFor(thumbnailUri(item));
    std::vector<CachedThumbnail> thumbnails;
    for (const auto& [folder, side] : kFolders)
        thumbnails.push_back({cache.appending(folder).appending(name), side});
    return thumbnails;
}

}  // namespace kestrin
