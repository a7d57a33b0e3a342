// SPDX-License-Identifier: GPL-3.0-or-later
// One call for the several ways in which a program is told to end. Main thread.
#pragma once

#include <functional>
#include <memory>

namespace kestrin {

/// While it lives, SIGTERM, SIGINT, SIGHUP, the end of the login session and QCoreApplication's
/// quit lead to one call.
class SessionEnd {
 public:
    enum class Reason {
        Signal,   ///< nothing has ended yet: the program stops its work, then quits
        Session,  ///< the same; the session waits only a moment for the call to return
        Quitting  ///< the event loop is over
    };

    /// Calls `ending` once, on the main thread, whatever other reasons follow. For a signal the
    /// call comes from the event loop. A second signal ends the process at once, as if there were
    /// no handler. A SIGHUP that the parent had ignored (nohup) stays ignored. Only one may exist.
    explicit SessionEnd(std::function<void(Reason)> ending);
    /// The signals have their default action again.
    ~SessionEnd();
    SessionEnd(const SessionEnd&) = delete;
    SessionEnd& operator=(const SessionEnd&) = delete;

 private:
    class Watch;
    std::unique_ptr<Watch> m_watch;
};

}  // namespace kestrin
