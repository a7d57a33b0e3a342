// SPDX-License-Identifier: GPL-3.0-or-later
// The controller of the program in the status area: the launch, the menu with a row for each disk,
// mounts and unmounts, and every action that starts an erase. One erase at a time. Main thread.
#pragma once

#include <QColor>
#include <QMenu>
#include <QObject>
#include <QRect>
#include <QString>
#include <QWidgetAction>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/OlderVersion.h"
#include "app/QVDiskMenuItemView.h"
#include "app/QVFullDiskAuthorization.h"
#include "app/TrashTotals.h"
#include "base/FileUrl.h"
#include "base/NotificationCenter.h"
#include "base/Result.h"
#include "base/UserDefaults.h"
#include "erase/EraseTurn.h"
#include "erase/QVDeleteItems.h"
#include "inventory/TrashListing.h"
#include "platform/desktop/PackageOwner.h"
#include "platform/desktop/Places.h"

namespace kestrin {

class FileWatcher;
class HotKeyCenter;
class QVErrorDelegate;
class QVPreferencesWindow;

/// What the menu's actions carry as their data. Rows have kFirstDisk and up.
namespace MenuTag {
inline constexpr int kPreferences = 20;
inline constexpr int kSmartWindow = 30;
inline constexpr int kEmptyAll = 31;
inline constexpr int kDisks = 32;
inline constexpr int kUpdates = 33;
inline constexpr int kFirstDisk = 1001;
}  // namespace MenuTag

/// The same for the service menu.
namespace ServiceTag {
inline constexpr int kWelcome = 1;
inline constexpr int kNewsletter = 4;
inline constexpr int kTellFriend = 5;
inline constexpr int kContact = 6;
inline constexpr int kUninstall = 12;
}  // namespace ServiceTag

/// The icon in the status area, as the controller sees it.
class StatusDisplay {
 public:
    virtual ~StatusDisplay() = default;
    virtual void setTrashIsFull(bool isFull) = 0;
    virtual void setToolTip(const QString& text) = 0;
    /// Opens the menu; false where only a click can do that.
    virtual bool openMenu() = 0;
};

/// The browsing window, as the controller sees it. When it is let go while it is open, it closes
/// first and posts "smartWindowDidClose".
class SmartWindow {
 public:
    virtual ~SmartWindow() = default;
    /// Shows the window or brings it to the front.
    virtual void showWindow() = 0;
    /// Whether it shows. A window that was closed is kept for a while.
    virtual bool isOpen() const = 0;
    /// Somebody else may have changed what the trashes hold.
    virtual void trashContentsDidChange() = 0;
};

/// The timers of a running program.
std::unique_ptr<QObject> startTimer(std::chrono::milliseconds delay, std::function<void()> call);

/// Takes what a file panel was left with (QDialog::Accepted or Rejected), and the chosen folders.
using FolderAnswer = std::function<void(int response, const std::vector<FileUrl>& folders)>;

/// What the controller works with. All of it must outlive the controller. Where a function is not
/// given, nothing is done.
struct AppServices {
    NotificationCenter& center;
    const StringTable& texts;
    const QVNumberUtilities& numbers;
    QVErrorDelegate& presenter;
    UserDefaults& defaults;
    TrashListing& trashes;
    DiskRowServices rows;
    std::function<std::shared_ptr<QVDeleteItems>()> makeEngine;
    /// Shows the icon with that menu; nullptr when there is no status area.
    std::function<std::unique_ptr<StatusDisplay>(QMenu&)> makeStatusItem;
    /// Begins to watch mounts: `changed` is called with whether a volume came, and where.
    std::function<void(std::function<void(bool, const std::string&)> changed)> watchMounts{};
    /// Sees to it that `trashContentsDidChange` is called when something comes into one of these
    /// trashes or goes from it. Called after every listing.
    std::function<void(const std::vector<TrashLocation>&)> watchTrashes{};
    /// Installs the privileged helper if need be; its result becomes gIsHelperAuthorized. Not given
    /// when the helper's client could not be made: then the launch asks and greets nobody.
    std::function<bool()> installHelper{};
    /// Whether the helper is there in the version that the program needs, found without asking.
    std::function<bool()> helperIsCurrent{};
    std::function<void()> showWelcome{};
    std::function<void()> showNewsletter{};
    std::function<void()> showInformation{};  ///< shows itself only when there is something new
    /// Looks in the background for a crash of an earlier run, and calls back with a report of it.
    std::function<void(std::function<void(const FileUrl& report)> found)> findCrashReport{};
    std::function<void(const FileUrl& file)> showText{};
    std::function<void()> showUpdates{};
    std::function<std::unique_ptr<SmartWindow>()> makeSmartWindow{};
    std::function<std::unique_ptr<QVPreferencesWindow>()> makePreferences{};
    std::function<void(const QString&)> openUrl{};
    /// Lets the user choose one folder, beginning at "/", under a text that may be empty. Returns
    /// at once.
    std::function<void(const QString& message, FolderAnswer answered)> chooseFolder{};
    /// Shows a file in the file manager, selected, and calls back when that has been done or cannot
    /// be.
    std::function<void(const FileUrl& file, std::function<void()> done)> reveal{};
    /// Tells later which package of the system has a file.
    std::function<void(const FileUrl& file, std::function<void(const PackageAnswer&)> found)>
        findPackageOwner{};
    /// As root, of that major version of the program; failures show by its file being there.
    std::function<void(int majorVersion)> removeHelper{};
    std::function<MaybeError()> removeLoginItem{};
    std::function<void()> pressStop{};      ///< in the progress window that is open
    std::function<bool()> bringForward{};   ///< the question or the progress, if one is open
    std::function<void()> dismissAlerts{};  ///< ends what is open without an answer
    std::function<void(const QString&)> tellUser{};  ///< one message of the desktop
    std::function<void()> terminate{};               ///< ends the event loop
    std::function<void()> beep{};
    /// The figures of the tool tip while no menu is open; with nullptr it says only what the rows
    /// counted.
    TrashTotals* totals = nullptr;
    HotKeyCenter* hotKeys = nullptr;  ///< with nullptr there are none
    const QVFullDiskAuthorization& fullDiskAccess = QVFullDiskAuthorization::sharedControl();
    FileUrl helperFile = location(Place::HelperTool);
    FileUrl preferencesFile = location(Place::PreferencesFile);
    OlderVersion olderVersion = kestrin::olderVersion();
    TimerFactory startTimer = &kestrin::startTimer;
};

class QVKestrin : public QObject {
    Q_OBJECT

 public:
    explicit QVKestrin(AppServices services);
    ~QVKestrin() override;

    // --- Launch and end ---

    /// How the program was started.
    enum class Launch {
        InStatusArea,    ///< it needs a status area
        ForSmartWindow,  ///< it shows the browsing window; without a status area it ends with that
        AtLogin,         ///< the same as InStatusArea, but no window opens before the user asks
    };
    /// Launches the program, step by step in a fixed order: the defaults, the menu, what is
    /// observed, and the greeting: on the first run the disclaimer, then the question for the
    /// helper, then the welcome window or what every other launch checks. The greeting serves
    /// events; a start at login puts it off until the user asks for something. False when a status
    /// area is needed and there is none; then the user was told, and the program ends.
    bool applicationDidFinishLaunching(Launch launch = Launch::InStatusArea);
    /// To be called when the browsing window is asked for during the launch. Where there is no
    /// status area the message that says so goes, and the launch goes on for the window.
    void launchForSmartWindow();
    /// Puts the icon into a status area that came after the launch.
    void statusAreaDidAppear();
    /// Stops an erase, dismisses every alert and then ends the program. A second call changes
    /// nothing.
    void quit();
    /// Presses Stop and waits for nothing, since the program ends in any case.
    void applicationWillTerminate();
    /// Whether one of the two was called. From then on nobody is asked and nothing is begun.
    bool isEnding() const { return m_isEnding; }
    /// Whether the launch asks the user at this moment. Every command then only brings the question
    /// forward.
    bool isGreeting() const { return m_greeting == Greeting::Open; }

    // --- First run, access and removal ---

    /// Asks the user to agree to what the program does, and returns the button: kAlertFirstButton
    /// when the user agrees.
    int isUserAgree();
    /// Shows the welcome window on the first run. Answers whether this is the first run.
    bool showFirstWindow();
    /// Tells the user, and opens the system's settings, when the program lacks the access to all
    /// files.
    void checkForFullDiskAccess();
    /// Removes the helper, the login item and the settings, if the user says so; then shows where
    /// the program is, and ends it. Returns before it has asked.
    void uninstall();

    // --- Preferences ---

    /// Registers the defaults, and says which of them restoring the warnings puts back.
    void setupDefaultsPreferences();
    /// Every setting with its default.
    SettingsMap defaultValues() const;
    /// Adds the defaults of the general settings: those that restoring the settings puts back.
    void defaultGeneralPreferences(SettingsMap& values) const;
    /// "keyCode" and "modifierFlags".
    QVariantMap defaultEmptyTrashHotKey() const;
    QVariantMap defaultSmartDeleteHotKey() const;
    /// Gives every key of `values` that stands in the settings file this value there, and does the
    /// same with the registered defaults. Without a settings file nothing happens.
    void revertToInitialValuesInDictionary(const SettingsMap& values);
    /// Makes the controller of the preferences, which follows the settings from then on, and has
    /// the desktop start the program at login if the setting says so. From then on changes that
    /// others make to the file and to the desktop's own settings are followed, too.
    void setupLogin();
    /// Takes over from the desktop's own settings that the program is not to start at login.
    void refreshLogin();
    /// Made on first use; nullptr where there are no preferences.
    QVPreferencesWindow* preferencesWindowController();
    /// Shows the window of the preferences.
    void preferencesAction();

    // --- Actions ---

    void mainMenuAction(int tag);
    void serviceMenuAction(int tag);
    void emptyAllTrashesAction();
    void emptyHardDriveTrashAction(QVDiskMenuItemView* row);
    void smartDeletion();
    /// Opens the check for updates, from the event loop.
    void checkForUpdate();
    /// Lets the user choose the folder of the start-up disk, and hands on the answer. Returns at
    /// once.
    void askForStartUpDisk(FolderAnswer answered);
    /// Do what a hot key or a second start asks for: the same as the menu's entry, but while a
    /// question, an erase or the browsing window is open they only bring that forward.
    void requestToEmptyAll();
    void requestSmartWindow();
    void requestPreferences();
    /// Answers a second start without a command: brings a question or an erase forward. When
    /// nothing is open it opens the menu, or says that the program runs where it cannot open a
    /// menu.
    void activate();

    // --- State ---

    bool isWorking() const { return m_isWorking; }
    bool menuIsOpen() const { return m_menuIsOpen; }
    QMenu& kestrinMenu() { return *m_kestrinMenu; }
    QMenu& subTrashMenu() { return *m_subTrashMenu; }
    QMenu& serviceMenu() { return *m_serviceMenu; }
    /// The action with that tag in either menu; nullptr when it is not there.
    QAction* itemWithTag(int tag) const;
    std::vector<QVDiskMenuItemView*> submenuViews() const;

    // --- Mounts ---

    void workspaceHardDrivesObserver(bool wasAdded, const std::string& devicePath);

    // --- Changes by others ---

    /// To be called when somebody filled or emptied a trash. The icon follows, and the rows forget
    /// what they counted; rows that are shown at the moment do so when their menu opens again.
    void trashContentsDidChange();

 private:
    /// An action and the row that it shows; the action owns the row.
    struct DiskRow {
        std::unique_ptr<QWidgetAction> action;
        QVDiskMenuItemView* view = nullptr;
        bool mayBeFull = false;  ///< what the listing said when the row was added
    };
    /// What a row shows: a trash, or a volume without one that could be erased. Then the location
    /// has no trash.
    struct RowContent {
        TrashLocation location;
        QString note;  ///< why it cannot be chosen; empty when it can
    };

    // The status menu (QVKestrin_menu.cpp)
    bool setupStatusMenu();
    bool canDoWithoutStatusArea();
    void setupStatusItem();
    void addCommandItems();
    QMenu* makeServiceMenu();
    void drawItems();
    void addSubTrashMenu();
    void menuNeedsUpdate(QMenu* menu);
    void menuWillOpen();
    QRect confinementRectForMenu(const QMenu& menu) const;
    void menuDidClose();
    void trashesChanged();
    void countForToolTip();
    void rebuildRows();
    std::vector<RowContent> rowContents() const;
    void addRowsOf(const ListedVolume& volume, std::vector<RowContent>& rows) const;
    static bool isRowOf(const DiskRow& row, const RowContent& content);
    bool showsRows(const std::vector<RowContent>& contents) const;
    void setRow(DiskRow& row, const RowContent& content, int menuItemTag);
    void tellOfUnusableTrashes();
    void updateDisksSubmenu(bool added, const std::string& devicePath);
    void addMountedDisk(const std::string& devicePath);
    void removeUnmountedDisk(const std::string& devicePath);
    void createMenuViews(std::size_t count, bool createNewArray);
    void addDiskMenuItem(const RowContent& content, DiskRow& row, int menuItemTag);
    void dropRow(DiskRow row);
    void updateEnabledItems();
    void updateStatusItem();
    QString statusText() const;
    QString emptyText(bool somethingIsLeftOut) const;
    QString figuresText(bool somethingIsLeftOut) const;
    std::optional<TrashFigures> figuresOfRows() const;

    // The greeting (QVKestrin_launch.cpp)
    bool mayBegin();
    void lookForHelper();
    void greet();
    void offerCrashReport();

    // The removal of the program (QVKestrin_uninstall.cpp)
    void offerToRemoveOlderVersion();
    void askToRemoveOlderVersion(const PackageAnswer& package);
    void removeOlderVersion(bool helperIsOfPackage);
    QString withPackage(const QString& message, const PackageAnswer& answer) const;
    void findOwner(const FileUrl& helper, void (QVKestrin::*ask)(const PackageAnswer&));
    void askToUninstall(const PackageAnswer& package);
    bool removeInstallation(const std::optional<PackageOwner>& helperOwner);
    void endUninstalled();

    // Preferences (QVKestrin_preferences.cpp)
    void watchSettings();

    // Hot keys (QVKestrin_hotkeys.cpp)
    void setupHotKeys();
    /// Shows in the menu the keys that work.
    void updateKeyEquivalents();

    // Erasing
    bool showWhatIsOpen();
    void setIsWorking(bool isWorking);
    bool smartWindowIsOpen() const { return m_smartWindow && m_smartWindow->isOpen(); }
    bool isErasing() const { return m_isAsking || EraseTurn::holder(); }
    void askToEmptyAll();
    void askAndErase(const std::shared_ptr<QVDeleteItems>& engine, const EraseRequest& request,
                     std::function<SharedItemsToErase()> itemsToErase);
    void proceedToEraseWithArray(QVDeleteItems& engine, const SharedItemsToErase& items);
    void stopWorking(const Notification& notification);
    void smartWindowDidClose();
    void endIfNothingIsErased();
    void tellWhatStayed(const QVDeleteItems& engine) const;
    void endNow();

    // Release of what is not needed
    void installEmptyTimer();
    void cleanSubmenuViews();
    void cleanSubMenuMemory();
    void installCleanSmartWindowMemory();
    void cleanSmartWindowMemory();
    void cleanMemoryNow();

    /// The questions and windows that end the launch.
    enum class Greeting { NotYet, Due, Open, Over };

    const AppServices m_services;
    bool m_isWorking = false;
    bool m_menuIsOpen = false;
    bool m_rowsAreStale = false;  ///< somebody changed a trash since they were made
    bool m_isAsking = false;      ///< an erase action waits for the list of trashes
    bool m_isEnding = false;
    bool m_isTellingOfStatusArea = false;  ///< that there is none
    bool m_isUninstalling = false;
    Launch m_launch = Launch::InStatusArea;
    Greeting m_greeting = Greeting::NotYet;  ///< until the menu is there
    std::optional<FileUrl> m_crashReport;    ///< that the user was not asked about yet
    std::unique_ptr<QMenu> m_kestrinMenu;
    QMenu* m_subTrashMenu = nullptr;  ///< child of m_kestrinMenu, as is the next
    QMenu* m_serviceMenu = nullptr;
    QColor m_itemsColor;  ///< that the pictures of the items were drawn in
    std::unique_ptr<StatusDisplay> m_statusItem;
    std::vector<DiskRow> m_submenuViews;
    std::set<FileUrl> m_toldUnusable;          ///< volumes that the user was told of
    std::map<FileUrl, QString> m_lastFigures;  ///< of trashes, as their rows last told them
    std::unique_ptr<SmartWindow> m_smartWindow;
    std::unique_ptr<QVPreferencesWindow> m_prefWindowCntrl;
    std::unique_ptr<FileWatcher> m_settingsWatcher;
    std::unique_ptr<FileWatcher> m_loginWatcher;
    std::unique_ptr<QObject> m_startTimer;
    std::unique_ptr<QObject> m_endTimer;
    std::unique_ptr<QObject> m_menuTimer;
    std::unique_ptr<QObject> m_smartWindowTimer;
    std::vector<Observation> m_hotKeyObservations;
    Observation m_stopObservation;
    Observation m_responseObservation;
    Observation m_smartWindowObservation;
    Observation m_firstTimeObservation;
};

}  // namespace kestrin
