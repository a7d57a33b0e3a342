// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/QVPreviewItem.h"

#include <algorithm>
#include <chrono>
#include <exception>
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
constexpr auto kPatience = std::chrono::seconds(2);  // with a disk that does not answer

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
    if (entry->isLink) {
        m_image->image = makers.icon(*entry, side);
        return post(m_image->image);
    }
    const auto make = [self = weak_from_this(), entry, side, thumbnail = makers.thumbnail, post] {
        if (self.expired()) return;
        const auto image = answerWithin<QImage>(kPatience, [=] { return thumbnail(*entry, side); });
        post(image.value_or(QImage()));
    };
    try {
        singlePreviewLoadingOperationQueue().enqueue(make);
    } catch (const std::exception&) {  // no thread is to be had: it can be asked for again
        m_image.reset();
    }
}

/// Without an image, whoever wants one asks again.
void QVPreviewItem::takeImage(const QImage& image) {
    m_image->image = image;
    const auto waiting = std::exchange(m_image->waiting, {});
    if (image.isNull()) m_image.reset();
    for (const auto& done : waiting)
        done();
}

int compareObjectIndex(const QVPreviewItem& one, const QVPreviewItem& other) {
    return one.index() == other.index() ? 0 : one.index() < other.index() ? -1 : 1;
}

}  // namespace kestrin
