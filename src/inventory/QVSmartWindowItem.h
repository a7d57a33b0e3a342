// SPDX-License-Identifier: GPL-3.0-or-later
// One entry at the top of a trash, as lists show it. The list keeps the stored values. The derived
// ones are asked of the file system at every call, so that they are never out of date.
#pragma once

#include <QString>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "base/FileUrl.h"

class QImage;
class QSize;

namespace kestrin {

/// What a list column shows and sorts by. Values of one column compare with "<". The order of the
/// types matters: it puts the integer that stands for an unknown date behind every date.
using ColumnValue = std::variant<double, std::int64_t, std::uint64_t, QString>;

/// Keys of the columns that valueForUndefinedKey answers.
namespace ColumnKey {
inline constexpr std::string_view kCheck = "check_col";
inline constexpr std::string_view kName = "name_col";
inline constexpr std::string_view kDateAdded = "date_added_col";
inline constexpr std::string_view kSize = "size_col";
}  // namespace ColumnKey

/// Thread: any for the derived readers and the icon. `size` and `actualCount` may be written while
/// a list reads them. The other stored values belong to the list's thread.
class QVSmartWindowItem {
 public:
    QVSmartWindowItem() = default;
    QVSmartWindowItem(const QVSmartWindowItem&) = delete;
    QVSmartWindowItem& operator=(const QVSmartWindowItem&) = delete;
    static std::shared_ptr<QVSmartWindowItem> item();

    // --- Stored ---

    FileUrl url;           ///< the entry in the trash
    std::string name;      ///< its name on disk as exact bytes, which is not the display name
    double dateAdded = 0;  ///< to the trash, seconds since 1 January 2001 UTC; 0 when unknown
    std::atomic<std::uint64_t> size = 0;         ///< bytes; of a folder 0 until it was gathered
    std::atomic<std::uint64_t> actualCount = 0;  ///< file-system entries that it stands for
    bool isMarked = false;                       ///< checked for erasing

    /// The icon of lists; nullptr until one was set.
    std::shared_ptr<const QImage> icon() const;
    void setIcon(std::shared_ptr<const QImage> icon);

    // --- Derived ---

    const std::string& path() const { return url.path(); }
    bool isDirectory() const;  ///< packages are directories too
    bool isEmptyDirectory() const;
    bool isAlias() const;
    bool isInvisible() const;              ///< false for a location without a scheme
    QString kind() const;                  ///< the type's description in the user's language
    double dateCreated() const;            ///< seconds since 1 January 2001 UTC; 0 when unknown
    double dateModified() const;           ///< the same
    QString formattedDateCreated() const;  ///< a long date without the time
    QString formattedDateModified() const;
    /// `dateAdded`, or the largest 64-bit integer when that is 0: unknown dates sort last.
    ColumnValue cfDateAdded() const;

    /// The value of the column `key`: the mark as 1 or 0, the name (bytes that are not UTF-8 as
    /// replacement characters), the date added, or the size. Any other key gives the text that
    /// sorts last.
    ColumnValue valueForUndefinedKey(std::string_view key) const;
    /// `string` itself unless it is empty. For an empty one the result is a text that sorts after
    /// every ordinary name (eight times U+00FF) when `direction` is true, and empty otherwise.
    static QString valueForString(const QString& string, bool direction);

    // --- Icons and thumbnails, made at the call; sizes in points (QVSmartWindowItem_images.cpp)
    // ---

    /// 32 by 32, ghosted when the item is invisible; a null image for a location without a scheme.
    QImage fileIcon() const;
    /// The same icon at any size. An empty path or a location without a scheme gives the
    /// placeholder.
    QImage fileIconWithSize(QSize size) const;
    /// A square icon of `value` by `value`, 512 at most.
    QImage iconImageWithValue(int value) const;
    /// The picture that the desktop's thumbnail cache keeps of this very entry, scaled down to fit
    /// into `value` by `value`. Without one, iconImageWithValue. Opens nothing in the trash.
    /// Source: FreeDesktop.org Thumbnail Managing Standard 0.9.
    QImage thumbnailWithValue(int value) const;

 private:
    std::shared_ptr<const QImage> m_icon;  ///< guarded by one mutex that all items share
};

}  // namespace kestrin
