// SPDX-License-Identifier: GPL-3.0-or-later
// Tells when something came into a trash or left it, so that nobody has to look again and again.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "base/FileUrl.h"

namespace kestrin {

/// Watches folders for entries that come and go, but not what lies below these. It tells nothing
/// where the host notices nothing, such as on a network file system that another computer changes.
/// It wakes nobody while nothing changes. It lives on the main thread and needs its event loop and
/// its mailbox.
class TrashWatcher {
 public:
    /// Runs a call on some other thread, soon. The call may hang with its volume, and outlive the
    /// watcher.
    using Background = std::function<void(std::function<void()>)>;

    /// Calls `changed` on the main thread, at most once in every `interval` and a moment after the
    /// first of several changes. It is also called when a folder has just come under watch, since
    /// something may have happened in it before.
    TrashWatcher(std::function<void()> changed, Background inBackground,
                 std::chrono::milliseconds interval = std::chrono::seconds(1));
    ~TrashWatcher();
    TrashWatcher(const TrashWatcher&) = delete;
    TrashWatcher& operator=(const TrashWatcher&) = delete;

    /// Watches these folders from now on, and no others. When an absent one appears, that is told,
    /// and the caller then calls this again. Never blocks.
    void watch(const std::vector<FileUrl>& folders);

 private:
    class Watches;
    class Teller;
    const std::shared_ptr<Watches> m_watches;  ///< shared with calls in the background
    const std::shared_ptr<Teller> m_teller;
    const Background m_inBackground;
};

}  // namespace kestrin
