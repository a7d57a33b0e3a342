// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/DesktopNotification.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QObject>
#include <QVariantMap>
#include <optional>
#include <utility>

#include "platform/desktop/ui/SingleInstance.h"

namespace kestrin {

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kActionKey = QStringLiteral("action");

QDBusMessage serviceCall(const QString& method) {
    return QDBusMessage::createMethodCall(kService, kPath, kService, method);
}

}  // namespace

/// One request is under way at most, so that the service sees changes in order and a notification
/// is never shown twice: what is wanted meanwhile is kept, the newest alone, and sent then.
class DesktopNotification::Client : public QObject {
    Q_OBJECT

 public:
    explicit Client(std::function<void()> action)
        : QObject(QCoreApplication::instance()), m_action(std::move(action)) {}

    /// Goes when nothing is under way any more: what shows only now is still to be closed.
    void retire() {
        m_action = nullptr;
        if (m_wanted && m_wanted->stays) close();
        m_isRetired = true;
        if (!m_isWaiting) deleteLater();
    }

    void show(const Content& content) {
        if (m_isDismissed || m_wanted == content) return;
        m_wanted = content;
        listen();
        synchronize();
    }

    void close() {
        m_wanted.reset();
        m_isDismissed = false;
        synchronize();
    }

 private:
    Q_SLOT void actionInvoked(uint id, const QString&) {
        if (id == m_id && id != 0 && m_action) m_action();
    }

    /// The desktop or the user took it away.
    Q_SLOT void notificationClosed(uint id, uint) {
        if (id != m_id || id == 0) return;
        m_id = 0;
        m_sent.reset();
        m_isDismissed = m_wanted.has_value();
        m_wanted.reset();
    }

    /// From any sender: naming it here would make Qt ask, and wait, for who has the name.
    void listen() {
        if (std::exchange(m_isListening, true)) return;
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.connect(QString(), kPath, kService, QStringLiteral("ActionInvoked"), this,
                    SLOT(actionInvoked(uint, QString)));
        bus.connect(QString(), kPath, kService, QStringLiteral("NotificationClosed"), this,
                    SLOT(notificationClosed(uint, uint)));
    }

    void synchronize() {
        if (m_isWaiting || m_sent == m_wanted) return;
        if (!m_wanted) {
            sendClose();
        } else if (!m_understandsMarkup) {
            askForMarkup();
        } else {
            sendContent();
        }
    }

    void sendClose() {
        QDBusMessage call = serviceCall(QStringLiteral("CloseNotification"));
        call.setArguments({m_id});
        call.setAutoStartService(false);
        QDBusConnection::sessionBus().send(call);
        m_id = 0;
        m_sent.reset();
    }

    void askForMarkup() {
        await<QStringList>(serviceCall(QStringLiteral("GetCapabilities")),
                           [this](const QDBusPendingReply<QStringList>& reply) {
                               if (reply.isError()) return;
                               m_understandsMarkup =
                                   reply.value().contains(QStringLiteral("body-markup"));
                               synchronize();
                           });
    }

    void sendContent() {
        m_sent = m_wanted;
        await<uint>(contentCall(*m_sent), [this](const QDBusPendingReply<uint>& reply) {
            if (reply.isError()) {
                m_sent.reset();
                return;
            }
            m_id = reply.value();
            synchronize();
        });
    }

    QDBusMessage contentCall(const Content& content) const {
        const QString body = *m_understandsMarkup ? content.text.toHtmlEscaped() : content.text;
        QStringList actions;
        if (!content.actionTitle.isEmpty()) actions = {kActionKey, content.actionTitle};
        QVariantMap hints{{QStringLiteral("desktop-entry"), QLatin1String(kApplicationId)}};
        if (content.stays) hints.insert(QStringLiteral("resident"), true);
        QDBusMessage call = serviceCall(QStringLiteral("Notify"));
        call.setArguments({QStringLiteral("Kestrin"), m_id, QStringLiteral("kestrin"),
                           content.title, body, actions, hints, content.stays ? 0 : -1});
        return call;
    }

    template <class T, class Handler>
    void await(const QDBusMessage& call, Handler handle) {
        m_isWaiting = true;
        auto* answer =
            new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
        connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, handle] {
            answer->deleteLater();
            m_isWaiting = false;
            handle(QDBusPendingReply<T>(*answer));
            if (m_isRetired && !m_isWaiting) deleteLater();
        });
    }

    std::function<void()> m_action;
    std::optional<Content> m_wanted;
    std::optional<Content> m_sent;
    std::optional<bool> m_understandsMarkup;
    uint m_id = 0;
    bool m_isWaiting = false;
    bool m_isListening = false;
    bool m_isDismissed = false;
    bool m_isRetired = false;
};

DesktopNotification::DesktopNotification(std::function<void()> action)
    : m_client(new Client(std::move(action))) {}

DesktopNotification::~DesktopNotification() {
    if (m_client) m_client->retire();
}

void DesktopNotification::show(const Content& content) {
    m_client->show(content);
}

void DesktopNotification::close() {
    m_client->close();
}

}  // namespace kestrin

#include "DesktopNotification.moc"
