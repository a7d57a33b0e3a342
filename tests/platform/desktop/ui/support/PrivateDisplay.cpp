// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/support/PrivateDisplay.h"

#include <sys/prctl.h>

#include <csignal>

namespace kestrin::test {

namespace {

bool s_exists = false;

}  // namespace

PrivateDisplay::PrivateDisplay() {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    m_server.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-nolisten"),
                    QStringLiteral("tcp"), QStringLiteral("-screen"), QStringLiteral("0"),
                    QStringLiteral("640x480x24")});
    if (!m_server.waitForReadyRead(10000)) return;
    qputenv("DISPLAY", ":" + m_server.readLine().trimmed());
    qputenv("QT_QPA_PLATFORM", "xcb");
    s_exists = true;
}

PrivateDisplay::~PrivateDisplay() {
    m_server.terminate();  // takes its socket away, too
    m_server.waitForFinished();
}

bool PrivateDisplay::exists() {
    return s_exists;
}

}  // namespace kestrin::test
