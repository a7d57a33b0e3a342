// SPDX-License-Identifier: GPL-3.0-or-later
// Tells when a file may say something else than before, so that nobody has to look again and again.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/FileUrl.h"

namespace kestrin {

/// Watches the place of one file, whatever is there: a file that editors write or rename over, a
/// link to one elsewhere, or nothing, with folders on the way that are absent, links or replaced.
/// It tells nothing where the host notices nothing: a network file system that another computer
/// changes, a mount. It wakes nobody while nothing changes. It lives on the main thread and needs
/// its event loop.
class FileWatcher {
 public:
    /// Calls `changed` on the main thread a moment after the first of several changes, also after
    /// some that leave the file as it was. Without a location, or where the host has no watches to
    /// give, it is never called.
    FileWatcher(FileUrl file, std::function<void()> changed);
    ~FileWatcher();
    FileWatcher(const FileWatcher&) = delete;
    FileWatcher& operator=(const FileWatcher&) = delete;

 private:
    class Watches;
    const std::unique_ptr<Watches> m_watches;
};

}  // namespace kestrin
