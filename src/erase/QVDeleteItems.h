// SPDX-License-Identifier: GPL-3.0-or-later
// The engine that erases trashes for good: confirmation, counting, erasing on a background queue,
// questions, the helper's share, progress, log and end report. It never shows a window itself:
// alerts go through the presenter, progress through a progress view.
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
#include "erase/EraseDecisions.h"
#include "erase/HelperClient.h"
#include "erase/ProgressView.h"
#include "fsutil/QVFilesUtilities.h"
#include "inventory/QVItemToErase.h"
#include "platform/processes/DisplayTick.h"

namespace kestrin {

class QVDateUtilities;
class QVErrorDelegate;
class QVKestrinFileUtilities;
class QVNumberUtilities;
class StringTable;
class UserDefaults;
struct LogSettings;

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

/// Starts the ticks that drive progress; DisplayTick::start but for tests.
using DisplayTickFactory =
    std::function<Result<std::unique_ptr<DisplayTick>>(std::function<bool()> callback)>;

/// What an engine works with. All of it must outlive the engine.
struct EraseServices {
    QVFilesUtilities& files;
    QVKestrinFileUtilities& trash;
    QVNumberUtilities& numbers;
    QVDateUtilities& dates;
    QVErrorDelegate& presenter;
    UserDefaults& defaults;
    NotificationCenter& center;
    StringTable& texts;
    ProgressViewFactory makeProgressView;
    HelperAccess helper;
    DisplayTickFactory startTick = &DisplayTick::start;
};

/// One erase, from the question to the end. Made fresh for every request and kept alive by its own
/// background work. Everything not marked otherwise is called on the main thread.
///
/// Sequence: askToContinue; when it answers true (smart erase: when "waitForResponse" says
/// "canContinue"), proceedToEraseWithArray; the end is "stopWorking", posted once, on the main
/// thread. It carries the figures unless the confirmation was declined or nothing at all was
/// erased.
class QVDeleteItems : public std::enable_shared_from_this<QVDeleteItems> {
 public:
    static std::shared_ptr<QVDeleteItems> create(EraseServices services);
    ~QVDeleteItems();
    QVDeleteItems(const QVDeleteItems&) = delete;
    QVDeleteItems& operator=(const QVDeleteItems&) = delete;

    /// Counts (all disks, in the background) and asks for confirmation. False: the user declined,
    /// and "stopWorking" has been posted. A smart erase answers true at once and tells the user's
    /// answer by "waitForResponse", posted on a background thread.
    bool askToContinue(const EraseRequest& request);

    /// Has `call` made on the main thread once the figures are there; soon when they are there
    /// already. Never when Stop comes first.
    void whenCountHasArrived(std::function<void()> call);

    /// Starts erasing `items`, in their order; those gathered by the count when nullptr or empty.
    /// False: the log could not be opened or progress could not be shown; nothing was begun,
    /// nothing will be posted, `startProblem` says why. After a Stop nothing is begun either, but
    /// the end is posted at once.
    bool proceedToEraseWithArray(SharedItemsToErase items = nullptr);

    /// Presses Stop: the erase ends at its next entry, and one that has not begun ends as soon as
    /// it is to begin. An open confirmation stays open. Thread: any.
    void stop();

    // What an erase has come to; at its end the final figures. Thread: any.
    std::uint64_t totItemsDeleted() const;
    std::uint64_t totSizeDeleted() const;
    std::uint64_t notErasedCount() const;
    std::uint64_t itemBusyCount() const;
    bool isWorking() const;
    bool isStoppedByUser() const;
    SharedItemsToErase itemsToErase() const;
    /// Every entry that stayed, with its reason. An entry that was never begun is not among them.
    std::vector<StayedEntry> stayedEntries() const;
    /// Why proceedToEraseWithArray answered false, or that the log could not be written to its end;
    /// one sentence that names the file, else empty.
    QString startProblem() const;
    QString logProblem() const;

 private:
    struct State;
    class HelperLink;

    explicit QVDeleteItems(EraseServices services);

    void observeCount();
    void stopObservingCount();
    void updateCountAndSizeToDelete(const Notification& notification);
    void calculateSizeAndCount();
    void countTrashes();
    int showConfirmation();
    void waitForSheet();
    void sendSmartEraseNotificationResponse(bool canContinue);
    void cleanMemoryWithResponse(int response);

    bool emptyTrash(SharedItemsToErase items);
    bool startLogging(std::size_t entries);
    LogSettings logSettings(std::size_t entries) const;
    void resetForErasing();

    void erase(SharedItemsToErase items, const QString& mainText);
    void prepareProgressFields(const QString& mainText);
    static QString erasingText(State& state);
    void waitUntilItemsInfo();
    void iterateTrashes(const ItemsToErase& items);
    void addToNotTrashed(const QVItemToErase& entry);
    RefusalAnswer askToErase(const RefusalQuestion& question);
    void eraseWithAdminPrivileges();
    bool startHelper();

    void setupTick();
    bool tickOnce();
    void updateProgressStatus();
    static void showProgress(State& state);
    void updateProgressBar();
    void onProgress(std::function<void(State&)> change);
    void workIsOver();
    void endSession();
    void noteLogProblem();
    void reportWhatStayed();
    void stopWorking();
    void sendPartialStopWorking();
    void postStopWorking(bool withFigures);
    void stopWasPressed();

    std::unique_ptr<State> m_state;
};

}  // namespace kestrin
