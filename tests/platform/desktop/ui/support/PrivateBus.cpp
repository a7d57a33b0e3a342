// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/support/PrivateBus.h"

#include <sys/prctl.h>

#include <csignal>

#include "support/TestEnvironment.h"

namespace kestrin::test {

namespace {

/// A bus that lets every message through and asks nobody who he is: the tests' user is not in the
/// user database, which a bus would consult.
constexpr char kConfiguration[] = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=/tmp</listen>
  <auth>ANONYMOUS</auth>
  <allow_anonymous/>
  <policy context="default">
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*" eavesdrop="true"/>
  </policy>
</busconfig>
)";

PrivateBus* s_bus = nullptr;

}  // namespace

PrivateBus::PrivateBus() {
    const ScratchFolder folder;
    writeFile(folder / "bus.conf", kConfiguration);
    m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--config-file=") + QString::fromStdString(folder / "bus.conf"),
                    QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                    QStringLiteral("--print-address=1")});
    if (!m_daemon.waitForReadyRead(5000)) return;
    m_address = m_daemon.readLine().trimmed();
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_address);
    s_bus = this;
}

PrivateBus::~PrivateBus() {
    s_bus = nullptr;
    m_daemon.terminate();  // takes its socket away, too
    m_daemon.waitForFinished();
}

PrivateBus* PrivateBus::shared() {
    return s_bus;
}

QDBusConnection PrivateBus::peer() {
    return QDBusConnection::connectToBus(QString::fromUtf8(m_address), QStringLiteral("peer"));
}

}  // namespace kestrin::test
