// SPDX-License-Identifier: GPL-3.0-or-later
// The program's questions about files, folders, volumes and trashes. One class, one source file a
// subject: attributes, kinds, lists, bookmarks, paths, images, applications and declared types
// here; volumes, trash locations and folder sizes in inventory/. Every query answers false, none, 0
// or an empty text when the file system refuses; none reports to the user. Thread: any, but for
// trashesAndVolumesLocations.
#pragma once

#include <QImage>
#include <QSize>
#include <QStringList>
#include <QVariant>
#include <any>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "platform/items/FinderInformation.h"
#include "platform/items/TypeIdentifiers.h"

class QMimeData;

namespace kestrin {

/// What directoryInfo tells of a folder or volume.
struct VolumeRecord {
    FileUrl url;       ///< after an alias was followed
    QString name;      ///< display name
    std::string path;  ///< of the location as given
    bool isDisk = false;
    // Volumes only:
    std::optional<bool> isLocked;  ///< read-only
    std::optional<std::uint64_t> totSize;
    std::optional<std::uint64_t> freeSize;
    // Other folders only:
    std::optional<bool> isPhotosLib;
};

/// One trash of the user.
struct TrashLocation {
    FileUrl trashURL;  ///< the folder that holds the entries
    FileUrl volumeURL;
    QString volumeName;
    std::string volumePath;  ///< the key by which volumes are matched across refreshes
    bool trashIsEmpty = true;
    std::uint64_t mountId = 0;  ///< of the volume, as mountIdAt; 0: not known
};

/// What became of an item that was to be opened.
enum class LaunchResult : std::uint8_t {
    Opened,      ///< the desktop's opener took it
    Refused,     ///< a program, an executable script, a launcher, or neither file nor folder
    Unreadable,  ///< no absolute path, absent, or not to be read
    NoOpener,    ///< the desktop has none, or it could not be started
    Silent,      ///< the disk does not answer
};
using LaunchAnswer = std::function<void(const std::vector<LaunchResult>&)>;

/// Sums of a folder's items: total file sizes (data and resource fork) and file sizes (data fork).
/// The same on a host without resource forks.
struct SizePair {
    std::uint64_t totalFileSize = 0;
    std::uint64_t fileSize = 0;
    friend bool operator==(const SizePair&, const SizePair&) = default;
};

struct ItemPermissions {
    std::uint32_t userId = 0;
    std::uint32_t groupId = 0;
    std::uint16_t mode = 0;
};

/// Resource keys of attributeWithURL.
enum class ResourceKey {
    Name,                      ///< std::string
    Path,                      ///< std::string
    IsDirectory,               ///< bool
    IsPackage,                 ///< bool
    IsAliasFile,               ///< bool
    IsApplication,             ///< bool
    IsHidden,                  ///< bool
    IsVolume,                  ///< bool
    VolumeIsReadOnly,          ///< bool
    VolumeTotalCapacity,       ///< std::uint64_t
    VolumeAvailableCapacity,   ///< std::uint64_t
    VolumeResourceCount,       ///< std::uint64_t
    VolumeIdentifier,          ///< std::string
    VolumeUUIDString,          ///< std::string
    VolumeURL,                 ///< FileUrl
    FileSize,                  ///< std::uint64_t
    TotalFileSize,             ///< std::uint64_t
    CreationDate,              ///< double, seconds since 1 January 2001 UTC
    ContentModificationDate,   ///< double, the same
    AddedToDirectoryDate,      ///< double, the same; for entries of a trash
    LocalizedTypeDescription,  ///< std::string, UTF-8
    TypeIdentifier,            ///< std::string, a MIME type name
    LabelNumber,               ///< std::int16_t, 1 to 7, or 0 for no label
};

/// Asked by the stoppable size iterator before and after every entry; may change at any time.
class SizeIterationDelegate {
 public:
    virtual ~SizeIterationDelegate() = default;
    /// none: the delegate does not decide, gatheringSizeIsWorking does.
    virtual std::optional<bool> wasStopped() const = 0;
};

class QVFilesUtilities;
/// An operation that gives the flat text of a table of file kinds, and one that gives its list.
using FlatTableOperation = std::string (QVFilesUtilities::*)() const;
using ListTableOperation = std::vector<std::string> (QVFilesUtilities::*)() const;

/// What all installed applications declare; each value is followed by a comma.
struct DeclaredTypes {
    std::string extensionsString;
    std::string typesString;  ///< type codes
};

/// The tags of one kind of document, each once.
struct KindTags {
    std::vector<std::string> types;  ///< type codes
    std::vector<std::string> extensions;
};

class QVFilesUtilities {
 public:
    static constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);

    QVFilesUtilities() = default;
    QVFilesUtilities(const QVFilesUtilities&) = delete;
    QVFilesUtilities& operator=(const QVFilesUtilities&) = delete;
    static QVFilesUtilities& sharedControl();

    // --- Attributes of one item (QVFilesUtilities_attributes.cpp) ---

    /// The value of a resource key, of the type that stands beside the key. An empty any when the
    /// item has no such value.
    std::any attributeWithURL(const FileUrl& url, ResourceKey ofType) const;
    // Links are not followed. The answers are false for a location without a scheme.
    bool isDirectoryWithURL(const FileUrl& url) const;
    bool isPackageWithURL(const FileUrl& url) const;
    bool isAliasWithURL(const FileUrl& url) const;
    /// A desktop entry or an application bundle.
    bool isApplicationWithURL(const FileUrl& url) const;
    /// True when the name begins with a full stop, or stands in the folder's `.hidden` list.
    bool isHiddenWithURL(const FileUrl& url) const;
    /// The exact bytes of the name. None when the item cannot be read.
    std::optional<std::string> itemNameWithURL(const FileUrl& url) const;
    /// The name as text, with replacement characters; of a volume its label. The item need not
    /// exist.
    QString itemDisplayNameWithURL(const FileUrl& url) const;
    /// The folder that holds the item. None for "/" and for an item that is not there.
    std::optional<FileUrl> parentDirectoryWithURL(const FileUrl& url) const;
    /// The path when the item exists. Errors: POSIX domain, errno, user info "errorString".
    Result<std::string> pathWithURL(const FileUrl& url) const;
    /// Follows links: a dangling one does not exist.
    bool itemAtPathExists(const std::string& path) const;
    /// 0 and the permissions; the failure result of the status call (-1); 1 when there is no path.
    int itemPermission(const FileUrl& url, ItemPermissions& permissions) const;
    /// False when writing to the item is denied and its mode cannot be changed; true in every other
    /// case, also for an absent or empty path. Opens nothing and changes nothing.
    bool hasPrivileges(const std::string& path) const;
    /// True when the package is treated like a folder where other packages are not.
    bool isASupportedPackage(const FileUrl& url) const;
    /// The number of the item's label; 0 when it has none or cannot be read.
    std::int16_t finderTagWithURL(const FileUrl& url) const;
    std::int16_t systemLabelNumberWithURL(const FileUrl& url) const;  ///< the same
    /// Whether the item has the immutable attribute.
    bool isLockedWithURL(const FileUrl& url) const;
    /// True when the attribute was cleared or not set; an ordinary user may not clear it.
    bool unlockWithURL(const FileUrl& url) const;

    // --- Kinds of files (QVFilesUtilities_kinds.cpp) ---
    // By a type code (0: unknown) and an extension without the full stop (empty: absent). Either
    // makes a file one of the kind, and both are compared exactly, in upper and lower case.

    /// Of the extensions, neither "PSD" nor "ARW" is one of an image, but "SD" and "AR" are.
    bool isImage(OSType typeCode, std::string_view extension) const;
    bool isAACFile(OSType typeCode, std::string_view extension) const;
    bool isMP3File(OSType typeCode, std::string_view extension) const;
    bool isSound(OSType typeCode, std::string_view extension) const;
    /// An extension that is a single blank counts.
    bool isCompressed(OSType typeCode, std::string_view extension) const;
    bool isFont(OSType typeCode, std::string_view extension) const;

    /// True when the location has an extension and the list has exactly that one.
    bool isFileURL(const FileUrl& url, const std::vector<std::string>& inExtensions) const;
    /// The files with one of the extensions among the locations and directly in the folders among
    /// them, in the order of the locations, those of a folder by their bytes. Hidden files of a
    /// folder are left out; packages are neither taken nor looked into, and only regular files
    /// count. Nothing is taken out that is named twice. `foldersFound` (none: not wanted) gets
    /// each folder that holds one of them, once.
    std::vector<FileUrl> actualUrlsArray(const std::vector<FileUrl>& locations,
                                         const std::vector<std::string>& withExtension,
                                         std::vector<FileUrl>* foldersFound = nullptr) const;
    /// The same for absolute paths.
    std::vector<FileUrl> actualUrlsArray(const std::vector<std::string>& paths,
                                         const std::vector<std::string>& withExtension,
                                         std::vector<FileUrl>* foldersFound = nullptr) const;
    /// The list, and behind it the members of the table that it lacks, in the table's order.
    std::vector<std::string> extensionsMissingInArray(std::vector<std::string> array,
                                                      FlatTableOperation withSelector) const;
    std::vector<std::string> extensionsMissingInArray(std::vector<std::string> array,
                                                      ListTableOperation withSelector) const;
    /// The text in Unicode's compatibility decomposition (NFKD). Bytes that are not UTF-8 stay as
    /// they are.
    std::string normalizeString(std::string_view text) const;
    /// What the file's Finder information begins with, all zero when it has none. `error` is 0, or
    /// 1 when that cannot be read; then all is zero, too. Links are not followed.
    FinderInformation finderFileInfoWithPath(const std::string& path, int& error) const;
    /// The file's type code; 0 when it has none or cannot be read.
    OSType OSTypeWithURL(const FileUrl& url) const;

    // --- Tables of file kinds (QVFilesUtilities_tables.cpp) ---
    // The members stand in FileKindTables.h. A name that begins with "array" gives texts to show,
    // of three or four members each, joined by commas (of two when the table has no more). Other
    // texts are flat: all members joined by commas, type codes in single quotes unless it says
    // otherwise. Lists have one member an entry.

    std::string imagesTypes() const;
    std::vector<std::string> imagesOSTypesArray() const;
    std::vector<std::string> arrayImagesTypes() const;
    std::string imagesExtensions() const;
    std::vector<std::string> arrayImagesExtensions() const;
    std::string imagesForContentCheckTypes() const;
    std::vector<std::string> arrayImagesForContentCheckTypes() const;  ///< a list
    std::vector<std::string> imagesContentCheckExtensions() const;
    std::string musicExtensions() const;
    std::vector<std::string> arrayMusicExtensions() const;
    std::string musicOSTypes() const;  ///< without quotes
    std::vector<std::string> musicOSTypesArray() const;
    std::vector<std::string> musicForTagCheckExtensions() const;
    std::vector<std::string> musicForTagCheckTypes() const;
    std::string moviesExtensions() const;
    std::vector<std::string> moviesContentCheckExtensions() const;
    std::vector<std::string> arrayMoviesOSTypes() const;
    std::vector<std::string> moviesOSTypesArray() const;
    std::string archiveExtensions() const;
    std::vector<std::string> archiveOSTYpesArray() const;
    std::string documentExtensions() const;
    std::vector<std::string> documentOSTypesArray() const;
    std::vector<std::string> textExtensions() const;
    std::vector<std::string> arrayTextExtensions() const;
    std::vector<std::string> arrayTextOSTypes() const;
    std::string PDFExtensions() const;
    std::vector<std::string> arrayPDFOSTypes() const;

    // --- Lists and filters (QVFilesUtilities_lists.cpp) ---

    /// Names of folders at the root of a system volume that are never offered for erasing.
    static const std::vector<std::string>& invisibleSystemItems();
    static const std::vector<std::string>& visibleSystemItems();
    static const std::vector<std::string>& visibleSystemPaths();
    /// "/NAME" for each name.
    std::vector<FileUrl> urlsWithFoldersName(const std::vector<std::string>& names) const;
    std::vector<FileUrl> invisibleSystemURLs() const;
    std::vector<FileUrl> visibleSystemURLs() const;
    /// Those of the locations that may be offered, in their order: folders that are no volumes, and
    /// photo libraries. Photo catalogues and folders with the names of the system's are left out.
    std::vector<FileUrl> suitableURLsWithArray(const std::vector<FileUrl>& locations) const;
    /// The same, except that aliases are followed once, and that folders with the names of the
    /// system's stay.
    std::vector<FileUrl> foldersWithItemsArray(const std::vector<FileUrl>& locations) const;
    /// The index of the first entry that equals the text; kNotFound when there is none.
    std::size_t indexOfStringInArray(const std::vector<std::string>& array,
                                     std::string_view matchingString) const;
    /// File locations are replaced by their paths (std::string) where pathWithURL gives one;
    /// anything else stays as it is.
    std::vector<std::any> URLsToPaths(const std::vector<std::any>& list) const;
    std::any URLsToPaths(const std::any& value) const;
    /// The locations of "text/uri-list", in order: a FileUrl, byte for byte, for one of a file, a
    /// QUrl for any other, such as a web page. What is no location is left out.
    std::vector<std::any> pasteboardItemsWithPasteboard(const QMimeData& pasteboard) const;
    /// Aliases are replaced by their destinations, read once.
    std::vector<std::string> followTheAliasOfPathsIfNeeded(
        const std::vector<std::string>& paths) const;

    // --- Aliases and bookmarks (QVFilesUtilities_bookmarks.cpp) ---

    /// Bookmark data: a small property list (XML) with path, inode and creation time of the item,
    /// its volume (by the UUID of the file system where that has one), and the requested values
    /// that it has. None on error.
    std::optional<std::string> bookmarkWithURL(
        const FileUrl& url, const std::vector<ResourceKey>& includePathValueKey = {}) const;
    /// The item by its path; when another item or none is there, by what it is among the entries of
    /// its last known folder and the folders above (10,000 entries at most); else by its path
    /// alone. None when nothing is found and for data that is no bookmark. Nothing is mounted.
    std::optional<FileUrl> urlWithDataAlias(const std::string& bookmark) const;
    /// `updateIfNeeded`: true when the data was stale (the item moved or was replaced) and fresh
    /// data could be made, false when it was not stale; left alone when nothing is found.
    std::optional<FileUrl> urlWithDataAlias(const std::string& bookmark,
                                            bool& updateIfNeeded) const;
    /// The locations of the entries that resolve, in their order. `updated` is the answer for the
    /// last entry. The list keeps its data.
    std::vector<FileUrl> urlsWithAliases(std::vector<std::string>& bookmarks, bool& updated) const;
    /// The location as a fresh bookmark of it resolves, or itself when none can be made.
    FileUrl secureScopedForURL(const FileUrl& url) const;

    // --- Paths (QVFilesUtilities_paths.cpp) ---

    /// The path in the form that begins with "/Volumes/" and the volume's name. A path that
    /// contains
    /// "/Volumes" anywhere is taken to have it; any other is put on the start-up volume.
    std::string setAbsolutePath(const std::string& path) const;
    std::vector<std::string> setAbsolutePathToPathArray(
        const std::vector<std::string>& paths) const;
    FileUrl setAbsoluteURL(const FileUrl& url) const;
    /// Only when the container is in the absolute form.
    FileUrl setAbsoluteURL(const FileUrl& url, const FileUrl& ifContainedIn) const;
    /// Removes the last slash wherever it stands: "/a/b" gives "/ab".
    std::string removeLastSlash(const std::string& text) const;
    /// Replaces every "/" by ":"; `foundCount` is how many there were.
    std::string removeSlashesFromFileSystemName(const std::string& name,
                                                std::uint16_t& foundCount) const;
    /// The path from the index (length of `thatMatch` - 1) on when it contains `thatMatch`
    /// anywhere; else unchanged. None means "/Volumes/": "/Volumes/Data/x" gives "/Data/x".
    std::string removeFirstPathComponent(const std::string& path,
                                         const std::optional<std::string>& thatMatch) const;
    FileUrl removeFirstPathComponentWithURL(const FileUrl& url,
                                            const std::optional<std::string>& thatMatch) const;

    // --- Icons and images; sizes in points (QVFilesUtilities_images.cpp) ---
    // Needs no display, but SVG icons are read in a GUI application only. The images keep no
    // representations of other sizes, so there is nothing that could be cached. An empty size gives
    // a null image.

    /// The theme icon that the item names itself (a folder in `.directory`, a desktop entry), else
    /// the theme icon of its kind, else a drawing of the program's own; the placeholder for no
    /// item. Reads the icon theme anew: callers keep icons by kind.
    QImage iconOfItemWithURL(const FileUrl& url, QSize forSize) const;
    /// The same by the item's kind alone: it is asked for nothing but its attributes, since anybody
    /// may have made its content.
    QImage kindIconOfItemWithURL(const FileUrl& url, QSize forSize) const;
    QImage iconForItemPath(const std::string& path) const;
    /// A grey rounded rectangle of at least 20 by 20, clipped to the image.
    QImage placeholderImageWithSize(QSize size) const;
    /// The program's own drawing of a folder or of a document, for what has no theme icon.
    QImage drawnIconWithSize(QSize size, bool isFolder) const;
    /// The icon, scaled to the size, at opacity 0.3.
    QImage ghostIconWithIcon(const QImage& icon, QSize forSize) const;
    /// The main image with the other one, scaled to half its size, in the bottom-right quarter.
    QImage composedImageMainImage(const QImage& mainImage, const QImage& addingImage) const;

    // --- Applications by identifier, a desktop entry's id (QVFilesUtilities_applications.cpp) ---

    std::optional<FileUrl> appURLWithIdentifier(const std::string& identifier) const;
    QImage appIconWithIdentifier(const std::string& identifier) const;
    /// The entry's file name without its extension; empty when there is no such program.
    QString originalAppNameWithIdentifier(const std::string& identifier) const;
    /// The name in the entry, in the user's language; the file name when the entry has none.
    QString appNameWithIdentifier(const std::string& identifier) const;
    bool appWithIdentifierExists(const std::string& identifier) const;
    /// The version that a desktop entry names. Empty when its packager gave none, which is common.
    QString appVersionWithURL(const FileUrl& url) const;
    /// Hands the items to the desktop's opener, one after the other, and tells `done` what became
    /// of each, in order. An item is never run. Returns at once: the disk is asked on a thread that
    /// nobody waits for. When it has not answered within `patience`, nothing is opened, not later
    /// either. Main thread, `done` too; needs a QGuiApplication.
    void launchItems(std::vector<std::string> paths, LaunchAnswer done,
                     std::chrono::milliseconds patience = std::chrono::seconds(10)) const;

    // --- Types that applications declare (QVFilesUtilities_declared.cpp) ---

    /// The text, to which the document types of an application are appended, each followed by a
    /// comma: an application bundle's own, or those of a desktop entry's MIME types. A value is
    /// left out when the text contains it anywhere, in whatever case, and when it tells no
    /// documents apart ("*", "****", "????", "fold", four blanks); a type code also when it has not
    /// four characters. The text stays as it is when nothing is declared or can be read.
    std::string& multiTypesFromURL(const FileUrl& url, TagClass kindOfType,
                                   std::string& indentifiersString) const;
    /// Appends to both texts what the applications in the folder and in its subfolders declare, in
    /// the order of their names. Packages are not entered, nor are links to folders.
    void iterateFolderDocuments(const FileUrl& folder, std::string& types,
                                std::string& extensions) const;
    /// The same of all folders that hold installed applications.
    DeclaredTypes availableExtensionsAnTypes() const;
    /// The members of the two texts, which commas separate, by the system's name of their kind; a
    /// member that the system does not know, as the empty one after a last comma, is of the kind
    /// "no_file_kind". Type codes of folders are left out. Type codes of less than three characters
    /// in all are not looked at, nor is an extension text of one. `orderedResult` gets the names in
    /// the order in which they came first.
    std::map<QString, KindTags> kindNamesWithTypes(const std::string& types,
                                                   const std::string& andExtensions,
                                                   QStringList* orderedResult = nullptr) const;

    // --- Volumes and trash locations (inventory/QVFilesUtilities_volumes.cpp) ---

    /// nullopt: all mounted volumes.
    std::vector<VolumeRecord> volumesLocationArray(
        const std::optional<std::vector<FileUrl>>& volumes = std::nullopt) const;
    std::optional<VolumeRecord> directoryInfoForURL(const FileUrl& url) const;
    std::optional<FileUrl> trashURLForItemURL(const FileUrl& url) const;
    std::optional<FileUrl> startupTrashURL() const;
    /// Waits for the volumes, each for two seconds at most; `TrashListing` is for those who must
    /// not wait. Requires: one thread at a time (it keeps the list of volumes whose trash could not
    /// be had, which are not asked again).
    std::vector<TrashLocation> trashesAndVolumesLocations();
    bool trashAtURLIsEmpty(const FileUrl& trash) const;
    bool isAnEmptyFolder(const FileUrl& folder) const;
    bool itemURLIsInTheTrash(const FileUrl& item) const;
    bool volumeOfPathIsMounted(const std::string& path) const;
    FileUrl volumeURLOfPath(const std::string& path) const;
    bool urlIsStartupDisk(const FileUrl& url) const;
    std::size_t indexOfNewMountedDiskInArray(const std::vector<TrashLocation>& array,
                                             const std::string& matchWith) const;

    bool isVolumeWithURL(const FileUrl& url) const;
    /// True also when that cannot be told.
    bool isVolumeLockedWithURL(const FileUrl& url) const;
    std::uint64_t volumeCapacityWithURL(const FileUrl& url) const;
    std::uint64_t volumeFreeCapacityWithURL(const FileUrl& url) const;
    std::uint64_t volumeItemsCountWithURL(const FileUrl& url) const;
    std::optional<std::string> volumeIDWithItemURL(const FileUrl& url) const;
    std::optional<std::string> volumeUUIDWithItemURL(const FileUrl& url) const;

    // --- Sizes of folders (inventory/QVFilesUtilities_sizes.cpp) ---

    /// Adds to `itemsFound` every entry at any depth. (0, 0) for none, the counter left alone. When
    /// `stop` is requested it returns early with what it has.
    SizePair iterateFolderForSize(const FileUrl& folder, std::uint64_t& itemsFound,
                                  std::stop_token stop = {}) const;
    /// `itemsFound`: folders, then files and packages.
    SizePair iterateFolderForSize(const FileUrl& folder, const SizeIterationDelegate* withDelegate,
                                  std::array<std::uint64_t, 2>& itemsFound, bool incrementCount,
                                  bool searchIsForEmptyFiles, bool searchIsForEmptyFolders) const;
    bool cantBeCalculated(std::string_view itemName) const;

    /// While false, the stoppable size iterator stops at its next item.
    std::atomic<bool> gatheringSizeIsWorking = false;

 private:
    std::vector<FileUrl> m_trashErrors;  ///< volumes whose trash could not be had; only grows
};

/// The display name of the volume mounted at "/", found once.
QString DefaultVolumeName();

/// "/Volumes/" and the start-up volume's name is the same place as "/": the path on this host that
/// a location in that form means; any other path unchanged.
std::string hostPath(const FileUrl& url);

/// Where the symbolic link `alias` points; a relative text is taken from the link's folder. None
/// when it is no link. The destination need not exist.
std::optional<FileUrl> aliasDestination(const FileUrl& alias);

}  // namespace kestrin
