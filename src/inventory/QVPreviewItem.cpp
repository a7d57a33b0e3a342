// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/QVPreviewItem.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <exception>
#include <mutex>
#include <utility>

#include "base/MainThread.h"
#include "base/OperationQueue.h"
#include "base/StringTable.h"
#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/processes/AnswerWithin.h"

namespace kestrin {
namespace {

constexpr std::uint16_t kSizeScale = 4;
constexpr std::string_view kVolumes = "Volumes";
/// With a disk that does not answer. It is more than a decoder may take, which knows its own end.
constexpr auto kPatience = std::chrono::seconds(40);
/// Who scrolls through ten thousand tiles keeps the images of the last ones.
constexpr qsizetype kMostImageBytes = qsizetype{32} << 20;

/// What is to be made on the queue. The newest comes first: it is what somebody looks at. Thread:
/// any.
class ImagesToMake {
 public:
    static ImagesToMake& shared() {
        static auto& images = *new ImagesToMake;
        return images;
    }
    void add(std::function<void()> make) {
        const std::lock_guard lock(m_mutex);
        singlePreviewLoadingOperationQueue().enqueue([this] { takeNewest()(); });
        m_waiting.push_back(std::move(make));
    }

 private:
    std::function<void()> takeNewest() {
        const std::lock_guard lock(m_mutex);
        std::function<void()> newest = std::move(m_waiting.back());
        m_waiting.pop_back();
        return newest;
    }

    std::mutex m_mutex;
    std::vector<std::function<void()>> m_waiting;  ///< as many as there are operations for
};

}  // namespace

ServiceDictionary serviceDictionaryWithURL(const FileUrl& url) {
    const QVFilesUtilities& files = QVFilesUtilities::sharedControl();
    QString name = files.itemDisplayNameWithURL(url);
    if (name.isEmpty()) return {.name_col = StringTable::sharedControl().text("No Item found"_key)};
    return {.name_col = std::move(name),
            .url = url,
            .isInvisible = files.isHiddenWithURL(url),
            .finder_tag = files.finderTagWithURL(url)};
}

std::vector<ServiceDictionary> pathRows(
    FileUrl location, const std::function<ServiceDictionary(const FileUrl&)>& describe) {
    std::vector<ServiceDictionary> rows;
    const auto add = [&] {
        ServiceDictionary row = describe(location);
        if (!row.url.isEmpty()) rows.push_back(std::move(row));
    };
    for (; location.path().size() > 1; location = location.parent()) {
        if (location.lastPathComponent() == kVolumes) break;
        add();
    }
    if (location.path() == "/") add();
    std::ranges::reverse(rows);
    return rows;
}

OperationQueue& singlePreviewLoadingOperationQueue() {
    static auto& queue = *new OperationQueue("preview images", 2);
    return queue;
}

/// The image, and who waits for it.
struct QVPreviewItem::Image {
    QImage image;
    std::vector<std::function<void()>> waiting;
};

QVPreviewItem::QVPreviewItem(const std::shared_ptr<QVSmartWindowItem>& foundItem, int index)
    : m_item(foundItem), m_index(index) {}

QVPreviewItem::~QVPreviewItem() = default;

FileUrl QVPreviewItem::url() const {
    const auto entry = item();
    return entry ? entry->url() : FileUrl();
}

QString QVPreviewItem::name() const {
    const auto entry = item();
    return entry ? displayName(entry->name) : QString();
}

QString QVPreviewItem::size() const {
    const auto entry = item();
    const std::uint64_t bytes = entry ? entry->size.load() : 0;
    if (bytes == 0) return QStringLiteral("--");
    return QVNumberUtilities::sharedControl().sizeToFormatString(bytes, kSizeScale, true);
}

QString QVPreviewItem::kind() const {
    const auto entry = item();
    return entry ? entry->kind() : QString();
}

QString QVPreviewItem::dateModified() const {
    const auto entry = item();
    return entry ? entry->formattedDateModified() : QString();
}

QString QVPreviewItem::dateCreated() const {
    const auto entry = item();
    return entry ? entry->formattedDateCreated() : QString();
}

std::vector<ServiceDictionary> QVPreviewItem::oldStylePath() const {
    return pathRows(url(), serviceDictionaryWithURL);
}

// --- The image ---

const QImage& QVPreviewItem::previewImage() const {
    static const QImage none;
    return m_image ? m_image->image : none;
}

void QVPreviewItem::requestPreviewImageWithValue(double value, const PreviewImageMakers& makers,
                                                 std::function<void()> done) {
    if (m_image) {
        if (m_image->image.isNull()) m_image->waiting.push_back(std::move(done));
        return;
    }
    const auto entry = item();
    if (!entry) return;
    const int side = static_cast<int>(value);
    m_image = std::make_unique<Image>();
    m_image->waiting.push_back(std::move(done));
    const auto post = [self = weak_from_this()](QImage image) {
        MainThread::post([self, image = std::move(image)] {
            if (const auto there = self.lock()) there->takeImage(image);
        });
    };
    if (entry->isLink()) {
        m_image->image = makers.icon(*entry, side);
        return post(m_image->image);
    }
    const auto make = [self = weak_from_this(), entry, side, thumbnail = makers.thumbnail, post] {
        if (self.expired()) return;
        const auto image = answerWithin<QImage>(kPatience, [=] { return thumbnail(*entry, side); });
        post(image.value_or(QImage()));
    };
    try {
        ImagesToMake::shared().add(make);
    } catch (const std::exception&) {  // no thread is to be had: it can be asked for again
        m_image.reset();
    }
}

/// Lets go of the oldest images when there are too many.
void QVPreviewItem::keepImage() {
    static auto& kept = *new std::deque<std::pair<std::weak_ptr<QVPreviewItem>, qsizetype>>;
    static qsizetype bytes = 0;
    kept.emplace_back(weak_from_this(), m_image->image.sizeInBytes());
    bytes += kept.back().second;
    while (bytes > kMostImageBytes && kept.size() > 1) {
        if (const auto oldest = kept.front().first.lock()) oldest->m_image.reset();
        bytes -= kept.front().second;
        kept.pop_front();
    }
}

/// Without an image, whoever wants one asks again.
void QVPreviewItem::takeImage(const QImage& image) {
    m_image->image = image;
    const auto waiting = std::exchange(m_image->waiting, {});
    if (image.isNull()) {
        m_image.reset();
    } else {
        keepImage();
    }
    for (const auto& done : waiting)
        done();
}

int compareObjectIndex(const QVPreviewItem& one, const QVPreviewItem& other) {
    return one.index() == other.index() ? 0 : one.index() < other.index() ? -1 : 1;
}

}  // namespace kestrin
