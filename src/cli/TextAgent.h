// SPDX-License-Identifier: GPL-3.0-or-later
// The place where an administrator types the password when there is no desktop to ask on.
#pragma once

#include <termios.h>

#include <QProcess>
#include <optional>

namespace kestrin {

/// While it lives, pkttyagent(1) asks on this process' terminal for what the policy service wants
/// to know about this process, unless the desktop has an agent of its own. Without pkttyagent
/// nothing happens. Main thread.
class TextAgent {
 public:
    /// Waits until the policy service knows the agent, a few seconds at most, and serves events
    /// meanwhile.
    TextAgent();
    /// Ends it and gives the terminal back as it was.
    ~TextAgent();
    TextAgent(const TextAgent&) = delete;
    TextAgent& operator=(const TextAgent&) = delete;

 private:
    void start(int notifyDescriptor);
    void waitUntilKnown(int notifications);

    QProcess m_agent;
    std::optional<termios> m_settings;
};

}  // namespace kestrin
