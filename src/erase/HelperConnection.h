// SPDX-License-Identifier: GPL-3.0-or-later
// The connection to the privileged helper over the system bus.
#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <string_view>

#include "base/Result.h"
#include "helper/HelperProtocol.h"
#include "platform/items/UniqueFd.h"

class QVHelperToolProtocolProxy;

namespace kestrin {

class StringTable;

inline constexpr std::string_view kBusErrorDomain = "DBusErrorDomain";
/// Codes in kOSStatusErrorDomain.
inline constexpr int kAuthorizationDenied = -60005;
inline constexpr int kAuthorizationCancelled = -60006;

/// Opens a connection of that name to the bus that the helper is on.
using BusOpener = std::function<QDBusConnection(const QString& name)>;
/// To the system bus. Not connected when nobody answers there within 5 s.
QDBusConnection openSystemBus(const QString& name);

/// The program's error for an error of the bus or the helper: kOSStatusErrorDomain with
/// kAuthorizationDenied or kAuthorizationCancelled, else kBusErrorDomain with QDBusError's type.
/// "errorString" is a text for the user, "busError" the bus' own name and message.
HostError helperError(const QDBusError& error, const StringTable& texts);

/// The list of a command as it travels: in the call, or, when it is long, in a memory file.
struct CommandList {
    QByteArray bytes;
    UniqueFd file;  ///< sealed; none when the bytes are all
};
/// Makes it, which takes long when the list is. Thread: any. Errors: of the memory file.
Result<CommandList> commandList(const EraseItems& items);

/// One connection, from its making until it is invalid: when the helper's name lost its owner (it
/// ended), or the bus went away. Main thread; callbacks come from the event loop.
class HelperConnection : public QObject, protected QDBusContext {
    Q_OBJECT

 public:
    struct Handlers {
        std::function<void(const ErasedItems&)> itemsErased = [](const ErasedItems&) {};
        std::function<void(const QStringList& paths)> attributesNotRestored =
            [](const QStringList&) {};
        std::function<void(quint64 count)> finishedWithNonErasedCount = [](quint64) {};
        std::function<void(bool mayGoOn)> interrupted = [](bool) {};
        /// Called once at most; the connection is of no use.
        std::function<void()> invalidated = [] {};
    };

    /// Errors: no bus.
    static Result<std::shared_ptr<HelperConnection>> open(const BusOpener& openBus,
                                                          const StringTable& texts,
                                                          Handlers handlers);
    ~HelperConnection() override;

    bool isValid() const { return m_isValid; }

    /// The helper's version, waited for at most 5 s, while events are served. Starts the helper
    /// when it is not running. The caller keeps the connection alive meanwhile.
    Result<QString> version();
    /// Asks for it, too, and returns at once; `answered` is called within 5 s, unless the
    /// connection goes before.
    void askVersion(std::function<void(const Result<QString>&)> answered);
    /// Gives the command to erase, with the bytes of an AuthorizationForm. `answered` gets the
    /// reply, an error that is not valid when the command was accepted, however long that takes:
    /// the user may be asked for a password.
    void erase(std::string_view authorization, const CommandList& list,
               std::function<void(const QDBusError&)> answered);
    /// `answered` is called when the helper has answered, what it accepted before being known by
    /// then; with an error when it is not there, or has not answered for 5 s.
    void setStoppedByUser(std::function<void(const QDBusError&)> answered);

    // Called by the helper over the bus; anybody else is refused.
    void itemsErased(const kestrin::ErasedItems& items);
    void attributesNotRestored(const QStringList& items);
    void finishedWithNonErasedCount(quint64 count);
    void interrupted(bool mayGoOn);

 private:
    HelperConnection(const QDBusConnection& bus, const StringTable& texts, Handlers handlers);

    void watchOwner();
    void ownerChanged(const QString& owner);
    void invalidate();
    bool isCalledByHelper();

    QDBusConnection m_bus;
    const StringTable& m_texts;
    const Handlers m_handlers;
    std::unique_ptr<QVHelperToolProtocolProxy> m_proxy;
    QDBusServiceWatcher m_watcher;
    QString m_owner;  ///< the helper's unique name; empty before it runs
    bool m_isValid = true;

 private Q_SLOTS:
    void busWentAway() { invalidate(); }
};

}  // namespace kestrin
