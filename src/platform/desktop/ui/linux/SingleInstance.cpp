// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/SingleInstance.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>
#include <utility>

#include "base/MainThread.h"
#include "base/SystemLog.h"

namespace kestrin {

namespace {

constexpr int kPatience = 1000;  // milliseconds, of each of the two questions
const QString kInterface = QStringLiteral("org.freedesktop.Application");
const QString kPath = QStringLiteral("/com/quorvane/Kestrin3");

enum class NameReply { Taken, Owned, NoBus };

QDBusMessage busCall(const QString& method, const QVariantList& arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), method);
    call.setArguments(arguments);
    return call;
}

NameReply requestName() {
    constexpr uint kDoNotQueue = 4;
    constexpr uint kPrimaryOwner = 1;
    constexpr uint kAlreadyOwner = 4;
    const QDBusMessage reply = QDBusConnection::sessionBus().call(
        busCall(QStringLiteral("RequestName"), {QLatin1String(kApplicationId), kDoNotQueue}),
        QDBus::Block, kPatience);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return NameReply::NoBus;
    }
    const uint code = reply.arguments().constFirst().toUInt();
    return code == kPrimaryOwner || code == kAlreadyOwner ? NameReply::Owned : NameReply::Taken;
}

/// What lets the running program's window come forward on the user's behalf.
QVariantMap platformData() {
    QVariantMap data;
    const auto add = [&data](const char* variable, const char* key) {
        const QString value = qEnvironmentVariable(variable);
        if (!value.isEmpty()) data.insert(QLatin1String(key), value);
    };
    add("DESKTOP_STARTUP_ID", "desktop-startup-id");
    add("XDG_ACTIVATION_TOKEN", "activation-token");
    return data;
}

QDBusMessage commandCall(std::string_view action) {
    const bool isActivate = action.empty();
    QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1String(kApplicationId), kPath, kInterface,
        isActivate ? QStringLiteral("Activate") : QStringLiteral("ActivateAction"));
    call.setAutoStartService(false);
    if (isActivate) {
        call.setArguments({platformData()});
    } else {
        call.setArguments({QString::fromUtf8(action.data(), static_cast<qsizetype>(action.size())),
                           QVariantList(), platformData()});
    }
    return call;
}

/// False when there was nobody to take it.
bool handOver(std::string_view action) {
    const QDBusMessage reply =
        QDBusConnection::sessionBus().call(commandCall(action), QDBus::Block, kPatience);
    const QDBusError error(reply);
    if (error.type() == QDBusError::ServiceUnknown ||
        error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner")) {
        return false;
    }
    if (error.isValid()) {
        qCWarning(lcPlatform) << "the running program did not confirm:" << error.message();
    }
    return true;
}

}  // namespace

class SingleInstance::Exported : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

 public:
    explicit Exported(Commands commands) : m_commands(std::move(commands)) {}

    // A command may ask the user something: the other process has its answer before that.
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData) {
        useToken(platformData);
        if (m_commands.activate) MainThread::post(m_commands.activate);
    }

    /// The program opens no files; a desktop that hands it some wants it to show itself.
    Q_SCRIPTABLE void Open(const QStringList&, const QVariantMap& platformData) {
        Activate(platformData);
    }

    Q_SCRIPTABLE void ActivateAction(const QString& name, const QVariantList&,
                                     const QVariantMap& platformData) {
        const auto action = m_commands.actions.find(name.toStdString());
        if (action == m_commands.actions.end()) {
            qCWarning(lcPlatform) << "no such action:" << name;
            return;
        }
        useToken(platformData);
        MainThread::post(action->second);
    }

 private:
    static void useToken(const QVariantMap& platformData) {
        const QString token = platformData.value(QStringLiteral("activation-token")).toString();
        if (!token.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    }

    Commands m_commands;
};

SingleInstance::SingleInstance(Commands commands)
    : m_exported(std::make_unique<Exported>(std::move(commands))) {}

SingleInstance::~SingleInstance() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterObject(kPath);
    bus.send(busCall(QStringLiteral("ReleaseName"), {QLatin1String(kApplicationId)}));
}

SingleInstance::Start SingleInstance::start(std::string_view action) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return Start::Alone;
    // Before the name: what the bus kept for it comes at once.
    bus.registerObject(kPath, m_exported.get(), QDBusConnection::ExportScriptableInvokables);
    for (int attempt = 0; attempt < 2; ++attempt) {
        const NameReply reply = requestName();
        if (reply == NameReply::Owned) return Start::First;
        if (reply == NameReply::NoBus) return Start::Alone;
        if (handOver(action)) return Start::HandedOver;
        // The owner ended between the two questions: the name is free now.
    }
    return Start::Alone;
}

}  // namespace kestrin

#include "SingleInstance.moc"
