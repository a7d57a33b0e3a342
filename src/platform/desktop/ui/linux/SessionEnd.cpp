// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/SessionEnd.h"

#include <QGuiApplication>
#include <QSessionManager>
#include <csignal>
#include <utility>

#include "platform/processes/EndSignals.h"

namespace kestrin {

namespace {

/// Takes effect when the handler returns and the signal is let through again.
void endByDefault(int signal) {
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

}  // namespace

class SessionEnd::Watch : public QObject {
 public:
    explicit Watch(std::function<void(Reason)> ending)
        : m_ending(std::move(ending)), m_signals([this] { end(Reason::Signal); }, endByDefault) {
        connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { end(Reason::Quitting); });
        if (const auto* application = qobject_cast<QGuiApplication*>(qApp)) {
            watchSession(*application);
        }
    }

 private:
    void watchSession(const QGuiApplication& application) {
        // The desktop starts the program by its autostart entry, not once more by the session.
        connect(
            &application, &QGuiApplication::saveStateRequest, this,
            [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); },
            Qt::DirectConnection);
        connect(
            &application, &QGuiApplication::commitDataRequest, this,
            [this](QSessionManager&) { end(Reason::Session); }, Qt::DirectConnection);
    }

    void end(Reason reason) {
        if (const auto ending = std::exchange(m_ending, nullptr)) ending(reason);
    }

    std::function<void(Reason)> m_ending;
    EndSignals m_signals;
};

SessionEnd::SessionEnd(std::function<void(Reason)> ending)
    : m_watch(std::make_unique<Watch>(std::move(ending))) {}

SessionEnd::~SessionEnd() = default;

}  // namespace kestrin
