// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/HelperConnection.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QEventLoop>
#include <chrono>
#include <climits>
#include <utility>

#include "base/StringTable.h"
#include "erase/QVHelperToolProtocolProgressAdaptor.h"
#include "erase/QVHelperToolProtocolProxy.h"
#include "platform/items/SealedFile.h"
#include "platform/processes/LivingBus.h"

namespace kestrin {
namespace {

constexpr int kPatience = 5000;           // milliseconds
constexpr int kNoReplyTimeOut = INT_MAX;  // what the bus library takes for "none"
/// Where the bus library looks for it.
constexpr char kSystemBus[] = "unix:path=/run/dbus/system_bus_socket";

QString nextConnectionName() {
    static int count = 0;
    return QStringLiteral("kestrin-helper-%1").arg(++count);
}

QString busErrorText(const QDBusError& error) {
    return error.name() + QStringLiteral(": ") + error.message();
}

HostError textError(std::string_view domain, int code, const QString& text) {
    return {std::string(domain), code, 0, {{"errorString", text.toStdString()}}};
}

/// What to tell the user of an error that is not about authorization.
QString textOfError(const QDBusError& error, const StringTable& texts) {
    const auto text = [&](std::string_view key) {
        return texts.text(key, StringTable::Table::Errors);
    };
    if (error.name() == QLatin1String(HelperErrorName::kBusy)) return text("helper_busy"_errorKey);
    if (error.name() == QLatin1String(HelperErrorName::kInterrupted))
        return text("helper_interrupted"_errorKey);
    switch (error.type()) {
        case QDBusError::ServiceUnknown:
            return text("helper_unknown"_errorKey);
        case QDBusError::NoReply:
        case QDBusError::Timeout:
        case QDBusError::TimedOut:
            return text("helper_not_answering"_errorKey);
        case QDBusError::Disconnected:
        case QDBusError::NoServer:
            return text("helper_no_bus"_errorKey);
        default:
            return StringTable::filled(text("helper_failed"_errorKey), {busErrorText(error)});
    }
}

Result<QString> versionIn(const QDBusPendingCallWatcher& answer, const StringTable& texts) {
    const QDBusPendingReply<QString> reply = answer;
    if (reply.isError()) return helperError(reply.error(), texts);
    return reply.value();
}

}  // namespace

QDBusConnection openSystemBus(const QString& name) {
    const QByteArray address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    if (!busAnswers(address.isEmpty() ? kSystemBus : address.toStdString(),
                    std::chrono::milliseconds(kPatience))) {
        return QDBusConnection(name);
    }
    return QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
}

HostError helperError(const QDBusError& error, const StringTable& texts) {
    const auto of = [&](std::string_view domain, int code, const QString& text) {
        HostError made = textError(domain, code, text);
        made.userInfo.emplace("busError", busErrorText(error).toStdString());
        return made;
    };
    const auto text = [&](std::string_view key) {
        return texts.text(key, StringTable::Table::Errors);
    };
    if (error.name() == QLatin1String(HelperErrorName::kNotAuthorized))
        return of(kOSStatusErrorDomain, kAuthorizationDenied, text("user_not_authorized"_errorKey));
    if (error.name() == QLatin1String(HelperErrorName::kCancelled))
        return of(kOSStatusErrorDomain, kAuthorizationCancelled, text("helper_cancelled"_errorKey));
    return of(kBusErrorDomain, error.type(), textOfError(error, texts));
}

Result<CommandList> commandList(const EraseItems& items) {
    const std::string xml = items.toXml();
    if (xml.size() <= kMaximumInlineList) return CommandList{QByteArray::fromStdString(xml), {}};
    Result<UniqueFd> file = sealedFile(xml);
    if (!file) return file.error();
    return CommandList{{}, std::move(*file)};
}

Result<std::shared_ptr<HelperConnection>> HelperConnection::open(const BusOpener& openBus,
                                                                 const StringTable& texts,
                                                                 Handlers handlers) {
    registerHelperTypes();
    const QString name = nextConnectionName();
    const QDBusConnection bus = openBus(name);
    if (!bus.isConnected()) {
        QDBusConnection::disconnectFromBus(name);
        return textError(kBusErrorDomain, QDBusError::NoServer,
                         texts.text("helper_no_bus"_errorKey, StringTable::Table::Errors));
    }
    return std::shared_ptr<HelperConnection>(new HelperConnection(bus, texts, std::move(handlers)));
}

HelperConnection::HelperConnection(const QDBusConnection& bus, const StringTable& texts,
                                   Handlers handlers)
    : m_bus(bus),
      m_texts(texts),
      m_handlers(std::move(handlers)),
      m_watcher(QLatin1String(kHelperService), bus, QDBusServiceWatcher::WatchForOwnerChange) {
    new QVHelperToolProtocolProgressAdaptor(this);
    m_bus.registerObject(QLatin1String(kProgressPath), this, QDBusConnection::ExportAdaptors);
    m_bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                  QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                  this, SLOT(busWentAway()));
    watchOwner();
    m_proxy = std::make_unique<QVHelperToolProtocolProxy>(QLatin1String(kHelperService),
                                                          QLatin1String(kHelperPath), m_bus);
    m_proxy->setTimeout(kPatience);
}

HelperConnection::~HelperConnection() {
    m_proxy.reset();
    QDBusConnection::disconnectFromBus(m_bus.name());
}

/// The changes from now on, and who owns the name already.
void HelperConnection::watchOwner() {
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) { ownerChanged(owner); });
    QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetNameOwner"));
    question << QLatin1String(kHelperService);
    auto* const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<QString> reply = *watcher;
        if (!reply.isError() && m_owner.isEmpty()) m_owner = reply.value();
        watcher->deleteLater();
    });
}

void HelperConnection::ownerChanged(const QString& owner) {
    const bool wasOwned = !m_owner.isEmpty();
    m_owner = owner;
    if (wasOwned || owner.isEmpty()) invalidate();
}

void HelperConnection::invalidate() {
    if (!std::exchange(m_isValid, false)) return;
    m_handlers.invalidated();
}

Result<QString> HelperConnection::version() {
    QDBusPendingCallWatcher watcher(m_proxy->getVersion());
    QEventLoop loop;
    connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    if (!watcher.isFinished()) loop.exec();
    if (!watcher.isFinished())  // the program ends
        return helperError(QDBusError(QDBusError::NoReply, QString()), m_texts);
    return versionIn(watcher, m_texts);
}

void HelperConnection::askVersion(std::function<void(const Result<QString>&)> answered) {
    auto* const watcher = new QDBusPendingCallWatcher(m_proxy->getVersion(), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, answered = std::move(answered)] {
                watcher->deleteLater();
                answered(versionIn(*watcher, m_texts));
            });
}

void HelperConnection::erase(std::string_view authorization, const CommandList& list,
                             std::function<void(const QDBusError&)> answered) {
    QDBusMessage command = QDBusMessage::createMethodCall(
        QLatin1String(kHelperService), QLatin1String(kHelperPath),
        QLatin1String(QVHelperToolProtocolProxy::staticInterfaceName()),
        list.file ? QStringLiteral("eraseFromFile") : QStringLiteral("erase"));
    command << QByteArray(authorization.data(), static_cast<qsizetype>(authorization.size()));
    if (list.file) {
        command << QVariant::fromValue(QDBusUnixFileDescriptor(list.file.get()));
    } else {
        command << list.bytes;
    }
    command.setInteractiveAuthorizationAllowed(true);
    auto* const watcher =
        new QDBusPendingCallWatcher(m_bus.asyncCall(command, kNoReplyTimeOut), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [watcher, answered = std::move(answered)] {
                watcher->deleteLater();
                answered(watcher->error());
            });
}

void HelperConnection::setStoppedByUser(std::function<void(const QDBusError&)> answered) {
    auto* const watcher = new QDBusPendingCallWatcher(m_proxy->setStoppedByUser(true), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [watcher, answered = std::move(answered)] {
                watcher->deleteLater();
                answered(watcher->error());
            });
}

bool HelperConnection::isCalledByHelper() {
    if (!m_owner.isEmpty() && message().service() == m_owner) return true;
    sendErrorReply(QDBusError::AccessDenied, QStringLiteral("this is for the helper alone"));
    return false;
}

void HelperConnection::itemsErased(const ErasedItems& items) {
    if (isCalledByHelper()) m_handlers.itemsErased(items);
}

void HelperConnection::attributesNotRestored(const QStringList& items) {
    if (isCalledByHelper()) m_handlers.attributesNotRestored(items);
}

void HelperConnection::finishedWithNonErasedCount(quint64 count) {
    if (isCalledByHelper()) m_handlers.finishedWithNonErasedCount(count);
}

void HelperConnection::interrupted(bool mayGoOn) {
    if (isCalledByHelper()) m_handlers.interrupted(mayGoOn);
}

}  // namespace kestrin
