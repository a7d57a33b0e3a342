// SPDX-License-Identifier: GPL-3.0-or-later
// Programs of our own that work for this one, each at the other end of a socket.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// A program that was started, until this goes: then it is killed, and collected without a wait.
/// Any thread, one at a time.
class ChildProgram {
 public:
    /// Starts `program`, which gets its own name as its only argument, `environment` ("NAME=value")
    /// and nothing else of ours: its standard input is its end of the socket (AF_UNIX,
    /// SOCK_SEQPACKET), its outputs lead nowhere, no other descriptor is open, no signal is blocked
    /// or ignored. Errors: those of socketpair(2), execve(2) and pidfd_open(2), by errorFromErrno.
    static Result<ChildProgram> start(const FileUrl& program,
                                      const std::vector<std::string>& environment);

    ChildProgram(ChildProgram&&) noexcept = default;
    ChildProgram& operator=(ChildProgram&& other) noexcept;
    ~ChildProgram();

    /// Our end of the socket, which never waits.
    int socket() const { return m_socket.get(); }
    /// Whether the program was ended because its processor time was over. It is asked when the
    /// other end of the socket was closed, and waits for the end of the program, 100 ms at most.
    bool ranOutOfProcessorTime() const;

    /// Lets the program use so many more seconds of processor time, counted from now, after which
    /// the kernel ends it. Errors: those of clock_gettime(2) and prlimit(2), such as ESRCH.
    MaybeError limitProcessorTime(std::chrono::seconds more);

 private:
    ChildProgram(int processId, UniqueFd process, UniqueFd socket);
    void end();

    int m_processId = 0;
    UniqueFd m_process;
    UniqueFd m_socket;
};

}  // namespace kestrin
