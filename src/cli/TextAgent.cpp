// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/TextAgent.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <QEventLoop>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTimer>
#include <array>
#include <chrono>
#include <csignal>

#include "platform/items/UniqueFd.h"

namespace kestrin {
namespace {

constexpr std::chrono::seconds kPatience(3);
constexpr int kEndPatience = 1000;  // milliseconds

}  // namespace

TextAgent::TextAgent() {
    termios settings{};
    if (::tcgetattr(STDIN_FILENO, &settings) == 0) m_settings = settings;
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) return;
    const UniqueFd notifications(pipe[0]);
    {
        const UniqueFd notifyDescriptor(pipe[1]);
        start(notifyDescriptor.get());
    }
    waitUntilKnown(notifications.get());
}

TextAgent::~TextAgent() {
    if (m_agent.state() != QProcess::NotRunning) {
        m_agent.terminate();
        if (!m_agent.waitForFinished(kEndPatience)) m_agent.kill();
    }
    // The agent may have been asking, with the echo off. Setting the terminal would stop a process
    // in the background.
    if (m_settings && ::tcgetpgrp(STDIN_FILENO) == ::getpgrp())
        ::tcsetattr(STDIN_FILENO, TCSANOW, &*m_settings);
}

void TextAgent::start(int notifyDescriptor) {
    const QString program = QStandardPaths::findExecutable(QStringLiteral("pkttyagent"));
    if (program.isEmpty()) return;
    // The agent speaks to the terminal itself; its complaints are of no use to the user.
    m_agent.setInputChannelMode(QProcess::ForwardedInputChannel);
    m_agent.setStandardOutputFile(QProcess::nullDevice());
    m_agent.setStandardErrorFile(QProcess::nullDevice());
    m_agent.setChildProcessModifier([notifyDescriptor] {
        ::fcntl(notifyDescriptor, F_SETFD, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    });
    QStringList words{QStringLiteral("--process"), QString::number(::getpid()),
                      QStringLiteral("--notify-fd"), QString::number(notifyDescriptor)};
    // An agent of the desktop goes first. Outside a session there can be none, and the policy
    // service would not look at an agent that stands back.
    if (qEnvironmentVariableIsSet("XDG_SESSION_ID")) words += QStringLiteral("--fallback");
    m_agent.start(program, words);
    m_agent.waitForStarted();
}

/// The agent closes its end of the pipe when it is known, and also when it dies.
void TextAgent::waitUntilKnown(int notifications) {
    QEventLoop loop;
    QSocketNotifier notifier(notifications, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &loop, &QEventLoop::quit);
    QTimer::singleShot(kPatience, &loop, &QEventLoop::quit);
    loop.exec();
}

}  // namespace kestrin
