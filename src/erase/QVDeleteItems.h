// SPDX-License-Identifier: GPL-3.0-or-later
// The engine that erases trashes for good: confirmation, counting, erasing on a background queue,
// questions, the helper's share, progress, log and end report. It never shows a window itself: alerts
// go through the presenter, progress through a progress view.
#pragma once

#include <QString>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/FileUrl.h"
#include "base/NotificationCenter.h"
#include "base/Result.h"
#include "erase/AlertPanel.h"
#include "erase/HelperClient.h"
#include "erase/ProgressView.h"
#include "fsutil/QVFilesUtilities.h"
#include "inventory/QVItemToErase.h"
#include "platform/DisplayTick.h"

namespace kestrin {

class OperationQueue;
class QVAlert;
class QVErrorDelegate;
class QVKestrinFileUtilities;
class QVLogController;
class QVNumberUtilities;
class QVSmartWindowItem;
class StringTable;
class UserDefaults;

/// Names and user-info keys of the notifications that an erase sends or hears.
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

/// What to do with entries that are locked, or that the user may not remove.
enum class RefusedEntries {
    Ask,    ///< ask as described, the user's answer may hold for all
    Skip,   ///< leave them without asking, hidden ones too
    Erase,  ///< treat the question as answered with "erase" for all
};

/// What an erase is asked to do.
struct EraseRequest {
    bool isSmartErase = false;
    bool isAllDisks = false;
    std::vector<TrashLocation> volumeArray;  ///< all disks: the trashes to count and erase
    QString volumeName;                      ///< single disk: the disk's name
    std::uint64_t size = 0;                  ///< bytes; 0 for all disks
    std::uint64_t count = 0;                 ///< entries; 0 for all disks
    WindowHandle window = nullptr;           ///< smart erase: the parent of sheets
    UserInfo itemsDict;                      ///< smart erase: handed back in "waitForResponse"
    /// A later "updateCountAndSizeToDelete" will bring the figures. All disks: always so.
    bool countWillFollow = false;
    /// The trashes that are to be empty afterwards: records without data go, too.
    std::vector<FileUrl> wholeTrashes;

    RefusedEntries locked = RefusedEntries::Ask;
    RefusedEntries forbidden = RefusedEntries::Ask;
    bool confirmed = false;  ///< the user confirmed elsewhere: as if "show_alert" were off
    bool askAlways = false;  ///< ask whatever "show_alert" says
    bool writesLog = true;   ///< false: no log, whatever "write_log" says
};

enum class StayReason { Locked, Forbidden, Busy, MountPoint, ReadOnly, Error };

/// An entry that an erase left where it was: the refused entry itself, not the folders around it.
struct StayedEntry {
    FileUrl url;
    StayReason reason = StayReason::Error;
    QString message;       ///< one sentence for the user
    bool skipped = false;  ///< the user chose so
};

/// Starts the ticks that drive progress; DisplayTick::start but for tests.
using DisplayTickFactory =
    std::function<Result<std::unique_ptr<DisplayTick>>(std::function<bool()> callback)>;

/// What an engine works with. All of it must outlive the engine.
struct EraseServices {
    QVFilesUtilities& files;
    QVKestrinFileUtilities& trash;
    QVNumberUtilities& numbers;
    QVErrorDelegate& presenter;
    UserDefaults& defaults;
    NotificationCenter& center;
    StringTable& texts;
    ProgressViewFactory makeProgressView;
    HelperAccess helper;
    DisplayTickFactory startTick = &DisplayTick::start;
};
