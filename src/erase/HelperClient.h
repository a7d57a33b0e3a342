// SPDX-License-Identifier: GPL-3.0-or-later
// The way to the privileged helper, as the erase engine sees it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "platform/items/ItemIdentity.h"

namespace kestrin {

/// An entry for the helper, which erases it only while it is still the same.
struct HelperItem {
    HelperItem(FileUrl itsUrl, const ItemIdentity& itsIdentity = {})  // NOLINT
        : url(std::move(itsUrl)), identity(itsIdentity) {}

    FileUrl url;
    ItemIdentity identity;  ///< not known: whatever is there is erased
    friend bool operator==(const HelperItem&, const HelperItem&) = default;
};

/// Work for the helper.
struct HelperRequest {
    std::vector<HelperItem> unlockItems;       ///< locked entries it must unlock and erase
    std::vector<HelperItem> permissionsItems;  ///< entries it must erase as root
    std::uint64_t erasedSize = 0;              ///< bytes already erased in this run
    std::uint64_t erasedCount = 0;             ///< entries already erased in this run
    /// Folders left behind.
    std::optional<std::vector<HelperItem>> notTrashedBecauseFolderNotEmpty;
    /// Whether what is locked stays wherever it is met below `permissionsItems`.
    bool keepsLocked = false;

    bool isEmpty() const { return unlockItems.empty() && permissionsItems.empty(); }
};

/// Hears what the helper does. Called on any thread.
class HelperDelegate {
 public:
    virtual ~HelperDelegate() = default;
    virtual void setTotItemsDeleted(std::uint64_t count) = 0;
    virtual void setTotSizeDeleted(std::uint64_t bytes) = 0;
    virtual void setNotErasedCount(std::uint64_t count) = 0;
    virtual void setIsWorking(bool working) = 0;
    virtual void writeLogEntryWithPath(const std::string& path, std::uint64_t itemSize) = 0;
    /// The helper unlocked the file or folder at `path` and could not lock it again.
    virtual void attributesNotRestored(const std::string& path) = 0;
    /// What went wrong, to be shown at the end. Called before setIsWorking tells that end.
    virtual void showErrorWithError(const HostError& error) = 0;
    virtual bool isStoppedByUser() const = 0;
};

/// One run of the helper. Main thread.
class HelperClient {
 public:
    virtual ~HelperClient() = default;
    /// Hands over the work and returns; the end comes through setNotErasedCount and setIsWorking.
    virtual void authorizedEraseWithDictionary(std::shared_ptr<const HelperRequest> request) = 0;
    virtual void stoppedByUser() = 0;
};

/// What the program knows of the helper.
struct HelperAccess {
    /// The application-wide flag: the helper is installed and usable. Without a helper: false. An
    /// erase asks at most once, when an entry needs the helper. Thread: any.
    std::function<bool()> isAuthorized = [] { return false; };
    /// Makes a client with that delegate. Only called while `isAuthorized` answers true.
    std::function<std::unique_ptr<HelperClient>(HelperDelegate&)> makeClient;
};

}  // namespace kestrin
