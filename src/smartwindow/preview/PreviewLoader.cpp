// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/PreviewLoader.h"

#include <sys/stat.h>

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <optional>
#include <utility>

#include "base/MainThread.h"
#include "inventory/QVSmartWindowItem.h"
#include "platform/items/ItemKinds.h"

namespace kestrin {
namespace {

constexpr std::size_t kKnownBytes = std::size_t{32} << 20;
/// All that a thumbnail may take: several files, one after the other.
constexpr std::chrono::seconds kThumbnailPatience(30);

/// Lives as long as somebody wants the answer.
struct Ticket {
    Ticket(PreviewAnswer itsAnswer, std::function<void()> wakeWork)
        : answer(std::move(itsAnswer)), wake(std::move(wakeWork)) {}
    Ticket(const Ticket&) = delete;
    Ticket& operator=(const Ticket&) = delete;
    ~Ticket() { wake(); }

    const PreviewAnswer answer;
    const std::function<void()> wake;
};

std::size_t bytesOf(const Preview& preview) {
    std::size_t bytes = sizeof preview + preview.text.size();
    for (const QImage& frame : preview.frames)
        bytes += static_cast<std::size_t>(frame.sizeInBytes());
    for (const PreviewEntry& entry : preview.entries)
        bytes += sizeof entry + entry.name.size();
    return bytes;
}

WantedPreview wantedPreview(const QVSmartWindowItem& item, QSize pixels, DecodePurpose purpose,
                            std::uint32_t page) {
    const auto side = [](int length) {
        return static_cast<std::uint32_t>(std::clamp(length, 1, int(kLargestPreviewSide)));
    };
    constexpr std::size_t kLongestType = 127;
    std::string type = typeOfItem(item.name, item.mode);
    if (type.size() > kLongestType) type.clear();
    return {.item = {item.url(), item.identity, item.isFolder()},
            .volume = item.trash ? item.trash->path() : std::string(),
            .request = {.purpose = purpose,
                        .width = side(pixels.width()),
                        .height = side(pixels.height()),
                        .page = page,
                        .type = std::move(type)}};
}

}  // namespace

/// The last answers, bounded in bytes. Main thread.
class KnownPreviews {
 public:
    void remember(const WantedPreview& wanted, const std::shared_ptr<const Preview>& preview) {
        std::erase_if(m_previews, [&](const Known& known) { return known.isOf(wanted); });
        const std::size_t bytes = bytesOf(*preview);
        if (preview->kind == PreviewKind::None || bytes > kKnownBytes / 2) return;
        m_previews.push_back({wanted.item, wanted.request, preview, bytes});
        std::size_t total = 0;
        const auto excess =
            std::find_if(m_previews.rbegin(), m_previews.rend(),
                         [&](const Known& known) { return (total += known.bytes) > kKnownBytes; });
        m_previews.erase(m_previews.begin(), excess.base());
    }

    void forget() { m_previews.clear(); }

    std::shared_ptr<const Preview> find(const WantedPreview& wanted) const {
        const auto known = std::ranges::find_if(
            m_previews, [&](const Known& candidate) { return candidate.isOf(wanted); });
        return known == m_previews.end() ? nullptr : known->preview;
    }

 private:
    struct Known {
        PreviewedItem item;
        DecodeRequest request;
        std::shared_ptr<const Preview> preview;
        std::size_t bytes = 0;

        bool isOf(const WantedPreview& wanted) const {
            return item.url == wanted.item.url && item.identity == wanted.item.identity &&
                   request.page == wanted.request.page && request.purpose == wanted.request.purpose;
        }
    };
    std::list<Known> m_previews;  ///< the newest last
};

PreviewLoader::PreviewLoader(DecoderProgram program, const PreviewLimits& limits)
    : m_known(std::make_shared<KnownPreviews>()), m_work(std::move(program), limits) {}

PreviewLoader::~PreviewLoader() = default;

void PreviewLoader::setWindowIsOpen(bool isOpen) {
    m_work.setActive(isOpen);
    if (!isOpen) m_known->forget();
}

PreviewTicket PreviewLoader::request(PreviewRequest request, PreviewAnswer answer) {
    WantedPreview wanted =
        wantedPreview(*request.item, request.pixels, request.purpose, request.page);
    const auto ticket = std::make_shared<Ticket>(std::move(answer), m_work.waker());
    wanted.ticket = ticket;
    wanted.deliver = [weak = std::weak_ptr(ticket), known = std::weak_ptr(m_known),
                      of = WantedPreview{wanted.item, {}, wanted.request, {}, {}}](
                         std::shared_ptr<const Preview> preview) {
        MainThread::post([weak, known, of, preview = std::move(preview)] {
            if (const auto previews = known.lock()) previews->remember(of, preview);
            // Withdrawn requests are never answered, and the answer lives as long as its call.
            if (const auto asked = weak.lock()) asked->answer(preview);
        });
    };
    m_work.add(std::move(wanted));
    return ticket;
}

std::shared_ptr<const Preview> PreviewLoader::known(const PreviewRequest& request) const {
    return m_known->find(
        wantedPreview(*request.item, request.pixels, request.purpose, request.page));
}

QImage PreviewLoader::thumbnail(const QVSmartWindowItem& item, int side) {
    // Belongs to both threads; the answer is touched under the lock.
    struct Exchange {
        std::mutex mutex;
        std::condition_variable answered;
        std::optional<std::shared_ptr<const Preview>> answer;
    };
    auto exchange = std::make_shared<Exchange>();
    WantedPreview wanted = wantedPreview(item, QSize(side, side), DecodePurpose::Thumbnail, 0);
    wanted.ticket = exchange;
    wanted.deliver = [weak = std::weak_ptr(exchange)](std::shared_ptr<const Preview> preview) {
        const auto waiting = weak.lock();
        if (!waiting) return;
        const std::lock_guard lock(waiting->mutex);
        waiting->answer = std::move(preview);
        waiting->answered.notify_one();
    };
    m_work.add(std::move(wanted));
    std::unique_lock lock(exchange->mutex);
    exchange->answered.wait_for(lock, kThumbnailPatience,
                                [&] { return exchange->answer.has_value(); });
    if (!exchange->answer || (*exchange->answer)->frames.empty()) return {};
    return (*exchange->answer)->frames.front();
}

}  // namespace kestrin
