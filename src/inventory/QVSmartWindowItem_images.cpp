// SPDX-License-Identifier: GPL-3.0-or-later
#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QSize>
#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>

#include "fsutil/QVFilesUtilities.h"
#include "inventory/QVSmartWindowItem.h"
#include "inventory/ThumbnailCache.h"
#include "platform/items/ItemAttributes.h"
#include "platform/items/SmallFile.h"

namespace kestrin {

namespace {

constexpr QSize kListIconSize(32, 32);
constexpr int kLargestIcon = 512;
constexpr std::int64_t kReferenceDateSince1970 = 978307200;

constexpr int kLargestThumbnail = 1024;
constexpr std::size_t kLargestThumbnailFile = 16 << 20;

/// The picture in the file, if it was made of `uri` as it was at `modified`.
QImage readThumbnail(const FileUrl& file, const std::string& uri, const QString& modified) {
    const auto content = readSmallFile(file, kLargestThumbnailFile, LastLink::Follow);
    if (!content) return {};
    QByteArray bytes = QByteArray::fromRawData(content->data(), std::ssize(*content));
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer, "png");
    if (std::max(reader.size().width(), reader.size().height()) > kLargestThumbnail) return {};
    const QImage image = reader.read();
    // The picture is asked and not the reader, which takes the first colon for the end of the key.
    const bool isOfUri = image.text(QStringLiteral("Thumb::URI")) == QString::fromStdString(uri);
    const bool isCurrent = image.text(QStringLiteral("Thumb::MTime")) == modified;
    return isOfUri && isCurrent ? image : QImage();
}

/// The smallest cached picture that fills `value`, or the largest when none does. Null when there
/// is none.
QImage cachedThumbnail(const FileUrl& url, int value) {
    const auto attributes = itemAttributes(url);
    if (!attributes || attributes->isSymbolicLink()) return {};
    const auto seconds = static_cast<std::int64_t>(std::floor(attributes->dateModified));
    const QString modified = QString::number(seconds + kReferenceDateSince1970);

    QImage best;
    for (const auto& [file, side] : cachedThumbnailsOf(url)) {
        const QImage thumbnail = readThumbnail(file, thumbnailUri(url), modified);
        if (thumbnail.isNull()) continue;
        best = thumbnail;
        if (side >= value) break;
    }
    return best;
}

}  // namespace

QImage QVSmartWindowItem::fileIcon() const {
    return url().hasScheme() ? fileIconWithSize(kListIconSize) : QImage();
}

QImage QVSmartWindowItem::fileIconWithSize(QSize iconSize) const {
    const QVFilesUtilities& files = QVFilesUtilities::sharedControl();
    const FileUrl item = url();
    if (item.path().empty() || !item.hasScheme()) return files.placeholderImageWithSize(iconSize);
    const QImage icon = files.iconOfItemWithURL(item, iconSize);
    return isInvisible() ? files.ghostIconWithIcon(icon, iconSize) : icon;
}

QImage QVSmartWindowItem::iconImageWithValue(int value) const {
    const int side = std::min(value, kLargestIcon);
    return fileIconWithSize(QSize(side, side));
}

QImage QVSmartWindowItem::thumbnailWithValue(int value) const {
    const FileUrl item = url();
    const QImage thumbnail = item.hasScheme() ? cachedThumbnail(item, value) : QImage();
    if (thumbnail.isNull()) return iconImageWithValue(value);
    if (std::max(thumbnail.width(), thumbnail.height()) <= value) return thumbnail;
    return thumbnail.scaled(value, value, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

}  // namespace kestrin
