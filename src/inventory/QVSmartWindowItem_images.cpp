// SPDX-License-Identifier: GPL-3.0-or-later
#include <QImage>
#include <QSize>
#include <algorithm>

#include "fsutil/QVFilesUtilities.h"
#include "inventory/QVSmartWindowItem.h"

namespace kestrin {

namespace {

constexpr QSize kListIconSize(32, 32);
constexpr int kLargestIcon = 512;

}  // namespace

QImage QVSmartWindowItem::fileIcon() const {
    return url().hasScheme() ? fileIconWithSize(kListIconSize) : QImage();
}

QImage QVSmartWindowItem::fileIconWithSize(QSize iconSize) const {
    const QVFilesUtilities& files = QVFilesUtilities::sharedControl();
    const FileUrl item = url();
    if (item.path().empty() || !item.hasScheme()) return files.placeholderImageWithSize(iconSize);
    const QImage icon = files.kindIconOfItemWithURL(item, iconSize);
    return isInvisible() ? files.ghostIconWithIcon(icon, iconSize) : icon;
}

QImage QVSmartWindowItem::iconImageWithValue(int value) const {
    const int side = std::min(value, kLargestIcon);
    return fileIconWithSize(QSize(side, side));
}

QImage QVSmartWindowItem::thumbnailWithValue(int value, const ThumbnailDecoder& decode) const {
    const QImage thumbnail = decode(*this, value);
    if (thumbnail.isNull()) return iconImageWithValue(value);
    if (std::max(thumbnail.width(), thumbnail.height()) <= value) return thumbnail;
    return thumbnail.scaled(value, value, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

}  // namespace kestrin
