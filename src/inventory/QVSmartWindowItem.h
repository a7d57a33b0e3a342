// SPDX-License-Identifier: GPL-3.0-or-later
// One entry at the top of a trash, as lists show it. Lists draw and sort by the stored values. The
// derived ones are asked of the file system at every call, so that they are never out of date, and
// may hang with it.
#pragma once

#include <QString>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/FileUrl.h"
#include "platform/items/ItemIdentity.h"

class QImage;
class QSize;

namespace kestrin {

class QVSmartWindowItem;
/// Gives a picture of an item that fills a square of `side` pixels, a null one where there is none.
/// Called on workers; it may wait.
using ThumbnailDecoder = std::function<QImage(const QVSmartWindowItem& item, int side)>;

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

/// One of possibly a million: it holds no picture and no path. The constant values are written by
/// whoever lists the trash, before anyone else sees the item; from then on any thread may read
/// them. Thread: any.
class QVSmartWindowItem {
 public:
    QVSmartWindowItem() = default;
    QVSmartWindowItem(const QVSmartWindowItem&) = delete;
    QVSmartWindowItem& operator=(const QVSmartWindowItem&) = delete;
    static std::shared_ptr<QVSmartWindowItem> item();

    // --- Stored, and constant once the item is listed ---

    /// The folder that holds the entries of its trash. All of them share it.
    std::shared_ptr<const FileUrl> trash;
    std::string name;         ///< on disk as exact bytes, which is not the display name
    ItemIdentity identity{};  ///< as listed: another item that has taken the name is not this one
    double dateAdded = 0;     ///< to the trash, seconds since 1 January 2001 UTC; 0 when unknown
    std::uint32_t mode = 0;   ///< its type bits (stat(2)); 0 when they are not known
    bool isHidden = false;    ///< lists show it dimmed
    std::string nameKey;      ///< of the name, by nameSortKey
    /// The folder that it was trashed from, exact bytes, shared among the entries from there;
    /// nullptr when unknown.
    std::shared_ptr<const std::string> originalFolder;

    // --- Stored, and changed while lists show it ---

    std::atomic<std::uint64_t> size = 0;         ///< bytes; of a folder 0 until it was gathered
    std::atomic<std::uint64_t> actualCount = 0;  ///< file-system entries that it stands for
    /// Whether the two figures above are final. For a folder that is when its size was gathered, or
    /// the folder turned out to be unreadable; anything else is measured when it is listed. Set
    /// after the figures, so that whoever sees it true sees them.
    std::atomic<bool> isMeasured = false;
    std::atomic<bool> isMarked = false;  ///< checked for erasing
    /// The number of its label, or 0 for none. It is read once somebody looks at the item: asking
    /// for it while a trash is listed would make that longer by half.
    std::atomic<std::int8_t> label = kUnknownLabel;
    static constexpr std::int8_t kUnknownLabel = -1;

    bool isFolder() const;  ///< false for a symbolic link, wherever that points
    bool isLink() const;

    /// The location, made at the call; none without a trash.
    FileUrl url() const { return trash ? trash->appending(name) : FileUrl(); }
    std::string path() const { return url().path(); }

    // --- Derived ---

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

    // --- Icons and thumbnails (QVSmartWindowItem_images.cpp) ---
    // Each is made at the call. Sizes are in points. No icon asks for the content of the item.

    /// 32 by 32, ghosted when the item is invisible; a null image for a location without a scheme.
    QImage fileIcon() const;
    /// The same icon at any size. An empty path or a location without a scheme gives the
    /// placeholder.
    QImage fileIconWithSize(QSize size) const;
    /// A square icon of `value` by `value`, 512 at most.
    QImage iconImageWithValue(int value) const;
    /// What `decode` makes of the item, scaled down to fit into `value` by `value`. Without that,
    /// iconImageWithValue. Decodes nothing itself, since anybody may have made the file.
    QImage thumbnailWithValue(int value, const ThumbnailDecoder& decode) const;
};

using ItemList = std::vector<std::shared_ptr<QVSmartWindowItem>>;
/// Entries in an order that does not change any more.
using SharedItemList = std::shared_ptr<const ItemList>;

}  // namespace kestrin
