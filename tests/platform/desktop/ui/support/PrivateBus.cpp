// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/support/PrivateBus.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <string>

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
    // QProcess would leave the thread sanitizer blind on this thread: its child shares the memory
    // and never comes back from a call that the sanitizer follows.
    const std::string command =
        "exec setpriv --pdeathsig KILL dbus-daemon --config-file=" + (folder / "bus.conf") +
        " --nofork --nopidfile --print-address=1 --print-pid=1";
    m_output = ::popen(command.c_str(), "re");
    std::array<char, 512> line{};
    if (!m_output || !std::fgets(line.data(), line.size(), m_output)) return;
    m_address = QByteArray(line.data()).trimmed();
    if (std::fgets(line.data(), line.size(), m_output)) m_process = std::atoi(line.data());
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_address);
    s_bus = this;
}

PrivateBus::~PrivateBus() {
    s_bus = nullptr;
    if (m_process > 0) ::kill(m_process, SIGTERM);  // takes its socket away, too
    if (m_output) ::pclose(m_output);
}

PrivateBus* PrivateBus::shared() {
    return s_bus;
}

QDBusConnection PrivateBus::peer() {
    return QDBusConnection::connectToBus(QString::fromUtf8(m_address), QStringLiteral("peer"));
}

}  // namespace kestrin::test
