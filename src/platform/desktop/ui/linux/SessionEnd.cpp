// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/SessionEnd.h"

#include <fcntl.h>
#include <unistd.h>

#include <QGuiApplication>
#include <QSessionManager>
#include <QSocketNotifier>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

namespace kestrin {

namespace {

constexpr std::array<int, 3> kSignals{SIGINT, SIGTERM, SIGHUP};

// What the handler may touch: lock-free atomics only.
std::atomic<int> s_writeEnd{-1};
std::atomic<bool> s_endRequested{false};

void handleSignal(int signal) {
    const int keptErrno = errno;
    if (s_endRequested.exchange(true)) {
        // Takes effect when the handler returns and the signal is let through again.
        ::signal(signal, SIG_DFL);
        ::raise(signal);
        return;
    }
    const char byte = 's';
    [[maybe_unused]] const ssize_t written = ::write(s_writeEnd, &byte, 1);
    errno = keptErrno;
}

bool isIgnored(int signal) {
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void install(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int signal : kSignals) {
        if (signal == SIGHUP && isIgnored(signal)) continue;
        ::sigaction(signal, &action, nullptr);
    }
}

}  // namespace

class SessionEnd::Watch : public QObject {
 public:
    explicit Watch(std::function<void(Reason)> ending) : m_ending(std::move(ending)) {
        watchSignals();
        connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { end(Reason::Quitting); });
        if (const auto* application = qobject_cast<QGuiApplication*>(qApp)) {
            watchSession(*application);
        }
    }

    ~Watch() override {
        if (m_readEnd < 0) return;
        install(SIG_DFL);
        m_notifier.reset();
        ::close(m_readEnd);
        ::close(s_writeEnd.exchange(-1));
    }

 private:
    void watchSignals() {
        std::array<int, 2> ends{-1, -1};
        // Without a pipe the signals keep their default action, which ends the program, too.
        if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
        m_readEnd = ends[0];
        s_writeEnd = ends[1];
        s_endRequested = false;
        m_notifier = std::make_unique<QSocketNotifier>(m_readEnd, QSocketNotifier::Read);
        connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
            char byte = 0;
            if (::read(m_readEnd, &byte, 1) == 1) end(Reason::Signal);
        });
        install(handleSignal);
    }

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
    int m_readEnd = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

SessionEnd::SessionEnd(std::function<void(Reason)> ending)
    : m_watch(std::make_unique<Watch>(std::move(ending))) {}

SessionEnd::~SessionEnd() = default;

}  // namespace kestrin
