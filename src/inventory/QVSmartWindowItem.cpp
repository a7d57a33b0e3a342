// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/QVSmartWindowItem.h"

#include <sys/stat.h>

#include <limits>

#include "format/QVDateUtilities.h"
#include "fsutil/QVFilesUtilities.h"

namespace kestrin {

namespace {

constexpr char16_t kLastCharacter = 0x00FF;
constexpr int kSortLastLength = 8;

const QVFilesUtilities& files() {
    return QVFilesUtilities::sharedControl();
}

double dateOf(const FileUrl& url, ResourceKey key) {
    const std::any date = files().attributeWithURL(url, key);
    const auto* seconds = std::any_cast<double>(&date);
    return seconds ? *seconds : QVDateUtilities::wrongDate;
}

QString formattedDate(double seconds) {
    return QVDateUtilities::sharedControl().stringWithSeconds(seconds, DateStyle::Long, true,
                                                              false);
}

}  // namespace

std::shared_ptr<QVSmartWindowItem> QVSmartWindowItem::item() {
    return std::make_shared<QVSmartWindowItem>();
}

bool QVSmartWindowItem::isFolder() const {
    return S_ISDIR(mode);
}

bool QVSmartWindowItem::isLink() const {
    return S_ISLNK(mode);
}

bool QVSmartWindowItem::isDirectory() const {
    return files().isDirectoryWithURL(url());
}

bool QVSmartWindowItem::isEmptyDirectory() const {
    return files().isAnEmptyFolder(url());
}

bool QVSmartWindowItem::isAlias() const {
    return files().isAliasWithURL(url());
}

bool QVSmartWindowItem::isInvisible() const {
    const FileUrl item = url();
    return item.hasScheme() && files().isHiddenWithURL(item);
}

QString QVSmartWindowItem::kind() const {
    const std::any text = files().attributeWithURL(url(), ResourceKey::LocalizedTypeDescription);
    const auto* description = std::any_cast<std::string>(&text);
    return description ? QString::fromStdString(*description) : QString();
}

double QVSmartWindowItem::dateCreated() const {
    return dateOf(url(), ResourceKey::CreationDate);
}

double QVSmartWindowItem::dateModified() const {
    return dateOf(url(), ResourceKey::ContentModificationDate);
}

QString QVSmartWindowItem::formattedDateCreated() const {
    return formattedDate(dateCreated());
}

QString QVSmartWindowItem::formattedDateModified() const {
    return formattedDate(dateModified());
}

ColumnValue QVSmartWindowItem::cfDateAdded() const {
    if (dateAdded == 0) return std::numeric_limits<std::int64_t>::max();
    return dateAdded;
}

ColumnValue QVSmartWindowItem::valueForUndefinedKey(std::string_view key) const {
    if (key == ColumnKey::kCheck) return std::int64_t{isMarked ? 1 : 0};
    if (key == ColumnKey::kName) return QString::fromStdString(name);
    if (key == ColumnKey::kDateAdded) return cfDateAdded();
    if (key == ColumnKey::kSize) return size.load();
    return valueForString(QString(), true);
}

QString QVSmartWindowItem::valueForString(const QString& string, bool direction) {
    if (!string.isEmpty() || !direction) return string;
    return QString(kSortLastLength, QChar(kLastCharacter));
}

}  // namespace kestrin
