// SPDX-License-Identifier: GPL-3.0-or-later
// The helper on the bus: takes commands, has each checked, lets them run one after the other.
#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusServiceWatcher>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>

#include "base/OperationQueue.h"
#include "helper/CallerCheck.h"

namespace kestrin {

/// Implements QVHelperToolProtocol. A command goes through these steps, each only after the one
/// before: its form, the caller's credentials, the policy service, whether the caller is still
/// there; then its list is read, the call is answered, and it waits for its turn. A caller has one
/// command at a time, a user a few; the number and bytes of what waits are bounded. A caller that
/// leaves the bus counts as one that said Stop. A command whose caller wants no reply is ignored.
/// Main thread, which never waits for the bus; erasing and reading run on queues of their own.
class HelperService final : public QObject, protected QDBusContext {
    Q_OBJECT
 public:
    /// The process ends (QCoreApplication::quit) when nothing was asked for that long.
    HelperService(const QDBusConnection& bus, std::chrono::seconds idleTime);
    ~HelperService() override;

    /// Takes the helper's name on the bus. False when another helper has it, or when it may not be
    /// had.
    bool start();
    /// Stops every command at its next entry, and ends the process after the last.
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
    void readList(const RequestPtr& request);
    void accept(const RequestPtr& request, Result<EraseItems> items);
    void waitForTurn(const RequestPtr& request);
    void carryOut(const RequestPtr& request);
    void carryOutErase(const RequestPtr& request);
    void carryOutUnlock(const RequestPtr& request);
    void stop(const RequestPtr& request);
    void refuse(const RequestPtr& request, const char* error, const QString& reason);
    void end(const RequestPtr& request);
    void callerLeft(const QString& caller);
    void leaveWhenIdle();
    void leaveUnlessCalled();

    QDBusConnection m_bus;
    QDBusServiceWatcher m_callers;
    QTimer m_idle;
    bool m_isEnding = false;
    std::map<QString, RequestPtr> m_requests;  ///< by the caller's bus name
    std::size_t m_listBytes = 0;               ///< of the lists that were read
    OperationQueue m_reader{"kestrin-reader", 1};
    OperationQueue m_eraser{"kestrin-eraser", 1};
};

}  // namespace kestrin
