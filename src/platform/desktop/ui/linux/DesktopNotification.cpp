// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/DesktopNotification.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QVariantMap>
#include <optional>
#include <utility>

#include "platform/desktop/ui/SingleInstance.h"

namespace kestrin {

namespace {

using Content = DesktopNotification::Content;

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kActionKey = QStringLiteral("action");

constexpr uint kExpired = 1;  ///< the reason of a notification's end: its time was over

enum class Stay { WhileTheDesktopLikes, UntilClosed };

QDBusMessage serviceCall(const QString& method) {
    return QDBusMessage::createMethodCall(kService, kPath, kService, method);
}

/// Calls `handle` with the answer, while `context` lives.
template <class T, class Handler>
void ask(QObject* context, const QDBusMessage& call, Handler handle) {
    auto* answer =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), context);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, context,
                     [answer, handle = std::move(handle)] {
                         answer->deleteLater();
                         handle(QDBusPendingReply<T>(*answer));
                     });
}

/// The service's answer to which form of text it takes.
bool understandsMarkup(const QDBusPendingReply<QStringList>& capabilities) {
    return capabilities.value().contains(QStringLiteral("body-markup"));
}

QDBusMessage notifyCall(const Content& content, uint replaces, bool withMarkup, Stay stay) {
    const bool stays = stay == Stay::UntilClosed;
    const QString body = withMarkup ? content.text.toHtmlEscaped() : content.text;
    QStringList actions;
    if (!content.actionTitle.isEmpty()) actions = {kActionKey, content.actionTitle};
    QVariantMap hints{{QStringLiteral("desktop-entry"), QLatin1String(kApplicationId)}};
    if (stays) hints.insert(QStringLiteral("resident"), true);
    QDBusMessage call = serviceCall(QStringLiteral("Notify"));
    call.setArguments({QStringLiteral("Kestrin"), replaces, QStringLiteral("kestrin"),
                       content.title, body, actions, hints, stays ? 0 : -1});
    return call;
}

/// Whether the bus says that nobody took the call, or that he went without an answer. A service
/// that is only slow may have done what it was asked: then the error is the library's own.
bool wasLost(const QDBusMessage& reply) {
    return reply.type() == QDBusMessage::ErrorMessage &&
           reply.service() == QLatin1String("org.freedesktop.DBus");
}

/// Tries again when the service went away while it was asked.
void sendMessage(const Content& content, int attempts) {
    QObject* const application = QCoreApplication::instance();
    const auto tryAgainIfLost = [content, attempts](const QDBusMessage& reply) {
        if (wasLost(reply) && attempts > 1) sendMessage(content, attempts - 1);
    };
    ask<QStringList>(application, serviceCall(QStringLiteral("GetCapabilities")),
                     [=](const QDBusPendingReply<QStringList>& capabilities) {
                         if (capabilities.isError()) return tryAgainIfLost(capabilities.reply());
                         ask<uint>(application,
                                   notifyCall(content, 0, understandsMarkup(capabilities),
                                              Stay::WhileTheDesktopLikes),
                                   [tryAgainIfLost](const QDBusPendingReply<uint>& reply) {
                                       tryAgainIfLost(reply.reply());
                                   });
                     });
}

}  // namespace

void showDesktopMessage(const QString& title, const QString& text) {
    constexpr int kAttempts = 2;
    sendMessage({.title = title, .text = text, .actionTitle = {}}, kAttempts);
}

/// At most one request is under way, so that the service sees changes in order and a notification
/// is never shown twice: of what is wanted meanwhile the newest is kept and sent then.
class DesktopNotification::Client : public QObject {
    Q_OBJECT

 public:
    explicit Client(std::function<void()> action)
        : QObject(QCoreApplication::instance()), m_action(std::move(action)) {}

    /// A request that is under way may still show something, which is then to be closed: the client
    /// lives until it is answered.
    void retire() {
        m_action = nullptr;
        m_isRetired = true;
        close();
    }

    void show(const Content& content) {
        if (m_isDismissed) return;
        m_wanted = content;
        listen();
        synchronize();
    }

    void close() {
        m_wanted.reset();
        synchronize();
    }

 private:
    Q_SLOT void actionInvoked(uint id, const QString&, const QDBusMessage& signal) {
        if (isOurs(id, signal) && m_action) m_action();
    }

    Q_SLOT void notificationClosed(uint id, uint reason, const QDBusMessage& signal) {
        if (!isOurs(id, signal)) return;
        m_isDismissed = reason != kExpired;
        m_wanted.reset();
        forgetShown();
    }

    /// The ids of a service mean nothing to another one.
    void ownerChanged(const QString& owner) {
        m_owner = owner;
        m_ownerIsNew = !owner.isEmpty();
        m_understandsMarkup.reset();
        forgetShown();
        if (m_ownerIsNew) synchronize();
    }

    /// Signals are heard from any sender, since naming one would make Qt ask, and wait, for who has
    /// the name.
    bool isOurs(uint id, const QDBusMessage& signal) const {
        return m_shown && id == m_id && signal.service() == m_owner;
    }

    void forgetShown() {
        m_id = 0;
        m_shown.reset();
    }

    void listen() {
        if (std::exchange(m_isListening, true)) return;
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.connect(QString(), kPath, kService, QStringLiteral("ActionInvoked"), this,
                    SLOT(actionInvoked(uint, QString, QDBusMessage)));
        bus.connect(QString(), kPath, kService, QStringLiteral("NotificationClosed"), this,
                    SLOT(notificationClosed(uint, uint, QDBusMessage)));
        auto* const watcher =
            new QDBusServiceWatcher(kService, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
        connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString&, const QString&, const QString& to) { ownerChanged(to); });
    }

    void synchronize() {
        if (m_isWaiting) return;
        if (m_shown != m_wanted) {
            if (!m_wanted) {
                sendClose();
            } else if (!m_understandsMarkup) {
                askForMarkup();
            } else {
                sendContent();
            }
        }
        if (m_isRetired && !m_isWaiting) deleteLater();
    }

    void sendClose() {
        QDBusMessage call = serviceCall(QStringLiteral("CloseNotification"));
        call.setArguments({m_id});
        call.setAutoStartService(false);
        QDBusConnection::sessionBus().send(call);
        forgetShown();
    }

    void askForMarkup() {
        request<QStringList>(serviceCall(QStringLiteral("GetCapabilities")),
                             [this](const QDBusPendingReply<QStringList>& reply) {
                                 m_understandsMarkup = understandsMarkup(reply);
                             });
    }

    void sendContent() {
        request<uint>(notifyCall(*m_wanted, m_id, *m_understandsMarkup, Stay::UntilClosed),
                      [this, sent = *m_wanted](const QDBusPendingReply<uint>& reply) {
                          m_id = reply.value();
                          m_shown = sent;
                      });
    }

    /// Calls `take` with the answer of the service that is there. What failed is not sent again
    /// before the next change or the next service.
    template <class T, class Take>
    void request(const QDBusMessage& call, Take take) {
        m_isWaiting = true;
        m_ownerIsNew = false;
        ask<T>(this, call, [this, take](const QDBusPendingReply<T>& reply) {
            m_isWaiting = false;
            const QString sender = reply.reply().service();
            const bool isTaken = !reply.isError() && (m_owner.isEmpty() || sender == m_owner);
            if (isTaken) {
                m_owner = sender;
                take(reply);
            }
            if (isTaken || m_ownerIsNew) return synchronize();
            if (m_isRetired) deleteLater();
        });
    }

    std::function<void()> m_action;
    std::optional<Content> m_wanted;
    std::optional<Content> m_shown;
    uint m_id = 0;    ///< of what is shown
    QString m_owner;  ///< the service's own name on the bus; empty while it is not known
    std::optional<bool> m_understandsMarkup;
    bool m_isWaiting = false;
    bool m_ownerIsNew = false;  ///< another service came while a request was under way
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
