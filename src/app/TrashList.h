// SPDX-License-Identifier: GPL-3.0-or-later
// The trashes of the mounted volumes as last heard. A volume may take its time to answer, or never
// do: the list is gathered in the background, and whoever draws uses the last answers.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "fsutil/QVFilesUtilities.h"

namespace kestrin {

/// Main thread; needs the main thread's mailbox.
class TrashList {
 public:
    /// Called on a background thread, one call at a time; may outlive the list.
    using Lister = std::function<std::vector<TrashLocation>()>;

    explicit TrashList(Lister lister);
    TrashList(const TrashList&) = delete;
    TrashList& operator=(const TrashList&) = delete;

    /// What to call after every listing.
    void setChangeHandler(std::function<void()> changed) { m_changed = std::move(changed); }

    /// Empty before the first listing is over.
    const std::vector<TrashLocation>& latest() const { return m_latest; }

    /// Lists anew; `done` is called when a listing that began after this call is over. Calls that
    /// come while one runs share the next one.
    void refresh(std::function<void()> done = {});

 private:
    void start();
    void finish(std::vector<TrashLocation> locations);

    const std::shared_ptr<const Lister> m_lister;
    std::function<void()> m_changed;
    std::vector<TrashLocation> m_latest;
    std::vector<std::function<void()>> m_next;     ///< wait for a listing that has not begun
    std::vector<std::function<void()>> m_current;  ///< wait for the one that runs
    bool m_isListing = false;
    const std::shared_ptr<bool> m_life = std::make_shared<bool>(true);
};

}  // namespace kestrin
