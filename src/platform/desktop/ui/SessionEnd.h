// SPDX-License-Identifier: GPL-3.0-or-later
// The several ways in which a program is told to end, as one. Main thread.
#pragma once

#include <functional>
#include <memory>

namespace kestrin {

/// While it lives, SIGTERM, SIGINT, SIGHUP, the end of the login session and QCoreApplication's
/// quit lead to one call.
class SessionEnd {
 public:
    enum class Reason {
        Signal,   ///< nothing has ended yet: stop the work, then quit
        Session,  ///< the same; the session waits only a moment for the call to return
        Quitting  ///< the event loop is over
    };

    /// `ending` is called once, on the main thread, from its event loop for a signal; never a
    /// second time for another reason. A second signal ends the process at once, as if there were
    /// no handler. A SIGHUP that the parent had ignored (nohup) stays ignored. One at a time.
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
