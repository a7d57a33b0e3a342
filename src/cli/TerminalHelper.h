// SPDX-License-Identifier: GPL-3.0-or-later
// The privileged helper, as the terminal commands use it.
#pragma once

#include <memory>

#include "erase/HelperClient.h"

namespace kestrin {

class Console;
class HelperLibrary;
class QVErrorDelegate;

/// Finds out about the helper, and loads what it takes to talk to it, as soon as an entry needs it.
/// Until then a command has no part in any bus. Must outlive the erase.
class TerminalHelper {
 public:
    TerminalHelper(Console& console, QVErrorDelegate& presenter)
        : m_console(console), m_presenter(presenter) {}
    TerminalHelper(const TerminalHelper&) = delete;
    TerminalHelper& operator=(const TerminalHelper&) = delete;

    /// The engine's access to the helper. When the helper cannot be used, a line on the terminal
    /// says why. Where the terminal can ask, the password can be typed there.
    HelperAccess access();

 private:
    bool isUsable();
    bool load();
    std::unique_ptr<HelperClient> makeClient(HelperDelegate& delegate);

    Console& m_console;
    QVErrorDelegate& m_presenter;
    HelperLibrary* m_library = nullptr;
};

}  // namespace kestrin
