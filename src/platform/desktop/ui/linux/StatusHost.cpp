// SPDX-License-Identifier: GPL-3.0-or-later
// Waiting for a status area without letting Qt decide on one too early.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QTimer>
#include <utility>

#include "platform/desktop/ui/StatusItem.h"
#include "platform/desktop/ui/linux/SystemTrayOwner.h"

namespace kestrin {

namespace {

const QString kWatcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kWatcherPath = QStringLiteral("/StatusNotifierWatcher");

QDBusMessage hostQuestion() {
    QDBusMessage question = QDBusMessage::createMethodCall(
        kWatcherName, kWatcherPath, QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    question.setArguments({kWatcherName, QStringLiteral("IsStatusNotifierHostRegistered")});
    question.setAutoStartService(false);
    return question;
}

/// Ends itself with its one answer.
class HostWait : public QObject {
    Q_OBJECT

 public:
    HostWait(std::chrono::milliseconds timeout, std::function<void(bool)> done)
        : QObject(QCoreApplication::instance()),
          m_done(std::move(done)),
          m_trayOwner([this] { finish(true); }) {
        QTimer::singleShot(timeout, this, [this] { finish(false); });
    }

    void begin() {
        if (m_trayOwner.exists()) {
            finish(true);
        } else {
            watchBus();
            askWatcher();
        }
    }

 private:
    Q_SLOT void askWatcher() {
        auto* answer = new QDBusPendingCallWatcher(
            QDBusConnection::sessionBus().asyncCall(hostQuestion()), this);
        connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
            answer->deleteLater();
            const QDBusPendingReply<QDBusVariant> reply = *answer;
            // A watcher without a host: Qt would turn to X11's tray, for good.
            if (reply.isValid() && reply.value().variant().toBool()) finish(true);
        });
    }

    void watchBus() {
        QDBusConnection bus = QDBusConnection::sessionBus();
        auto* names = new QDBusServiceWatcher(kWatcherName, bus,
                                              QDBusServiceWatcher::WatchForRegistration, this);
        connect(names, &QDBusServiceWatcher::serviceRegistered, this, &HostWait::askWatcher);
        // From any sender: naming it here would make Qt ask, and wait, for who has the name.
        bus.connect(QString(), kWatcherPath, kWatcherName,
                    QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(askWatcher()));
    }

    void finish(bool isFound) {
        if (!m_done) return;
        deleteLater();
        std::exchange(m_done, nullptr)(isFound);
    }

    std::function<void(bool)> m_done;
    SystemTrayOwner m_trayOwner;
};

}  // namespace

void StatusItem::waitForHost(std::chrono::milliseconds timeout,
                             std::function<void(bool found)> done) {
    (new HostWait(timeout, std::move(done)))->begin();
}

}  // namespace kestrin

#include "StatusHost.moc"
