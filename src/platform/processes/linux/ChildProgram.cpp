// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/ChildProgram.h"

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <time.h>

// The header of glibc 2.36 does not say that these are C.
extern "C" {
#include <sys/pidfd.h>
}

#include <algorithm>
#include <cerrno>
#include <memory>
#include <utility>

#include "platform/items/HostErrors.h"
#include "platform/processes/AnswerWithin.h"

namespace kestrin {
namespace {

HostError failure(int systemError) {
    return errorFromErrno(systemError, HostAccess::Read);
}

/// What the new process does between its birth and the program's start.
class SpawnPlan {
 public:
    explicit SpawnPlan(int socket) {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_adddup2(&m_actions, socket, STDIN_FILENO);
        posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&m_actions, STDOUT_FILENO, STDERR_FILENO);
        // Libraries open descriptors as well, and not all of them for this process alone.
        posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
        posix_spawnattr_init(&m_attributes);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&m_attributes, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&m_attributes, &signals);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnPlan() {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    /// 0 and the process id, or an errno.
    int spawn(const FileUrl& program, const std::vector<std::string>& environment, pid_t& process) {
        std::string name = program.path();
        std::vector<std::string> variables = environment;
        std::vector<char*> pointers;
        for (std::string& variable : variables)
            pointers.push_back(variable.data());
        pointers.push_back(nullptr);
        char* arguments[] = {name.data(), nullptr};
        return ::posix_spawn(&process, name.c_str(), &m_actions, &m_attributes, arguments,
                             pointers.data());
    }

 private:
    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
};

/// Collects a process that was killed. The kernel may keep it while it waits for a volume.
void collect(UniqueFd process) {
    const auto shared = std::make_shared<UniqueFd>(std::move(process));
    const auto wait = [shared](int options) {
        siginfo_t info{};
        const auto id = static_cast<id_t>(shared->get());
        while (::waitid(P_PIDFD, id, &info, WEXITED | options) != 0) {
            if (errno != EINTR) return true;
        }
        return info.si_pid != 0;
    };
    if (!wait(WNOHANG)) runAbandoned([wait] { wait(0); });
}

}  // namespace

Result<ChildProgram> ChildProgram::start(const FileUrl& program,
                                         const std::vector<std::string>& environment) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return failure(errno);
    UniqueFd ours(ends[0]);
    const UniqueFd theirs(ends[1]);
    if (::fcntl(ours.get(), F_SETFL, O_NONBLOCK) != 0) return failure(errno);
    pid_t processId = 0;
    if (const int error = SpawnPlan(theirs.get()).spawn(program, environment, processId)) {
        return failure(error);
    }
    UniqueFd process(::pidfd_open(processId, 0));
    if (!process) {
        const int error = errno;
        ::kill(processId, SIGKILL);
        ::waitpid(processId, nullptr, 0);  // it has only just begun, and waits for nothing
        return failure(error);
    }
    return ChildProgram(processId, std::move(process), std::move(ours));
}

ChildProgram::ChildProgram(int processId, UniqueFd process, UniqueFd socket)
    : m_processId(processId), m_process(std::move(process)), m_socket(std::move(socket)) {}

ChildProgram& ChildProgram::operator=(ChildProgram&& other) noexcept {
    if (this != &other) {
        end();
        m_processId = other.m_processId;
        m_process = std::move(other.m_process);
        m_socket = std::move(other.m_socket);
    }
    return *this;
}

ChildProgram::~ChildProgram() {
    end();
}

void ChildProgram::end() {
    if (!m_process) return;
    ::pidfd_send_signal(m_process.get(), SIGKILL, nullptr, 0);
    collect(std::exchange(m_process, UniqueFd()));
}

bool ChildProgram::ranOutOfProcessorTime() const {
    constexpr int kPatience = 100;  // milliseconds
    pollfd ended{m_process.get(), POLLIN, 0};
    siginfo_t info{};
    // Its descriptors are closed a moment before it has ended.
    return ::poll(&ended, 1, kPatience) == 1 &&
           ::waitid(P_PIDFD, static_cast<id_t>(m_process.get()), &info,
                    WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_status == SIGXCPU && (info.si_code == CLD_KILLED || info.si_code == CLD_DUMPED);
}

MaybeError ChildProgram::limitProcessorTime(std::chrono::seconds more) {
    // The id stays this program's own until it is collected.
    clockid_t clock{};
    timespec used{};
    rlimit limit{};
    if (const int error = ::clock_getcpuclockid(m_processId, &clock)) return failure(error);
    if (::clock_gettime(clock, &used) != 0 ||
        ::prlimit(m_processId, RLIMIT_CPU, nullptr, &limit) != 0) {
        return failure(errno);
    }
    // The kernel counts whole seconds; what has begun is rounded up.
    const auto wanted = static_cast<rlim_t>(used.tv_sec + 1 + more.count());
    limit.rlim_cur = std::min(wanted, limit.rlim_max);
    if (::prlimit(m_processId, RLIMIT_CPU, &limit, nullptr) != 0) return failure(errno);
    return {};
}

}  // namespace kestrin
