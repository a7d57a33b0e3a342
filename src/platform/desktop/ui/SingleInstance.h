// SPDX-License-Identifier: GPL-3.0-or-later
// One running program in each session (org.freedesktop.Application on the session bus). Main
// thread.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace kestrin {

/// The well-known name of the program, also of its desktop entry and its bus activation file.
inline constexpr char kApplicationId[] = "com.quorvane.Kestrin3";

/// Whether the session bus answers a greeting within `timeout`. It must be asked before
/// QApplication is made, since a bus that accepts and then keeps silent would block Qt for ever in
/// several places. On such a bus DBUS_SESSION_BUS_ADDRESS of this process is pointed nowhere and
/// the answer is false. The answer is true where only the bus library can tell: without an address,
/// or with one that is no local socket.
bool ensureLivingSessionBus(std::chrono::milliseconds timeout = std::chrono::seconds(1));

/// Holds the program's name on the session bus and takes the commands of later starts.
class SingleInstance {
 public:
    /// Called from the event loop.
    struct Commands {
        std::function<void()> activate;  ///< started again without an action, or with files to open
        std::map<std::string, std::function<void()>, std::less<>> actions;  ///< such as "quit"
    };
    enum class Start {
        First,       ///< this process has the name and will get commands
        HandedOver,  ///< another process has it and was sent the command: this one ends
        Alone,       ///< there is no bus: this process runs and gets no commands
    };

    explicit SingleInstance(Commands commands);
    /// Gives the name up.
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// Takes the name, or sends `action` (Activate when it is empty) to the process that has it. An
    /// owner that is too busy to answer finds the command later. On a bus that answered the
    /// greeting this blocks for 2 s at most.
    Start start(std::string_view action = {});

 private:
    class Exported;
    std::unique_ptr<Exported> m_exported;
};

}  // namespace kestrin
