// SPDX-License-Identifier: GPL-3.0-or-later
// A session bus that only the test program knows.
#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QString>
#include <cstdio>

namespace kestrin::test {

/// The session bus of this process. Made by main() before QApplication, since Qt keeps for ever
/// what it found at its first look.
class PrivateBus {
 public:
    PrivateBus();
    ~PrivateBus();

    /// The bus, or nullptr where there is no dbus-daemon.
    static PrivateBus* shared();

    /// A second connection, as another program would have it: the fake services stand on it.
    QDBusConnection peer();

 private:
    std::FILE* m_output = nullptr;  ///< what the daemon says: its address and its process
    QByteArray m_address;
    int m_process = 0;
};

}  // namespace kestrin::test

#define KESTRIN_REQUIRE_BUS() \
    if (!kestrin::test::PrivateBus::shared()) GTEST_SKIP() << "needs dbus-daemon"
