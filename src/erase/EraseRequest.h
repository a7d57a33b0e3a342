// SPDX-License-Identifier: GPL-3.0-or-later
// What an erase is asked to do, what it works with, and the notifications that it sends and hears.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileUrl.h"
#include "base/NotificationCenter.h"
#include "base/Result.h"
#include "erase/AlertPanel.h"
#include "erase/EraseDecisions.h"
#include "erase/HelperClient.h"
#include "erase/ProgressView.h"
#include "fsutil/QVFilesUtilities.h"
#include "inventory/TrashListing.h"
#include "platform/disks/Volumes.h"
#include "platform/processes/DisplayTick.h"

namespace kestrin {

class QVDateUtilities;
class QVErrorDelegate;
class QVNumberUtilities;
class StringTable;
class UserDefaults;

/// Names and user-info keys of the notifications that an erase sends or hears. Their sender is the
/// engine, but for the figures of "updateCountAndSizeToDelete" that others post.
///
/// A smart erase tells how its question ended by "waitForResponse", once for every askToContinue,
/// on a background thread (or on the main thread, later). "canContinue" is NO when the user
/// declined, the sheet was dismissed or withdrawn or its window went, nobody could be asked, or
/// another engine has the turn: then that is the end, the turn is free, and nothing else follows.
/// With YES the engine waits for proceedToEraseWithArray:
///   - it answers false: the log could not be opened, or progress not be shown. The user was told
///     of the log, as a sheet; nothing was erased, the turn is free, and nothing else follows. Who
///     called it posts "stopWorking" for others, with the engine as the sender;
///   - it answers true: "stopWorking" follows, once, on the main thread, when the turn is free and
///     the progress closed; before proceedToEraseWithArray returns if Stop had come first. It has
///     figures when something was erased or the helper had work, and none when nothing was erased,
///     Stop came before the first entry, or no thread was to be had;
///   - it is never called: the turn is free once the engine is let go.
///
/// Every other erase has its answer from askToContinue, which posts "stopWorking" without figures
/// when the user declined, and nothing when another engine has the turn.
namespace EraseNotification {
inline constexpr std::string_view kStopWorking = "stopWorking";
inline constexpr std::string_view kUpdateCountAndSizeToDelete = "updateCountAndSizeToDelete";
inline constexpr std::string_view kWaitForResponse = "waitForResponse";

inline constexpr std::string_view kErasedCount = "erasedCount";            // std::uint64_t
inline constexpr std::string_view kErasedSize = "erasedSize";              // std::uint64_t
inline constexpr std::string_view kWasStoppedByUser = "wasStoppedByUser";  // bool
inline constexpr std::string_view kSize = "size";                          // std::uint64_t
inline constexpr std::string_view kCount = "count";                        // std::uint64_t
inline constexpr std::string_view kItemsToErase = "itemsToErase";          // SharedItemsToErase
inline constexpr std::string_view kCanContinue = "canContinue";            // bool
inline constexpr std::string_view kItemsDict = "itemsDict";                // UserInfo
}  // namespace EraseNotification

/// One checked entry, as the list in the confirmation shows it.
struct CheckedEntry {
    std::string name;                   ///< exact bytes
    std::string originalFolder{};       ///< exact bytes; empty when it is not known
    std::optional<std::uint64_t> size;  ///< bytes; none of a folder that was not measured yet
};

/// The checked entries of one volume.
struct CheckedVolume {
    QString name;
    std::size_t count = 0;
    /// Makes an entry for the list. It is called on the main thread when the entry's row is looked
    /// at, as long as the confirmation shows, and must own what it uses.
    std::function<CheckedEntry(std::size_t index)> entry;
};

/// What an erase is asked to do.
struct EraseRequest {
    bool isSmartErase = false;
    bool isAllDisks = false;
    std::vector<TrashLocation> volumeArray;  ///< all disks: the trashes to count and erase
    QString volumeName;                      ///< single disk: the disk's name
    std::uint64_t size = 0;                  ///< bytes; 0 for all disks
    std::uint64_t count = 0;                 ///< entries; 0 for all disks
    /// Smart erase: the parent of sheets. When it goes, an open question is dismissed with it.
    WindowHandle window = nullptr;
    UserInfo itemsDict;  ///< smart erase: handed back in "waitForResponse"
    /// Smart erase: what the confirmation's list shows; empty for a confirmation without a list.
    std::vector<CheckedVolume> checked;
    /// Smart erase: how many of the checked entries a filter hides, which the confirmation says.
    std::uint64_t hiddenCount = 0;
    /// Who will post the figures as "updateCountAndSizeToDelete" after this request: the sender of
    /// that notification, which is nullptr for the late totals of the Smart Window. Without a value
    /// `size` and `count` are final. All disks: the engine counts, whatever stands here.
    std::optional<const void*> countSender;
    /// The trashes that are to be empty afterwards: records without data go, too.
    std::vector<TrashLocation> wholeTrashes;
    /// Smart erase: the trashes that hold the entries. Here and above, a volume that is not the one
    /// that was listed any more is told at the end, since it took its entries along.
    std::vector<TrashLocation> trashes;
    /// Volumes that the user may take to be meant and that are not; named in question and report.
    std::vector<LeftOutVolume> leftOut;

    RefusedEntries locked = RefusedEntries::Ask;
    RefusedEntries forbidden = RefusedEntries::Ask;
    bool confirmed = false;  ///< the user confirmed elsewhere: as if "show_alert" were off
    bool askAlways = false;  ///< ask whatever "show_alert" says
    bool writesLog = true;   ///< false: no log, whatever "write_log" says
};

/// Starts the ticks that drive progress; DisplayTick::start but for tests.
using DisplayTickFactory =
    std::function<Result<std::unique_ptr<DisplayTick>>(std::function<bool()> callback)>;

/// What an engine works with. All of it must outlive the engine.
struct EraseServices {
    QVFilesUtilities& files;
    QVNumberUtilities& numbers;
    QVDateUtilities& dates;
    QVErrorDelegate& presenter;
    UserDefaults& defaults;
    NotificationCenter& center;
    StringTable& texts;
    ProgressViewFactory makeProgressView;
    HelperAccess helper;
    DisplayTickFactory startTick = &DisplayTick::start;
    /// Whether a volume is still the one that was listed; isVolumeMounted but for tests.
    std::function<bool(const FileUrl& volume, std::uint64_t mountId)> isMounted = &isVolumeMounted;
    /// Shows the user the erase that is under way already, when another one was asked for.
    std::function<void()> bringForward = [] {};
};

}  // namespace kestrin
