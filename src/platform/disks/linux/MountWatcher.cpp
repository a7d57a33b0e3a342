// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>

#include <QSocketNotifier>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include "base/MainThread.h"
#include "platform/disks/MountTable.h"
#include "platform/disks/linux/MountVisibility.h"
#include "platform/items/UniqueFd.h"
#include "platform/processes/AnswerWithin.h"

namespace kestrin {
namespace {

constexpr std::chrono::milliseconds kRest{50};
constexpr std::chrono::seconds kPause{1};

/// A remount changes the options only, and is no other volume.
bool isSameMount(const MountEntry& first, const MountEntry& second) {
    return first.id == second.id && first.deviceMajor == second.deviceMajor &&
           first.deviceMinor == second.deviceMinor && first.mountPoint == second.mountPoint;
}

/// The mounts of `mounts` that `others` lacks.
std::vector<MountEntry> missingIn(const std::vector<MountEntry>& others,
                                  const std::vector<MountEntry>& mounts) {
    std::vector<MountEntry> missing;
    for (const MountEntry& mount : mounts) {
        const bool isKnown =
            std::any_of(others.begin(), others.end(),
                        [&](const MountEntry& other) { return isSameMount(mount, other); });
        if (!isKnown) missing.push_back(mount);
    }
    return missing;
}

}  // namespace

/// Belongs to the main thread; the threads that look hold it weakly.
struct MountWatcher::State : std::enable_shared_from_this<State> {
    explicit State(std::function<void(const Change&)> callback)
        : changed(std::move(callback)),
          table(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)) {
        rest.setSingleShot(true);
        QObject::connect(&rest, &QTimer::timeout, &rest, [this] { look(); });
        if (!table) return;
        // The kernel reports a change of the table as an exceptional condition of this file.
        notifier = std::make_unique<QSocketNotifier>(table.get(), QSocketNotifier::Exception);
        QObject::connect(notifier.get(), &QSocketNotifier::activated, &rest,
                         [this] { rest.start(kRest); });
    }

    /// The table is read here and now. What users see of it depends on where the home folder lies,
    /// which is a question to a disk that may hang: one such question at a time.
    void look() {
        if (isLooking) {
            mustLookAgain = true;
            return;
        }
        mustLookAgain = false;
        auto mounts = currentMounts();
        if (mounts.empty()) return;  // it cannot be read: where it can, it has "/" at least
        isLooking = runAbandoned([weak = weak_from_this(), mounts = std::move(mounts)] {
            MainThread::post([weak, seen = visibleToUsers(mounts)] {
                if (const auto state = weak.lock()) state->take(seen);
            });
        });
        if (!isLooking) rest.start(kPause);  // there was no thread to be had
    }

    void take(const std::vector<MountEntry>& seen) {
        isLooking = false;
        if (mustLookAgain) rest.start(0);
        const auto before = std::exchange(known, seen);
        if (!before) return;
        for (const MountEntry& mount : missingIn(seen, *before))
            changed({false, mount.mountPoint});
        for (const MountEntry& mount : missingIn(*before, seen))
            changed({true, mount.mountPoint});
    }

    const std::function<void(const Change&)> changed;
    const UniqueFd table;
    std::optional<std::vector<MountEntry>> known;  ///< the visible volumes of the last look
    bool isLooking = false;
    bool mustLookAgain = false;  ///< the table changed while somebody looked
    QTimer rest;
    std::unique_ptr<QSocketNotifier> notifier;  ///< goes before the descriptor that it watches
};

MountWatcher::MountWatcher(std::function<void(const Change&)> changed)
    : m_state(std::make_shared<State>(std::move(changed))) {
    m_state->look();
}

MountWatcher::~MountWatcher() = default;

}  // namespace kestrin
