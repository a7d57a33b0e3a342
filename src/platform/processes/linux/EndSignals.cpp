// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/EndSignals.h"

#include <fcntl.h>
#include <unistd.h>

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
std::atomic<bool> s_wasCalled{false};
std::atomic<void (*)(int)> s_further{nullptr};

void handleSignal(int signal) {
    const int keptErrno = errno;
    if (s_wasCalled.exchange(true)) {
        s_further.load()(signal);
    } else {
        const char byte = 's';
        [[maybe_unused]] const ssize_t written = ::write(s_writeEnd, &byte, 1);
    }
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

EndSignals::EndSignals(std::function<void()> first, void (*further)(int signal))
    : m_first(std::move(first)) {
    std::array<int, 2> ends{-1, -1};
    // Without a pipe the signals keep their default action, which ends the program, too.
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    m_readEnd = ends[0];
    s_writeEnd = ends[1];
    s_wasCalled = false;
    s_further = further;
    m_notifier = std::make_unique<QSocketNotifier>(m_readEnd, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
        char byte = 0;
        if (::read(m_readEnd, &byte, 1) == 1) m_first();
    });
    install(handleSignal);
}

EndSignals::~EndSignals() {
    if (m_readEnd < 0) return;
    install(SIG_DFL);
    m_notifier.reset();
    ::close(m_readEnd);
    ::close(s_writeEnd.exchange(-1));
}

}  // namespace kestrin
