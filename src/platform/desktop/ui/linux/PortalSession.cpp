// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/linux/PortalSession.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QUuid>
#include <limits>
#include <utility>

#include "base/SystemLog.h"
#include "platform/desktop/ui/KeyNames.h"
#include "platform/desktop/ui/SingleInstance.h"

namespace kestrin {

namespace {

using PortalShortcut = std::pair<QString, QVariantMap>;  // identifier, properties
using PortalShortcuts = QList<PortalShortcut>;

const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kShortcuts = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString kRequest = QStringLiteral("org.freedesktop.portal.Request");
const QString kSession = QStringLiteral("org.freedesktop.portal.Session");
constexpr char kShortcutsSignature[] = "a(sa{sv})";

/// A portal may be starting, or ask its user: the answer takes as long as it takes.
constexpr int kNoTimeout = std::numeric_limits<int>::max();

QDBusMessage portalCall(const QString& path, const QString& interface, const QString& method) {
    return QDBusMessage::createMethodCall(QLatin1String(kPortalService), path, interface, method);
}

void sendWithoutReply(QDBusMessage message) {
    message.setAutoStartService(false);
    QDBusConnection::sessionBus().send(message);
}

/// Where the portal answers and keeps what this connection began: "request" or "session".
QString portalPath(const char* kind, const QString& token) {
    QString sender = QDBusConnection::sessionBus().baseService().mid(1);
    sender.replace(u'.', u'_');
    return QStringLiteral("%1/%2/%3/%4").arg(kPath, QLatin1String(kind), sender, token);
}

/// XDG shortcuts specification, "CTRL+LOGO+BackSpace". Empty for a key that this host lacks.
QString preferredTrigger(const Shortcut& shortcut) {
    static constexpr std::pair<unsigned, const char*> kNames[] = {
        {ModifierFlag::kControl, "CTRL+"},
        {ModifierFlag::kOption, "ALT+"},
        {ModifierFlag::kShift, "SHIFT+"},
        {ModifierFlag::kCommand, "LOGO+"}};
    const std::string symbol = keySymbolName(shortcut);
    if (symbol.empty()) return {};
    QString trigger;
    for (const auto& [flag, name] : kNames)
        if ((shortcut.modifierFlags & flag) != 0) trigger += QLatin1String(name);
    return trigger + QString::fromStdString(symbol);
}

PortalShortcuts described(const std::vector<HotKey>& hotKeys) {
    PortalShortcuts shortcuts;
    for (const HotKey& hotKey : hotKeys) {
        QVariantMap properties{{QStringLiteral("description"), hotKey.description}};
        const QString trigger = preferredTrigger(hotKey.shortcut);
        if (!trigger.isEmpty()) properties.insert(QStringLiteral("preferred_trigger"), trigger);
        shortcuts.append({QString::fromStdString(hotKey.identifier), properties});
    }
    return shortcuts;
}

/// A map that stands in a message; empty for anything else.
QVariantMap mapIn(const QVariant& value) {
    return qdbus_cast<QVariantMap>(value);
}

}  // namespace

PortalSession::PortalSession(std::vector<HotKey> hotKeys, HotKeyHost::Handlers handlers)
    : m_hotKeys(std::move(hotKeys)), m_handlers(std::move(handlers)) {
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<PortalShortcuts>();
    QDBusConnection bus = QDBusConnection::sessionBus();
    // Without a bus no question has an answer, not even that there is none.
    if (!bus.isConnected()) {
        m_phase = Phase::Failed;
        return;
    }
    const auto listen = [&](const QString& signal, const char* slot) {
        bus.connect(QLatin1String(kPortalService), kPath, kShortcuts, signal, this, slot);
    };
    listen(QStringLiteral("Activated"), SLOT(activated(QDBusMessage)));
    listen(QStringLiteral("ShortcutsChanged"), SLOT(shortcutsChanged(QDBusMessage)));
    // A portal that does not know the program by its cgroup is told; others refuse.
    QDBusMessage introduction = portalCall(
        kPath, QStringLiteral("org.freedesktop.host.portal.Registry"), QStringLiteral("Register"));
    introduction.setArguments({QLatin1String(kApplicationId), QVariantMap()});
    bus.send(introduction);
    const QString token = newToken();
    m_path = portalPath("session", token);
    call(QStringLiteral("CreateSession"), {}, {{QStringLiteral("session_handle_token"), token}},
         &PortalSession::bindKeys);
}

PortalSession::~PortalSession() {
    if (m_phase == Phase::Failed) return;
    const QString close = QStringLiteral("Close");
    if (m_granted) sendWithoutReply(portalCall(m_requestPath, kRequest, close));
    sendWithoutReply(portalCall(m_path, kSession, close));
}

const QString* PortalSession::trigger(std::string_view identifier) const {
    const auto found = m_triggers.find(identifier);
    return found == m_triggers.end() ? nullptr : &found->second;
}

bool PortalSession::canConfigure() const {
    constexpr uint kFirstWithDialog = 2;
    return m_phase == Phase::Granted && m_version >= kFirstWithDialog;
}

void PortalSession::configure() {
    if (!canConfigure()) return;
    QDBusMessage message = portalCall(kPath, kShortcuts, QStringLiteral("ConfigureShortcuts"));
    message.setArguments({QVariant::fromValue(QDBusObjectPath(m_path)), QString(), QVariantMap()});
    sendWithoutReply(message);
}

void PortalSession::portalIsGone() {
    setPhase(Phase::Failed);
}

/// Nobody can guess it.
QString PortalSession::newToken() {
    return QLatin1String("kestrin_") + QUuid::createUuid().toString(QUuid::Id128);
}

/// Puts a question whose answer comes as a signal, which may be sent before the call returns.
void PortalSession::call(const QString& method, QVariantList arguments, QVariantMap options,
                         Answer granted) {
    const QString token = newToken();
    options.insert(QStringLiteral("handle_token"), token);
    const QString expectedPath = portalPath("request", token);
    listenForResponse(expectedPath);
    m_granted = granted;
    QDBusMessage message = portalCall(kPath, kShortcuts, method);
    message.setArguments(arguments << options);
    auto* const watcher = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(message, kNoTimeout), this);
    const auto begun = [this, watcher, expectedPath] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (m_requestPath != expectedPath) return;
        if (reply.isError()) {
            qCInfo(lcPlatform) << "no hot keys by a portal:" << reply.error().message();
            return setPhase(Phase::Failed);
        }
        // Portals before version 0.9 choose the path.
        if (reply.value().path() != expectedPath) listenForResponse(reply.value().path());
    };
    connect(watcher, &QDBusPendingCallWatcher::finished, this, begun);
}

void PortalSession::listenForResponse(const QString& requestPath) {
    m_requestPath = requestPath;
    QDBusConnection::sessionBus().connect(QLatin1String(kPortalService), requestPath, kRequest,
                                          QStringLiteral("Response"), this,
                                          SLOT(responded(QDBusMessage)));
}

void PortalSession::responded(const QDBusMessage& message) {
    if (message.path() != m_requestPath || !m_granted || m_phase == Phase::Failed) return;
    const QVariantList arguments = message.arguments();
    if (message.signature() != QLatin1String("ua{sv}")) return;
    const Answer granted = std::exchange(m_granted, nullptr);
    constexpr uint kGranted = 0;
    constexpr uint kRefusedByUser = 1;
    const uint code = arguments[0].toUInt();
    if (code == kGranted) return (this->*granted)(mapIn(arguments[1]));
    setPhase(code == kRefusedByUser ? Phase::Refused : Phase::Failed);
}

void PortalSession::bindKeys(const QVariantMap& results) {
    const QVariant handle = results.value(QStringLiteral("session_handle"));
    const QString path = handle.canConvert<QDBusObjectPath>()
                             ? handle.value<QDBusObjectPath>().path()
                             : handle.toString();
    if (!path.isEmpty()) m_path = path;
    QDBusConnection::sessionBus().connect(QLatin1String(kPortalService), m_path, kSession,
                                          QStringLiteral("Closed"), this, SLOT(closed()));
    setPhase(Phase::Begun);
    askForVersion();
    call(QStringLiteral("BindShortcuts"),
         {QVariant::fromValue(QDBusObjectPath(m_path)), QVariant::fromValue(described(m_hotKeys)),
          QString()},
         {}, &PortalSession::takeKeys);
}

void PortalSession::takeKeys(const QVariantMap& results) {
    setTriggers(results.value(QStringLiteral("shortcuts")));
    setPhase(Phase::Granted);
}

void PortalSession::askForVersion() {
    QDBusMessage message =
        portalCall(kPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message.setArguments({kShortcuts, QStringLiteral("version")});
    auto* const watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QVariant> reply = *watcher;
        if (reply.isError()) return;
        m_version = reply.value().toUInt();
        m_handlers.changed();
    });
}

void PortalSession::setPhase(Phase phase) {
    m_phase = phase;
    m_handlers.changed();
}

void PortalSession::setTriggers(const QVariant& shortcuts) {
    m_triggers.clear();
    if (!shortcuts.canConvert<QDBusArgument>()) return;
    const auto argument = shortcuts.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String(kShortcutsSignature)) return;
    for (const auto& [identifier, properties] : qdbus_cast<PortalShortcuts>(argument)) {
        m_triggers[identifier.toStdString()] =
            properties.value(QStringLiteral("trigger_description")).toString();
    }
}

void PortalSession::activated(const QDBusMessage& message) {
    const QVariantList arguments = message.arguments();
    if (message.signature() != QLatin1String("osta{sv}")) return;
    if (arguments[0].value<QDBusObjectPath>().path() != m_path) return;
    // With this the window that opens may come to the front.
    const QString token = mapIn(arguments[3]).value(QStringLiteral("activation_token")).toString();
    if (!token.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    QMetaObject::invokeMethod(
        this,
        [this, identifier = arguments[1].toString().toStdString()] {
            const auto pressed = m_handlers.pressed;  // which may end this session
            pressed(identifier);
        },
        Qt::QueuedConnection);
}

void PortalSession::shortcutsChanged(const QDBusMessage& message) {
    const QVariantList arguments = message.arguments();
    if (message.signature() != QLatin1String("o") + QLatin1String(kShortcutsSignature)) return;
    if (arguments[0].value<QDBusObjectPath>().path() != m_path) return;
    setTriggers(arguments[1]);
    m_handlers.changed();
}

void PortalSession::closed() {
    setPhase(Phase::Failed);
}

}  // namespace kestrin
