// SPDX-License-Identifier: GPL-3.0-or-later
// The helper on the bus: takes commands, has each checked, and has workers carry them out.
#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusServiceWatcher>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QSocketNotifier>
#include <QStringList>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "helper/CallerCheck.h"
#include "helper/CommandRun.h"
#include "helper/Workers.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// Implements QVHelperToolProtocol. A command goes through these steps, each only after the one
/// before: its form, the caller's credentials, the policy service, its turn. Then a worker is
/// started, which reads the list, accepts or refuses it, and carries it out; what it unlocked and
/// did not lock again another worker puts back. A user's commands run one after the other, those of
/// different users beside each other. A caller has one command at a time, a user a few; the number
/// and bytes of what waits are bounded. A caller that leaves the bus counts as one that said Stop.
/// A command whose caller wants no reply is ignored. Nothing of a user's is opened or read here.
/// Main thread, which never waits.
class HelperService final : public QObject, protected QDBusContext {
    Q_OBJECT
 public:
    /// `parent` is the socket to the process that starts workers. The process ends
    /// (QCoreApplication::quit) when nothing was asked for that long, and when the parent has gone.
    HelperService(const QDBusConnection& bus, UniqueFd parent, std::chrono::seconds idleTime);
    ~HelperService() override;

    /// Takes the helper's name on the bus. False when another helper has it, or when it may not be
    /// had.
    bool start();
    /// Refuses what waits, stops every command at its next entry, and ends the process after the
    /// last. No caller is waited for.
    Q_SLOT void shutDown();

    QString getVersion();
    void erase(const QByteArray& authorization, const QByteArray& itemsDictionary);
    void eraseFromFile(const QByteArray& authorization,
                       const QDBusUnixFileDescriptor& itemsDictionary);
    QStringList unlockItems(const QStringList& items);
    void setStoppedByUser(bool stopped);

 private:
    struct Request;
    using RequestPtr = std::shared_ptr<Request>;

    void admit(const RequestPtr& request, const QByteArray* authorization);
    void check(const RequestPtr& request);
    bool hasRoomFor(const Request& request) const;
    bool identify(Request& request, std::uint32_t user) const;
    void checked(const RequestPtr& request, const CallerCheck::Answer& answer);
    void beginNext();
    bool hasTurn(const Request& request) const;
    MaybeError begin(const RequestPtr& request);
    void refuse(const RequestPtr& request, const char* error, const QString& reason);
    void end(const RequestPtr& request);
    void callerLeft(const QString& caller);
    void wasUsed();
    void logRefusals();
    void leaveWhenAllIsOver();
    void leaveWhenIdle();
    void leaveUnlessCalled();

    QDBusConnection m_bus;
    Workers m_workers;
    QSocketNotifier m_parentWatch;
    QDBusServiceWatcher m_callers;
    QTimer m_idle;
    QTimer m_memory;             ///< until what calls took is given up
    QTimer m_logging;            ///< the minute in which refusals are counted
    std::size_t m_refusals = 0;  ///< in that minute
    bool m_isEnding = false;
    bool m_isLeaving = false;
    std::map<QString, RequestPtr> m_requests;         ///< by the caller's bus name
    std::vector<RequestPtr> m_waiting;                ///< for their turn, the next first
    std::vector<std::unique_ptr<CommandRun>> m_over;  ///< to be let go by the event loop
};

}  // namespace kestrin
