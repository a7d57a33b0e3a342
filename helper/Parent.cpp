// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/Parent.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "helper/HelperProtocol.h"
#include "helper/Patience.h"
#include "helper/Worker.h"
#include "helper/WorkerProtocol.h"

namespace kestrin {
namespace {

using Clock = std::chrono::steady_clock;

/// Nothing but plain text is logged here: what libraries keep open for it would be the workers' as
/// well.
void log(const char* what, const char* why) {
    std::fprintf(stderr, "%s: %s: %s\n", kHelperService, what, why);
}

class Parent {
 public:
    Parent(UniqueFd service, pid_t serviceProcess, UniqueFd signals)
        : m_service(std::move(service)),
          m_serviceProcess(serviceProcess),
          m_signals(std::move(signals)) {
        m_workers.reserve(kMaximumWorkers);
    }

    int run() {
        while (!m_status) {
            const bool wasInTime = waitForNews();
            collect();
            if (!m_status && !wasInTime) killService();
        }
        m_service.reset();
        endWorkers();
        return *m_status;
    }

 private:
    struct Worker {
        std::uint64_t number;
        std::uint32_t user;
        pid_t process;
        bool isKilled = false;
    };

    /// Waits for a signal, which it takes, or a request, which it carries out. False when the time
    /// is over.
    bool waitForNews() {
        pollfd wanted[] = {{m_signals.get(), POLLIN, 0}, {m_service.get(), POLLIN, 0}};
        const int ready = ::poll(wanted, 2, millisecondsLeft());
        if (ready > 0 && wanted[0].revents != 0) takeSignal();
        if (ready > 0 && wanted[1].revents != 0) takeRequest();
        return ready != 0;
    }

    int millisecondsLeft() const {
        if (!m_deadline) return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*m_deadline - Clock::now());
        return static_cast<int>(std::max(left.count(), std::chrono::milliseconds::rep{0}));
    }

    void takeSignal() {
        signalfd_siginfo signal{};
        if (::read(m_signals.get(), &signal, sizeof signal) != sizeof signal) return;
        if (signal.ssi_signo == SIGCHLD || m_status) return;
        ::kill(m_serviceProcess, SIGTERM);
        if (!m_deadline) m_deadline = Clock::now() + kServicePatience;
    }

    /// The service's process stays its own until it is collected, and a worker's too.
    void collect() {
        int status = 0;
        pid_t process = 0;
        while ((process = ::waitpid(-1, &status, WNOHANG)) > 0) {
            if (process == m_serviceProcess) {
                m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 1;
            }
            const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : SIGKILL;
            if (signal != SIGKILL) log("a process was ended", ::strsignal(signal));
            std::erase_if(m_workers, [&](const Worker& one) { return one.process == process; });
        }
    }

    void takeRequest() {
        auto request = receiveParentRequest(m_service.get());
        if (!request) return loseService(request.error().systemError);
        if (auto* const start = std::get_if<StartRequest>(&*request)) {
            const std::uint64_t number = start->start.number;
            collect();  // the service may know already that some have ended
            if (number <= m_lastNumber || m_workers.size() == kMaximumWorkers) {
                return loseService(EPROTO);
            }
            m_lastNumber = number;
            startOne(std::move(*start));
        } else {
            const std::uint64_t number = std::get<KillWorker>(*request).number;
            if (number > m_lastNumber) return loseService(EPROTO);
            const auto found = std::ranges::find(m_workers, number, &Worker::number);
            if (found != m_workers.end()) kill(*found);
        }
    }

    static void kill(Worker& worker) {
        ::kill(worker.process, SIGKILL);
        worker.isKilled = true;
    }

    /// The service is about to end, or is no longer what it was.
    void loseService(int error) {
        m_service.reset();
        m_deadline = Clock::now() + kServicePatience;
        if (error == ECONNRESET) return;
        log("the service is killed for what it asked", std::strerror(error));
        killService();
    }

    /// What the kernel cannot end is left behind.
    void killService() {
        if (std::exchange(m_isServiceKilled, true)) {
            m_status = 1;
            return;
        }
        ::kill(m_serviceProcess, SIGKILL);
        m_deadline = Clock::now() + kKillPatience;
    }

    void startOne(StartRequest request) {
        const pid_t process = ::fork();
        if (process == 0) runWorker(std::move(request));
        if (process > 0) {
            m_workers.push_back({request.start.number, request.start.user, process});
        } else {
            log("fork", std::strerror(errno));  // the service sees that the socket is closed
        }
    }

    void endWorkers() {
        const auto mayEnd = [](const Worker& worker) { return !worker.isKilled; };
        waitForWorkers(kAlonePatience, [&] { return std::ranges::any_of(m_workers, mayEnd); });
        for (Worker& worker : m_workers) {
            if (worker.isKilled) continue;
            log("a worker is killed", ("of user " + std::to_string(worker.user)).c_str());
            kill(worker);
        }
        waitForWorkers(kKillPatience, [this] { return !m_workers.empty(); });
        if (!m_workers.empty()) log("a worker is left behind", "the kernel cannot end it");
    }

    template <class Condition>
    void waitForWorkers(std::chrono::seconds patience, Condition areThere) {
        m_deadline = Clock::now() + patience;
        for (bool isInTime = true; isInTime && areThere(); collect())
            isInTime = waitForNews();
    }

    UniqueFd m_service;
    const pid_t m_serviceProcess;
    const UniqueFd m_signals;
    std::uint64_t m_lastNumber = 0;
    std::vector<Worker> m_workers;
    bool m_isServiceKilled = false;
    std::optional<Clock::time_point> m_deadline;  ///< of whatever is waited for
    std::optional<int> m_status;                  ///< of the service, once it is over
};

}  // namespace

UniqueFd takeSignals(Signals wanted) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    if (wanted == Signals::OfTheEndAndChildren) sigaddset(&signals, SIGCHLD);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return UniqueFd(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

int runParent(UniqueFd service, pid_t serviceProcess) {
    UniqueFd signals = takeSignals(Signals::OfTheEndAndChildren);
    return Parent(std::move(service), serviceProcess, std::move(signals)).run();
}

}  // namespace kestrin
