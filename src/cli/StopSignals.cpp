// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/StopSignals.h"

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
std::atomic<bool> s_stopRequested{false};

void writeByte(int descriptor, char byte) {
    [[maybe_unused]] const ssize_t written = ::write(descriptor, &byte, 1);
}

void handleSignal(int) {
    const int keptErrno = errno;
    if (s_stopRequested.exchange(true)) {
        // Leaves the line of the progress or of a prompt behind for the shell's own prompt.
        if (::isatty(STDERR_FILENO) == 1) writeByte(STDERR_FILENO, '\n');
        ::_exit(kStatusStopped);
    }
    writeByte(s_writeEnd, 's');
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

StopSignals::StopSignals(std::function<void()> stop) : m_stop(std::move(stop)) {
    std::array<int, 2> ends{-1, -1};
    // Without a pipe the signals keep their default action, which ends the program, too.
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    m_readEnd = ends[0];
    s_writeEnd = ends[1];
    s_stopRequested = false;
    m_notifier = std::make_unique<QSocketNotifier>(m_readEnd, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this] { readPipe(); });
    install(handleSignal);
}

StopSignals::~StopSignals() {
    if (m_readEnd < 0) return;
    install(SIG_DFL);
    m_notifier.reset();
    ::close(m_readEnd);
    ::close(s_writeEnd.exchange(-1));
}

void StopSignals::readPipe() {
    char byte = 0;
    if (::read(m_readEnd, &byte, 1) == 1) m_stop();
}

}  // namespace kestrin
