// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/EraseCommand.h"

#include <functional>
#include <map>
#include <utility>

#include "base/FileUrl.h"
#include "base/SystemLog.h"
#include "helper/ListedItems.h"
#include "helper/TrashPath.h"
#include "platform/items/HostErrors.h"
#include "platform/items/LockAttributes.h"
#include "platform/items/TreeRemover.h"

namespace kestrin {
namespace {

using Locks = UserTrashes::Locks;

/// Lets everything go, since it was decided before what may be listed.
class WholePolicy : public RemovalPolicy {
 public:
    WholePolicy(EraseProgress& progress, const std::atomic<bool>& stop)
        : m_progress(progress), m_stop(stop) {}

    Verdict willEnter(const RemovalEntry&) override { return Verdict::Proceed; }
    Verdict willRemove(const RemovalEntry&) override { return Verdict::Proceed; }
    void didRemove(const RemovalEntry& entry) override {
        m_progress.itemErased(entry.path(), entry.size());
    }
    void didFail(const RemovalEntry& entry, const HostError& error) override {
        constexpr std::uint64_t kLogged = 20;  // a user's tree must not fill the journal
        constexpr std::size_t kLongestText = 2000;
        if (m_failures++ >= kLogged) return;
        qCWarning(lcHelper, "%s stays: %s",
                  percentEncode(entry.path(), true).substr(0, kLongestText).c_str(),
                  reason(entry, error).c_str());
    }
    bool shouldStop() const override { return m_stop; }
    std::uint64_t failures() const { return m_failures; }

 private:
    static std::string reason(const RemovalEntry& entry, const HostError& error) {
        if (entry.isLockedWithOtherNames()) return "it is locked and has other names";
        if (entry.isReplaced()) return "something else has its name";
        if (error.systemError == kNotFoundAgain) return "it could not be found again safely";
        return error.localizedDescription();
    }

    EraseProgress& m_progress;
    const std::atomic<bool>& m_stop;
    std::atomic<std::uint64_t> m_failures = 0;
};

/// Lets only folders go, and so only those that hold nothing but folders.
class EmptyFoldersPolicy final : public WholePolicy {
 public:
    using WholePolicy::WholePolicy;
    Verdict willRemove(const RemovalEntry& entry) override {
        return entry.isDirectory() ? Verdict::Proceed : Verdict::Leave;
    }
    void didFail(const RemovalEntry&, const HostError&) override {}
};

/// A single worker takes the folders one after the other, each before the one that holds it.
void removeEmptyFolders(UserTrashes& trashes, const std::vector<ListedItem>& folders,
                        EraseProgress& progress, const std::atomic<bool>& stop) {
    std::map<std::size_t, std::vector<ListedItem>, std::greater<>> byDepth;
    for (const ListedItem& folder : folders) {
        if (stop) return;
        byDepth[depthOf(folder.path)].push_back(folder);
    }
    EmptyFoldersPolicy policy(progress, stop);
    for (auto& [depth, ofDepth] : byDepth) {
        ListedItems items(trashes, std::move(ofDepth), Locks::Clear, stop);
        TreeRemover(policy, 1, LockedEntries::Keep).remove(items);
    }
}

bool unlock(UserTrashes& trashes, const std::string& path, const std::atomic<bool>& stop) {
    const auto folder = trashes.folderOf(path, Locks::Keep, stop);
    if (!folder) return false;
    const std::string name(splitPath(path).name);
    const auto state = lockStateAt((*folder)->descriptor(), name.c_str());
    if (state != LockState::Locked) return state == LockState::Unlocked;
    auto locks = ClearedLocks::clear((*folder)->descriptor(), name.c_str(), path);
    if (!locks) return false;
    locks->leaveCleared();
    return true;
}

}  // namespace

EraseOutcome runEraseCommand(UserTrashes& trashes, const EraseItems& items, EraseProgress& progress,
                             const std::atomic<bool>& stop, unsigned workers) {
    std::vector<ListedItem> distinct = itemsToErase(items, stop);
    if (stop) {  // nothing has begun
        const std::size_t all = items.unlockItems.size() + items.permissionsItems.size();
        return {progress.isHeard() ? all : 0, 0};
    }
    ListedItems listed(trashes, std::move(distinct), Locks::Clear, stop);
    WholePolicy policy(progress, stop);
    TreeRemover(policy, workers, LockedEntries::Unlock).remove(listed);
    if (listed.takeUpWhatWasPutOff()) {
        TreeRemover(policy, 1, LockedEntries::Unlock).remove(listed);
    }
    removeEmptyFolders(trashes, foldersLeftBehind(items, stop), progress, stop);
    trashes.tidy(stop);
    return {progress.isHeard() ? listed.countLeft() : 0, policy.failures()};
}

std::vector<bool> runUnlockCommand(UserTrashes& trashes, const std::vector<std::string>& paths,
                                   const std::atomic<bool>& stop) {
    std::vector<bool> unlocked;
    unlocked.reserve(paths.size());
    for (const std::string& path : paths)
        unlocked.push_back(!stop && unlock(trashes, path, stop));
    return unlocked;
}

}  // namespace kestrin
