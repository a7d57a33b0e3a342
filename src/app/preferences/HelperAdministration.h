// SPDX-License-Identifier: GPL-3.0-or-later
// What the user can see and do about the privileged helper at any time. Main thread only.
#pragma once

#include <QString>
#include <functional>

#include "base/Result.h"
#include "erase/QVSecureAccess.h"

namespace kestrin {

/// What was found of the privileged helper.
struct HelperState {
    enum class Kind {
        NotInstalled,
        Current,  ///< installed, and of the version that this program needs
        Other,    ///< installed, but of another version, or it does not answer
    };
    Kind kind = Kind::NotInstalled;
    /// Its version, or one sentence that says why it did not tell; empty when it is not installed.
    QString answer{};
    /// The package of the system that brought it, and the commands that remove and update that in a
    /// terminal; empty when none did.
    QString package{};
    QString removeCommand{};
    QString updateCommand{};
};

enum class HelperCommand {
    Install,
    Update,  ///< removes what is there first
    Remove,
};

/// The way to the helper. Where a function is not given, nothing is known or done.
struct HelperAdministration {
    /// Looks for the helper, asks its version and for its package, and calls `found` later on the
    /// main thread, after 15 s at most; while a command runs, after that. Never when the program
    /// ends before.
    std::function<void(std::function<void(const HelperState&)> found)> askState{};
    /// Has the command run as root, whatever "show_install_helper_tool" says, and asks nothing
    /// itself; returns when it is over. Events are served meanwhile. Errors: those of
    /// HelperInstaller.
    std::function<MaybeError(HelperCommand)> perform{};
};

/// The helper of this host. `setAuthorized` is called after every command with whether the helper
/// that is there then may be used. What the services name must live as long as the functions.
HelperAdministration helperAdministration(const SecureAccessServices& services,
                                          std::function<void(bool)> setAuthorized);

}  // namespace kestrin
