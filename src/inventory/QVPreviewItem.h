// SPDX-License-Identifier: GPL-3.0-or-later
// One selected entry, as previews show it. It stands below the window, since the sources remember
// their selections as such. Main thread, except where a function says otherwise.
#pragma once

#include <QImage>
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "base/FileUrl.h"
#include "inventory/QVSmartWindowItem.h"

namespace kestrin {

class OperationQueue;

/// A location as lists of paths show it.
struct ServiceDictionary {
    QString name_col;  ///< the display name, not made fit to be read
    FileUrl url;
    bool isInvisible = false;
    std::int16_t finder_tag = 0;  ///< its label's number
};

/// Describes any location for display. One without a display name gives a text that says so, and
/// no location. It asks the disk. Thread: any.
ServiceDictionary serviceDictionaryWithURL(const FileUrl& url);

/// What `describe` gives for the location and for each folder above it, outermost first. It begins
/// with "/", or below the innermost folder that is called "Volumes". A description without a
/// location is left out. Thread: any.
std::vector<ServiceDictionary> pathRows(
    FileUrl location, const std::function<ServiceDictionary(const FileUrl&)>& describe);

/// The queue that makes preview images. It is never destroyed. Thread: any.
OperationQueue& singlePreviewLoadingOperationQueue();

/// How the image of an entry, `value` points wide and high at most, is made.
struct PreviewImageMakers {
    std::function<QImage(const QVSmartWindowItem&, int value)> icon;  ///< main thread, no disk
    /// On the queue above; it may wait for a disk and must own what it uses.
    std::function<QImage(const QVSmartWindowItem&, int value)> thumbnail;
};

/// One of possibly a hundred thousand: everything but the image is asked of the entry when it is
/// wanted. An entry that has gone answers with empty values.
class QVPreviewItem : public std::enable_shared_from_this<QVPreviewItem> {
 public:
    explicit QVPreviewItem(const std::shared_ptr<QVSmartWindowItem>& foundItem, int index = 0);
    ~QVPreviewItem();
    QVPreviewItem(const QVPreviewItem&) = delete;
    QVPreviewItem& operator=(const QVPreviewItem&) = delete;

    /// The entry; nullptr once nobody keeps it any more. Thread: any.
    std::shared_ptr<QVSmartWindowItem> item() const { return m_item.lock(); }
    /// Whether the entry is that one. It costs less than item().
    bool shows(const std::shared_ptr<QVSmartWindowItem>& entry) const {
        return !m_item.owner_before(entry) && !entry.owner_before(m_item);
    }
    bool showsSameAs(const QVPreviewItem& other) const {
        return !m_item.owner_before(other.m_item) && !other.m_item.owner_before(m_item);
    }
    /// The row of the entry when it was selected.
    int index() const { return m_index; }
    void setIndex(int index) { m_index = index; }

    bool dontUpdate = false;  ///< the cell that shows it keeps its layout

    // --- From memory ---

    FileUrl url() const;
    FileUrl previewItemURL() const { return url(); }
    QString name() const;  ///< fit to be read
    QString previewItemTitle() const { return name(); }
    /// The size as a text; "--" for 0.
    QString size() const;

    // No metadata of pictures and sounds is read, so these have no value. What a decoder tells of
    // a file is part of its preview instead.
    bool isImage() const { return false; }
    bool isSong() const { return false; }
    double width() const { return 0; }
    double height() const { return 0; }
    QString dateTaken() const { return QStringLiteral(""); }
    QString dimension() const { return QStringLiteral(""); }
    QString camera() const { return QStringLiteral(""); }
    QString latitude() const { return QStringLiteral(""); }
    QString longitude() const { return QStringLiteral(""); }
    QString songName() const { return QStringLiteral(""); }
    QString artist() const { return QStringLiteral(""); }
    QString album() const { return QStringLiteral(""); }
    QString time() const { return QStringLiteral(""); }
    QString bitRate() const { return QStringLiteral(""); }

    // --- Asked of the disk at every call, which may hang with it. Thread: any ---

    QString kind() const;
    QString dateModified() const;
    QString dateCreated() const;
    std::vector<ServiceDictionary> oldStylePath() const;  ///< the pathRows of its location

    // --- The image ---

    /// A null image until it was made, and when so many others were made since that it was let go.
    const QImage& previewImage() const;
    /// Has the image made, unless there is one: that of a link at once by `makers.icon`, any other
    /// by `makers.thumbnail`, the newest request first. `done` is called later, as soon as the
    /// image is there, or stays null because none came; never when it was there already, or when
    /// this goes before. Several may ask; the first one's makers count.
    void requestPreviewImageWithValue(double value, const PreviewImageMakers& makers,
                                      std::function<void()> done);

 private:
    struct Image;
    void takeImage(const QImage& image);
    void keepImage();

    const std::weak_ptr<QVSmartWindowItem> m_item;
    std::unique_ptr<Image> m_image;  ///< nullptr until one is asked for
    int m_index;
};

/// -1, 0 or 1: the order of two items by their index.
int compareObjectIndex(const QVPreviewItem& one, const QVPreviewItem& other);

using PreviewItemList = std::vector<std::shared_ptr<QVPreviewItem>>;

}  // namespace kestrin
