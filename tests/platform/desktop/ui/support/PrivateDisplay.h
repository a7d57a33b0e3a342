// SPDX-License-Identifier: GPL-3.0-or-later
// An X11 display that only the test program knows.
#pragma once

#include <QProcess>

namespace kestrin::test {

/// The display of this process, in memory; without Xvfb a screen that no desktop can be on. Made by
/// main() before QApplication.
class PrivateDisplay {
 public:
    PrivateDisplay();
    ~PrivateDisplay();
    PrivateDisplay(const PrivateDisplay&) = delete;
    PrivateDisplay& operator=(const PrivateDisplay&) = delete;

    /// Whether there is one.
    static bool exists();

 private:
    QProcess m_server;
};

}  // namespace kestrin::test

#define KESTRIN_REQUIRE_DISPLAY() \
    if (!kestrin::test::PrivateDisplay::exists()) GTEST_SKIP() << "needs Xvfb"
