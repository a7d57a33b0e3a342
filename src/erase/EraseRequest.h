// SPDX-License-Identifier: GPL-3.0-or-later
// What an erase is asked to do, what it works with, and the notifications that it sends and hears.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
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
    /// Who will post the figures as "updateCountAndSizeToDelete" after this request: the sender of
    /// that notification, which is nullptr for the late totals of the Smart Window. Without a value
    /// `size` and `count` are final. All disks: the engine counts, whatever stands here.
    std::optional<const void*> countSender;
    /// The trashes that are to be empty afterwards: records without data go, too.
    std::vector<TrashLocation> wholeTrashes;
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
    /// Whether a volume is still there; isVolumeMounted but for tests.
    std::function<bool(const FileUrl& volume)> isMounted = &isVolumeMounted;
    /// Shows the user the erase that is under way already, when another one was asked for.
    std::function<void()> bringForward = [] {};
};

}  // namespace kestrin
