// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/trash/TrashWatcher.h"

#include <sys/inotify.h>

#include <QSocketNotifier>
#include <QTimer>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "base/MainThread.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {
namespace {

using Clock = std::chrono::steady_clock;

/// The part of the interval that the first change waits, since several entries mostly come or go
/// together.
constexpr int kRestPart = 5;
/// How many folders are tried upwards from a missing one: "files", the trash folder, the folder
/// that holds it.
constexpr int kMostAncestors = 3;

// A watch is added to one that is there already: two folders may be the same one, seen through two
// mounts.
constexpr std::uint32_t kAppearance =
    IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_MASK_ADD;
constexpr std::uint32_t kContents = kAppearance | IN_DELETE | IN_MOVED_FROM | IN_DONT_FOLLOW;

/// A watch of the kernel for one folder.
struct Placed {
    int watch = -1;
    std::string awaited;  ///< the entry of a folder above that leads to it; empty: it is there
    friend bool operator==(const Placed&, const Placed&) = default;
};

std::optional<Placed> place(int inotify, const FileUrl& folder) {
    int watch = ::inotify_add_watch(inotify, folder.path().c_str(), kContents);
    if (watch >= 0) return Placed{watch, {}};
    FileUrl missing = folder;
    for (int step = 0; step < kMostAncestors && errno == ENOENT; ++step) {
        const FileUrl above = missing.parent();
        watch = ::inotify_add_watch(inotify, above.path().c_str(), kAppearance);
        if (watch >= 0) return Placed{watch, std::string(missing.lastPathComponent())};
        missing = above;
    }
    return std::nullopt;
}

}  // namespace

/// The kernel's watches. Thread: any.
class TrashWatcher::Watches {
 public:
    int descriptor() const { return m_inotify.get(); }

    /// Drops the watches of all other folders; returns those of `folders` that are to be placed.
    std::vector<FileUrl> keepOnly(const std::vector<FileUrl>& folders) {
        const std::lock_guard guard(m_lock);
        m_wanted = {folders.begin(), folders.end()};
        const auto before = m_placed;
        std::erase_if(m_placed,
                      [this](const auto& entry) { return !m_wanted.contains(entry.first); });
        for (const auto& [folder, placed] : before)
            dropUnlessUsed(placed.watch);
        std::vector<FileUrl> missing;
        for (const FileUrl& folder : m_wanted) {
            const auto placed = m_placed.find(folder);
            const bool isThere = placed != m_placed.end() && placed->second.awaited.empty();
            if (!isThere && m_pending.insert(folder).second) missing.push_back(folder);
        }
        return missing;
    }

    /// Asks the disk. True when the folder, or one above it, has come under watch.
    bool placeOne(const FileUrl& folder) {
        const std::optional<Placed> found = place(m_inotify.get(), folder);
        const std::lock_guard guard(m_lock);
        m_pending.erase(folder);
        std::optional<Placed> before;
        if (auto known = m_placed.extract(folder)) before = std::move(known.mapped());
        const bool isWanted = m_wanted.contains(folder);
        if (found && isWanted) m_placed.emplace(folder, *found);
        if (found) dropUnlessUsed(found->watch);
        if (before) dropUnlessUsed(before->watch);
        return found && isWanted && before != found;
    }

    /// Takes what the kernel has to tell. True when it concerns a folder that is watched.
    bool readEvents() {
        bool concerns = false;
        alignas(inotify_event) std::array<char, 4096> bytes{};
        for (ssize_t count = 0; (count = ::read(descriptor(), bytes.data(), bytes.size())) > 0;) {
            const std::lock_guard guard(m_lock);
            for (std::size_t at = 0; at < static_cast<std::size_t>(count);) {
                const auto* event = reinterpret_cast<const inotify_event*>(bytes.data() + at);
                concerns |= take(*event);
                at += sizeof *event + event->len;
            }
        }
        return concerns;
    }

 private:
    void dropUnlessUsed(int watch) {
        const bool isUsed = std::ranges::any_of(
            m_placed, [watch](const auto& entry) { return entry.second.watch == watch; });
        if (!isUsed) ::inotify_rm_watch(descriptor(), watch);
    }

    bool take(const inotify_event& event) {
        if (event.mask & IN_Q_OVERFLOW) return true;
        // The kernel watches the folder itself, wherever it has gone; here its place counts.
        const bool isGone = event.mask & (IN_IGNORED | IN_MOVE_SELF);
        const std::string_view name = event.len > 0 ? event.name : "";
        const bool concerns = std::ranges::any_of(m_placed, [&](const auto& entry) {
            const Placed& placed = entry.second;
            return placed.watch == event.wd &&
                   (isGone || placed.awaited.empty() || placed.awaited == name);
        });
        if (isGone && concerns) {
            std::erase_if(m_placed,
                          [&](const auto& entry) { return entry.second.watch == event.wd; });
            ::inotify_rm_watch(descriptor(), event.wd);
        }
        return concerns;
    }

    const UniqueFd m_inotify{::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
    std::mutex m_lock;
    // Guarded by m_lock:
    std::set<FileUrl> m_wanted;
    std::set<FileUrl> m_pending;  ///< being placed; one whose volume hangs stays here
    std::map<FileUrl, Placed> m_placed;
};

/// Tells of changes, not too often. Main thread.
class TrashWatcher::Teller {
 public:
    Teller(std::shared_ptr<Watches> watches, std::function<void()> changed,
           std::chrono::milliseconds interval)
        : m_watches(std::move(watches)), m_changed(std::move(changed)), m_interval(interval) {
        m_rest.setSingleShot(true);
        QObject::connect(&m_rest, &QTimer::timeout, &m_rest, [this] { tell(); });
        if (m_watches->descriptor() < 0) return;
        m_notifier =
            std::make_unique<QSocketNotifier>(m_watches->descriptor(), QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, &m_rest, [this] {
            if (m_watches->readEvents()) tellSoon();
        });
    }

    void tellSoon() {
        if (m_rest.isActive()) return;
        // What else happens meanwhile waits in the kernel.
        if (m_notifier) m_notifier->setEnabled(false);
        const auto due = m_lastTold ? *m_lastTold + m_interval - Clock::now() : Clock::duration(0);
        m_rest.start(std::max<std::chrono::milliseconds>(
            m_interval / kRestPart, std::chrono::ceil<std::chrono::milliseconds>(due)));
    }

 private:
    void tell() {
        m_watches->readEvents();
        if (m_notifier) m_notifier->setEnabled(true);
        m_lastTold = Clock::now();
        m_changed();
    }

    const std::shared_ptr<Watches> m_watches;
    const std::function<void()> m_changed;
    const std::chrono::milliseconds m_interval;
    std::optional<Clock::time_point> m_lastTold;
    QTimer m_rest;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

TrashWatcher::TrashWatcher(std::function<void()> changed, Background inBackground,
                           std::chrono::milliseconds interval)
    : m_watches(std::make_shared<Watches>()),
      m_teller(std::make_shared<Teller>(m_watches, std::move(changed), interval)),
      m_inBackground(std::move(inBackground)) {}

TrashWatcher::~TrashWatcher() = default;

void TrashWatcher::watch(const std::vector<FileUrl>& folders) {
    for (const FileUrl& folder : m_watches->keepOnly(folders)) {
        m_inBackground([watches = m_watches, teller = std::weak_ptr(m_teller), folder] {
            if (!watches->placeOne(folder)) return;
            MainThread::post([teller] {
                if (const auto alive = teller.lock()) alive->tellSoon();
            });
        });
    }
}

}  // namespace kestrin
