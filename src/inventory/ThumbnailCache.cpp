// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/ThumbnailCache.h"

#include <QCryptographicHash>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "base/HomeFolder.h"
#include "platform/desktop/Places.h"
#include "platform/items/RemoveNamedFiles.h"

namespace kestrin {
namespace {

/// The cache's folders and the side in pixels of the square that fits into each.
constexpr std::array<std::pair<const char*, int>, 4> kFolders{
    {{"normal", 128}, {"large", 256}, {"x-large", 512}, {"xx-large", 1024}}};

/// So many entries are remembered before their pictures go: listing the cache has its price, and
/// the program may be killed.
constexpr std::size_t kMostRemembered = 10'000;

/// What GLib escapes neither in locations of local files nor in those of its own file systems.
constexpr std::string_view kKeptInPaths = "-_.!~*'()/&=:@+$,";
constexpr std::string_view kKeptInTrash = "-_.!~*'()/&=:@+$,;";

std::string escaped(std::string_view path, std::string_view kept) {
    const auto staysInUri = [kept](char byte) {
        return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
               (byte >= '0' && byte <= '9') || kept.find(byte) != std::string_view::npos;
    };
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

/// Where the "trash:///" of GLib's file managers has an entry: of the home trash by its name, of
/// any other by the escaped path with each slash as a backslash. A name that begins like such a
/// path is told apart by a grave accent.
std::string trashUri(const FileUrl& item, bool isInHomeTrash) {
    std::string name;
    if (isInHomeTrash) {
        name = item.lastPathComponent();
        if (name.starts_with('\\') || name.starts_with('`')) name.insert(0, 1, '`');
    } else {
        name = escaped(item.path(), kKeptInPaths);
        std::ranges::replace(name, '/', '\\');
    }
    return "trash:///" + escaped(name, kKeptInTrash);
}

}  // namespace

std::string thumbnailUri(const FileUrl& item) {
    return "file://" + escaped(item.path(), kKeptInPaths);
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

std::string ErasedThumbnails::homeTrashFiles() {
    return dataHomeFolder() + "/Trash/files";
}

void ErasedThumbnails::add(const FileUrl& files, std::string_view name) {
    const FileUrl item = files.appending(name);
    std::string ofPath = fileNameFor(thumbnailUri(item));
    std::string ofTrash = fileNameFor(trashUri(item, files.path() == m_homeTrash));
    bool isFull = false;
    {
        const std::lock_guard lock(m_lock);
        m_names.insert(std::move(ofPath));
        m_names.insert(std::move(ofTrash));
        isFull = m_names.size() >= 2 * kMostRemembered;
    }
    if (isFull) remove();
}

void ErasedThumbnails::remove() {
    std::unordered_set<std::string> names;
    {
        const std::lock_guard lock(m_lock);
        names = std::exchange(m_names, {});
    }
    if (names.empty()) return;
    constexpr int kDepth = 2;  // "large/NAME" and "fail/PROGRAM/NAME"
    removeNamedFiles(thumbnailCacheFolder(), kDepth,
                     [&](std::string_view name) { return names.contains(std::string(name)); });
}

}  // namespace kestrin
