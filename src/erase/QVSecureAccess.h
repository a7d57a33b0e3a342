// SPDX-License-Identifier: GPL-3.0-or-later
// The program's side of the privileged helper: installs it and removes it, asks for its version and
// gives it work. The helper is a service of the system bus; see helper/.
#pragma once

#include <QString>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "erase/HelperClient.h"
#include "erase/HelperConnection.h"
#include "erase/HelperInstaller.h"
#include "platform/desktop/Places.h"

namespace kestrin {

class QVErrorDelegate;
class StringTable;
class UserDefaults;

/// What the helper's client works with. All of it must outlive the client.
struct SecureAccessServices {
    const StringTable& texts;
    QVErrorDelegate& presenter;
    UserDefaults& defaults;
    BusOpener openBus = &openSystemBus;
    /// Whether the program is about to end: nothing is begun as root any more.
    std::function<bool()> programEnds = [] { return false; };
    FileUrl helperFile = location(Place::HelperTool);
    std::size_t maximumList = kMaximumList;  ///< bytes of one command's list; longer ones are split
    /// How soon Stop is said again while the helper has not told the end.
    std::chrono::milliseconds stopAgain{5000};
    /// How often a helper that is at work is asked for a sign of life.
    std::chrono::milliseconds signOfLife{30000};
};

/// Main thread; a call from another thread ends the process, as does an authorization that cannot
/// be made.
class QVSecureAccess final : public HelperClient {
 public:
    /// `delegate` hears of an erase; not needed for the installation. It must outlive the client.
    explicit QVSecureAccess(SecureAccessServices services, HelperDelegate* delegate = nullptr);
    /// Leaves the bus: the helper stops a command that is under way.
    ~QVSecureAccess() override;
    QVSecureAccess(const QVSecureAccess&) = delete;
    QVSecureAccess& operator=(const QVSecureAccess&) = delete;

    // --- Installation ---

    /// Has the helper installed or updated if the user agrees. True when it may be used. An error,
    /// but for a cancelled authorization, is shown.
    bool installHelperAppIfNeeded();
    /// Asks the user and installs; events are served meanwhile. There is no error either when there
    /// is nothing to ask: the helper is current, or "show_install_helper_tool" is on. Errors: those
    /// of blessHelperWithLabel; kAuthorizationCancelled when the user declined.
    MaybeError authorizeTheAccess();
    /// Installs this installation's own helper as root. Errors: kAuthorizationDenied,
    /// kAuthorizationCancelled; others say what the installer said.
    MaybeError blessHelperWithLabel(std::string_view label);
    /// Whether the helper is installed and of the version that this program needs. `helperExists`
    /// is set when its file is there, of whatever version.
    bool isHelperNeedBeInstalled(bool& helperExists);
    /// Takes the helper of that major version of the program away, as root. Failures show by its
    /// file still being there.
    void removeHelper(int majorVersion = kMajorVersion);

    /// Asks the helper for its version, for at most 5 s, while events are served.
    void getHelperToolVersion();
    /// The answer to that, or what went wrong instead of one. Process-wide.
    static const QString& helperVersion();

    // --- Commands ---

    /// Makes the connection unless there is a valid one. Errors: no bus.
    MaybeError connectToHelperTool();
    /// Connects, then calls `block` with the error of that or none.
    void connectAndExecuteCommandBlock(const std::function<void(const MaybeError&)>& block);

    /// As described in HelperClient. Whatever happens to the helper or the bus, the end comes: the
    /// items that are still there count as not erased, and the delegate shows the error. A helper
    /// that gives no sign of life twice, each for 5 s, is left to itself. Requires: a delegate, and
    /// no other work under way.
    void authorizedEraseWithDictionary(std::shared_ptr<const HelperRequest> request) override;
    /// The helper stops at its next entry, and what is left of the work is not begun. A helper that
    /// does not answer within 5 s, also later before its end, is left to itself: the end comes as
    /// with one that died.
    void stoppedByUser() override;

 private:
    struct Run;

    HelperConnection::Handlers handlers();
    void connectionInvalidated();
    void sendNextCommand();
    void listIsMade(const Result<CommandList>& list);
    MaybeError sendCommand(const CommandList& list);
    void commandAnswered(const QDBusError& answer);
    void itemsErased(const ErasedItems& items);
    void attributesNotRestored(const QStringList& paths);
    void commandFinished(std::uint64_t nonErasedCount);
    void commandInterrupted(bool mayGoOn);
    void stopAnswered(const QDBusError& answer);
    void endRun(std::uint64_t nonErasedCount, const MaybeError& error);
    void endRunByLooking(const MaybeError& error);
    void watchHelper();
    void later(std::function<void()> call);

    const SecureAccessServices m_services;
    AuthorizationForm m_authRef;
    std::string m_authorization;  ///< the 32 bytes that every command carries
    std::shared_ptr<HelperConnection> m_helperToolConnection;
    HelperDelegate* const m_delegate;
    std::shared_ptr<Run> m_run;
    const std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
};

}  // namespace kestrin
