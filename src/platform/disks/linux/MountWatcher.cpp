// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>

#include <QSocketNotifier>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/disks/MountTable.h"
#include "platform/disks/linux/MountVisibility.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {
namespace {

constexpr std::chrono::milliseconds kRest{50};

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

struct MountWatcher::State {
    explicit State(std::function<void(const Change&)> callback)
        : changed(std::move(callback)),
          table(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)),
          known(currentVisibleVolumes()) {
        rest.setSingleShot(true);
        rest.setInterval(kRest);
        QObject::connect(&rest, &QTimer::timeout, &rest, [this] { compare(); });
        if (!table) return;
        // The kernel reports a change of the table as an exceptional condition of this file.
        notifier = std::make_unique<QSocketNotifier>(table.get(), QSocketNotifier::Exception);
        QObject::connect(notifier.get(), &QSocketNotifier::activated, &rest,
                         [this] { rest.start(); });
    }

    void compare() {
        auto current = currentVisibleVolumes();
        const auto removed = missingIn(current, known);
        const auto added = missingIn(known, current);
        known = std::move(current);
        for (const MountEntry& mount : removed) {
            changed({false, mount.mountPoint});
        }
        for (const MountEntry& mount : added) {
            changed({true, mount.mountPoint});
        }
    }

    const std::function<void(const Change&)> changed;
    const UniqueFd table;
    std::vector<MountEntry> known;  ///< the visible volumes last told of
    QTimer rest;
    std::unique_ptr<QSocketNotifier> notifier;  ///< goes before the descriptor that it watches
};

MountWatcher::MountWatcher(std::function<void(const Change&)> changed)
    : m_state(std::make_unique<State>(std::move(changed))) {}

MountWatcher::~MountWatcher() = default;

}  // namespace kestrin
