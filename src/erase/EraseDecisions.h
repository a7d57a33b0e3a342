// SPDX-License-Identifier: GPL-3.0-or-later
// What an erase decides about every entry: whether it is locked or forbidden, whether the user is
// asked, what goes to the helper, what is counted and what stayed for which reason. It changes
// nothing on disk and makes no texts: that is the caller's.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "erase/HelperClient.h"
#include "platform/items/TreeRemover.h"

namespace kestrin {

/// What to do with entries that are locked, or that the user may not remove.
enum class RefusedEntries {
    Ask,    ///< ask as described, the user's answer may hold for all
    Skip,   ///< leave them without asking, hidden ones too
    Erase,  ///< treat the question as answered with "erase" for all
};

enum class StayReason {
    Locked,
    Forbidden,
    Busy,
    MountPoint,
    ReadOnly,
    Replaced,
    LeftUnlocked,
    HasOtherNames,  ///< it is locked, and its other names may lie outside the trash
    NotFoundAgain,  ///< nothing tells the folder from one that took its place meanwhile
    Error
};

/// An entry that an erase left where it was: the refused entry itself, not the folders around it.
struct StayedEntry {
    FileUrl url;
    StayReason reason = StayReason::Error;
    std::string cause{};   ///< what the host said, where the reason alone does not tell
    bool skipped = false;  ///< the user chose so
};

/// A question about one entry, and its answer.
struct RefusalQuestion {
    enum class About { Locked, Forbidden };
    About about = About::Locked;
    std::string name;
    std::string path;
};
struct RefusalAnswer {
    bool eraseFile = false;
    bool isForAll = false;
};

/// The decisions of one erase. Thread: any; several workers ask at once. Questions are put one at a
/// time, each once; while one is open, the workers finish the entry they are at and wait.
class EraseDecisions {
 public:
    struct Settings {
        bool deleteLocked = false;  ///< the answer before there is one
        RefusedEntries locked = RefusedEntries::Ask;
        RefusedEntries forbidden = RefusedEntries::Ask;
        /// Each failure is counted twice: as the removal fails, and once more when it has failed.
        bool classifiesTwice = false;
    };
    /// What the decisions need of the erase. All may be called from several threads.
    struct Callbacks {
        std::function<RefusalAnswer(const RefusalQuestion&)> ask;  ///< waits for the user
        std::function<bool()> wasStopped;
        /// Whether the helper may be used. Asked once, when that matters first.
        std::function<bool()> isHelperAuthorized = [] { return false; };
    };

    /// What to do about an entry next.
    enum class Decision {
        Proceed,
        Unlock,  ///< clear its attribute, then proceed
        Leave,   ///< it stays, a folder with all it holds
    };

    EraseDecisions(const Settings& settings, Callbacks callbacks);

    /// Returns when no question is open. Is called before an entry is looked at.
    void waitWhileAQuestionIsOpen();
    /// Is called before an entry is entered or removed. Waits with folders alone.
    Decision decideLocked(const RemovalEntry& entry);
    /// Notes that the attribute could not be cleared. The helper will clear it, once the removal
    /// has been tried all the same; but where that is not allowed either, both is to be wanted.
    /// Never answers Unlock.
    Decision couldNotUnlock(const RemovalEntry& entry);
    /// Is called before an entry is removed, when no lock stands in its way any more. Never answers
    /// Unlock.
    Decision decideForbidden(const RemovalEntry& entry);
    void didRemove(const RemovalEntry& entry);
    void didFail(const RemovalEntry& entry, const HostError& error);

    /// Notes an entry that could not even be begun, since its folder cannot be opened.
    void couldNotBegin(const FileUrl& entry, const HostError& error);
    /// Notes what the helper unlocked and could not lock again.
    void noteLeftUnlocked(const FileUrl& entry);
    /// Keeps in mind what the helper told as erased: the user may not be able to look.
    void helperErased(const std::string& path);
    /// Notes what of the helper's share is still there. Called when the helper is done, or has not
    /// been asked.
    void noteWhatTheHelperLeft();

    /// The answer to the callback of that name, the same from the first call on.
    bool isHelperAuthorized();
    /// Returns what the helper is to erase, and no folder in which something else was left: of such
    /// a locked one the rest is named entry by entry. `leftBehind` are top-level folders that were
    /// not empty in the end. Called once, when no entry is decided about any more.
    HelperRequest shareOfHelper(const std::vector<HelperItem>& leftBehind);
    std::vector<HelperItem> unlockItems() const;
    std::vector<HelperItem> permissionsItems() const;
    std::vector<StayedEntry> stayedEntries() const;

    std::atomic<std::uint64_t> totItemsDeleted = 0;
    std::atomic<std::uint64_t> totSizeDeleted = 0;
    std::atomic<std::uint64_t> notErasedCount = 0;
    std::atomic<std::uint64_t> itemBusyCount = 0;

 private:
    enum class Check { Passed, Refused, Skipped, NotAnswered, HandedOver };
    struct Answer {
        RefusalQuestion::About about;
        bool eraseFile;
    };
    /// A list of entries in which each path stands once.
    struct Entries {
        std::vector<HelperItem> list;
        std::unordered_set<std::string> known;
        void add(const RemovalEntry& entry);
        bool contains(const std::string& path) const { return known.contains(path); }
    };

    Check checkForLockedFile(const RemovalEntry& entry);
    Check wantsForbidden(const RemovalEntry& entry);
    Check checkForNoPermissions(const RemovalEntry& entry);
    Check userWants(const RemovalEntry& entry, RefusalQuestion::About about);
    bool waitsForUnlocking(const RemovalEntry& entry, const HostError& error);
    Check manageError(const RemovalEntry& entry, const HostError& error);
    Decision decision(const RemovalEntry& entry, Check check, StayReason reason);
    RefusalAnswer ask(const RefusalQuestion& question);
    bool skipsAllLocked();
    void openGate();
    void noteOtherNames(const RemovalEntry& entry);
    void noteFailure(const RemovalEntry& entry, const HostError& error, Check check);
    void note(const FileUrl& url, StayReason reason, bool skipped, std::string cause = {});

    const Settings m_settings;
    const Callbacks m_callbacks;

    std::mutex m_helperQuestion;
    std::optional<bool> m_isHelperAuthorized;  ///< under `m_helperQuestion`; none: not asked yet

    std::mutex m_questions;  ///< held from the look at the answers to the end of a question
    bool m_deleteLocked;
    bool m_deleteLockedAlreadyAsked;
    bool m_deleteNoPermissions;
    bool m_deleteNoPermissionsAlreadyAsked;
    std::unordered_map<std::string, Answer> m_answers;  ///< by path

    std::mutex m_gate;
    std::condition_variable m_gateOpened;
    std::atomic<bool> m_questionIsOpen = false;

    mutable std::mutex m_lists;  ///< guards what follows
    Entries m_unlockItems;
    Entries m_permissionsItems;
    Entries m_inUnlockItems;  ///< kept by the lock of their folder alone, which is to be unlocked
    std::vector<StayedEntry> m_stayed;
    std::unordered_map<std::string, std::size_t> m_stayedByPath;
};

}  // namespace kestrin
