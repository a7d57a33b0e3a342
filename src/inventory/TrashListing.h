// SPDX-License-Identifier: GPL-3.0-or-later
// The trashes of the mounted volumes, as the volumes last answered. A volume may answer late or
// never: each is asked on a thread that can be abandoned, and whoever draws uses the last answers.
#pragma once

#include <QString>
#include <QStringList>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "base/FileUrl.h"
#include "base/NotificationCenter.h"
#include "base/Result.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/disks/Volumes.h"

namespace kestrin {

class StringTable;

/// A mounted volume and what is known of its trashes.
struct ListedVolume {
    enum class State : std::uint8_t {
        Unknown,   ///< it never answered
        NoTrash,   ///< the user can have no trash there, which is nothing to worry about
        ReadOnly,  ///< `trashes` are there and cannot be emptied
        Unusable,  ///< a trash is there and may not be used: `problem` says why
        Usable,    ///< `trashes` is not empty
    };
    FileUrl url;
    QString name;
    State state = State::Unknown;  ///< by its latest answer
    bool answers = true;           ///< false: asked, and silent for too long
    int mountId = 0;               ///< as in MountedVolume
    bool isNetwork = false;
    std::vector<TrashLocation> trashes;
    /// Why a trash cannot be used. It may be set although another trash of the volume can be used.
    MaybeError problem;

    /// Whether its trashes may be part of a request.
    bool mayBeErased() const { return state == State::Usable && answers; }
    /// Whether it has no trash for a reason that stays until somebody mends it, such as a link or a
    /// missing right. Other failures (an absent item, an error of the device) may be over at the
    /// next listing.
    bool hasFailedForGood() const;
};

/// Asks one volume for its trashes; changes nothing on it. It may hang with the volume. Thread:
/// any.
ListedVolume askForTrashes(const FileUrl& volume);

/// A volume that a request left out, and why.
struct LeftOutVolume {
    QString name;
    QString reason;  ///< a part of a sentence
};

/// One listing for all that show, count or erase trashes. A volume whose trash could not be had is
/// not asked again while the listing lives, unless the failure passes. Main thread; needs the main
/// thread's mailbox.
class TrashListing {
 public:
    /// The questions to the host; called on abandoned threads, one at a time for a volume, and may
    /// outlive the listing.
    struct Host {
        std::function<std::vector<MountedVolume>()> mounts = visibleMounts;
        std::function<ListedVolume(const FileUrl&)> ask = askForTrashes;
        /// How long a volume may take to answer before it counts as silent.
        std::chrono::milliseconds patience = std::chrono::seconds(2);
    };

    TrashListing() : TrashListing(Host()) {}
    explicit TrashListing(Host host);
    TrashListing(const TrashListing&) = delete;
    TrashListing& operator=(const TrashListing&) = delete;

    /// Sets what is called after every listing, and when a late answer has come.
    void setChangeHandler(std::function<void()> changed) { m_changed = std::move(changed); }

    /// Has `heard` called, besides, whenever anything was heard: a volume's answer, also within a
    /// listing, and the end of one.
    [[nodiscard]] Observation observe(std::function<void()> heard);

    /// Lists anew; `done` is called when a listing that began after this call is over. Calls that
    /// come while one runs share the next one. A volume that still owes an answer to an earlier
    /// listing is not asked again, nor waited for.
    void refresh(std::function<void()> done = {});

    /// In the order of the mount table; empty before the first listing is over.
    const std::vector<ListedVolume>& volumes() const { return m_volumes; }
    /// Whether it was ever told what is mounted. Until then volumes() says nothing.
    bool knowsTheMounts() const { return m_knowsTheMounts; }
    /// The trashes that are shown, those of silent volumes as last heard.
    std::vector<TrashLocation> trashes() const;
    /// Those of trashes() that a request may hold.
    std::vector<TrashLocation> trashesToErase() const;
    /// The volume of a trash. Nullptr when it is not listed any more.
    const ListedVolume* volumeOf(const TrashLocation& trash) const;

 private:
    struct Question {
        std::uint64_t number = 0;
        int mountId = 0;
    };

    void start();
    void askMounts();
    void takeMounts(const std::optional<std::vector<MountedVolume>>& mounts);
    void updateVolumes(const std::vector<MountedVolume>& mounts);
    void forgetQuestionsToOthersThan(const std::vector<MountedVolume>& mounts);
    void ask(ListedVolume& volume);
    void takeAnswer(const FileUrl& url, std::uint64_t number, std::optional<ListedVolume> answer);
    void runOutOfPatience(std::uint64_t listing);
    void finishWhenAnswered();
    void finish();
    void tellObservers();
    void onMain(std::function<void()> call) const;

    const Host m_host;
    std::function<void()> m_changed;
    std::map<std::uint64_t, std::function<void()>> m_observers;
    std::uint64_t m_lastObserver = 0;
    std::vector<ListedVolume> m_volumes;
    /// The questions that have no answer yet, at most one for a volume. The question what is
    /// mounted stands under the location that is none.
    std::map<FileUrl, Question> m_open;
    std::set<FileUrl> m_awaited;               ///< those of them that the listing waits for
    std::map<FileUrl, ListedVolume> m_failed;  ///< not asked again
    std::uint64_t m_lastNumber = 0;            ///< of a question
    std::uint64_t m_listing = 0;               ///< the number of the latest one
    bool m_isListing = false;
    bool m_knowsTheMounts = false;
    std::vector<std::function<void()>> m_next;     ///< wait for a listing that has not begun
    std::vector<std::function<void()>> m_current;  ///< wait for the one that runs
    const std::shared_ptr<bool> m_life = std::make_shared<bool>(true);
};

/// The volumes that a request for all of `volumes` leaves out, with the reasons: those that do not
/// answer, and those whose trash may not be used.
std::vector<LeftOutVolume> leftOutVolumes(const std::vector<ListedVolume>& volumes,
                                          const StringTable& texts);
/// A sentence for each volume that is left out.
QStringList leftOutSentences(const std::vector<LeftOutVolume>& leftOut, const StringTable& texts);
/// Why the volume, or a trash of it, cannot be emptied now, as rows say it. Empty when it can, and
/// when it can have no trash.
QString volumeNote(const ListedVolume& volume, const StringTable& texts);
/// Why a volume is left out, fit to be read. Empty when it is not left out, and when it is
/// read-only.
QString leftOutReason(const ListedVolume& volume, const StringTable& texts);

}  // namespace kestrin
