// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/PackageOwner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>
#include <vector>

#include "base/MainThread.h"
#include "platform/desktop/Places.h"
#include "platform/items/HostErrors.h"
#include "platform/items/UniqueFd.h"
#include "platform/processes/AnswerWithin.h"

namespace kestrin {
namespace {

using Clock = std::chrono::steady_clock;
using Command = std::vector<std::string>;

constexpr std::size_t kLongestOutput = 64 * 1024;
constexpr int kNotFound = 1;  // exit status of both programs for a file that no package has

struct ChildEnd {
    int exitStatus = -1;
    std::string output;
};

/// The environment of this process, but for the language: the answers are read by a program.
std::vector<char*> plainEnvironment() {
    static char plain[] = "LC_ALL=C";
    std::vector<char*> variables{plain};
    for (char** variable = environ; *variable; ++variable) {
        if (!std::string_view(*variable).starts_with("LC_ALL=")) variables.push_back(*variable);
    }
    variables.push_back(nullptr);
    return variables;
}

/// Starts a program of the search path whose output goes into `output`; 0 or an errno.
int spawn(const Command& command, int output, pid_t& child) {
    std::vector<char*> words;
    for (const std::string& word : command)
        words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const int failure =
        posix_spawnp(&child, words[0], &actions, nullptr, words.data(), plainEnvironment().data());
    posix_spawn_file_actions_destroy(&actions);
    return failure;
}

/// False when the deadline passed, or more came than such an answer can be.
bool readToEnd(int source, Clock::time_point deadline, std::string& output) {
    std::array<char, 4096> buffer{};
    while (output.size() <= kLongestOutput) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd wanted{source, POLLIN, 0};
        const int ready = ::poll(&wanted, 1, static_cast<int>(std::max<long>(left.count(), 0)));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return false;
        const ssize_t count = ::read(source, buffer.data(), buffer.size());
        if (count == 0) return true;
        if (count > 0) output.append(buffer.data(), static_cast<std::size_t>(count));
        if (count < 0 && errno != EINTR) return false;
    }
    return false;
}

/// Runs a program to its end and gives what it wrote; ENOENT when it is not there.
Result<ChildEnd> runChild(const Command& command, Clock::time_point deadline) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return errorFromErrno(errno, HostAccess::Read);
    const UniqueFd source(ends[0]);
    UniqueFd target(ends[1]);
    pid_t child = 0;
    if (const int failure = spawn(command, target.get(), child))
        return errorFromErrno(failure, HostAccess::Read);
    target.reset();
    ChildEnd end;
    const bool wasRead = readToEnd(source.get(), deadline, end.output);
    if (!wasRead) ::kill(child, SIGKILL);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!wasRead) return errorFromErrno(ETIMEDOUT, HostAccess::Read);
    if (WIFEXITED(status)) end.exitStatus = WEXITSTATUS(status);
    return end;
}

bool isInstalled(std::string_view program) {
    return std::ranges::any_of(std::array{"/usr/bin/", "/bin/", "/usr/sbin/"}, [&](auto folder) {
        return ::access(std::string(folder).append(program).c_str(), X_OK) == 0;
    });
}

/// The path as a pattern that fits nothing else.
std::string dpkgPattern(std::string_view path) {
    std::string pattern;
    for (const char byte : path) {
        if (std::string_view("*?[\\").find(byte) != std::string_view::npos) pattern += '\\';
        pattern += byte;
    }
    return pattern;
}

/// A line is "PACKAGE[:ARCHITECTURE][, …]: PATH". Lines on diversions name no package.
std::string packageOfDpkg(std::string_view output, std::string_view path) {
    const std::string ending = std::string(": ").append(path);
    while (!output.empty()) {
        const std::string_view line = output.substr(0, output.find('\n'));
        output.remove_prefix(std::min(line.size() + 1, output.size()));
        if (line.ends_with(ending) && !line.starts_with("diversion by "))
            return std::string(line.substr(0, line.find_first_of(":,")));
    }
    return {};
}

PackageOwner ofDpkg(const std::string& package) {
    if (!isInstalled("apt-get"))
        return {package, "sudo dpkg --remove " + package, "sudo dpkg --install FILE.deb"};
    return {package, "sudo apt-get remove " + package,
            "sudo apt-get update && sudo apt-get install " + package};
}

PackageOwner ofRpm(const std::string& package) {
    if (isInstalled("dnf"))
        return {package, "sudo dnf remove " + package, "sudo dnf upgrade " + package};
    if (isInstalled("zypper"))
        return {package, "sudo zypper remove " + package, "sudo zypper update " + package};
    return {package, "sudo rpm --erase " + package, "sudo rpm --upgrade FILE.rpm"};
}

/// Whether a program of the search path could not be started because it is not there. The path may
/// hold folders that are closed to the user.
bool isAbsent(const HostError& failure) {
    const int code = failure.systemError;
    return code == ENOENT || code == ENOTDIR || code == EACCES;
}

/// What `command` printed on the package that it found; empty when no package has the file, or the
/// program is not there.
Result<std::string> ask(const Command& command, Clock::time_point deadline) {
    Result<ChildEnd> end = runChild(command, deadline);
    if (!end && isAbsent(end.error())) return std::string();
    if (!end) return end.error();
    if (end->exitStatus == 0) return std::move(end->output);
    if (end->exitStatus == kNotFound) return std::string();
    return errorFromErrno(EIO, HostAccess::Read);
}

}  // namespace

PackageAnswer packageOwnerOf(const FileUrl& file, std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    const std::string& path = file.path();
    const auto dpkg = ask({"dpkg-query", "--search", dpkgPattern(path)}, deadline);
    if (!dpkg) return dpkg.error();
    if (const std::string package = packageOfDpkg(*dpkg, path); !package.empty())
        return std::optional(ofDpkg(package));
    const auto rpm =
        ask({"rpm", "--query", "--file", "--queryformat", "%{NAME}\n", path}, deadline);
    if (!rpm) return rpm.error();
    const std::string package = rpm->substr(0, rpm->find('\n'));
    if (package.empty()) return std::optional<PackageOwner>();
    return std::optional(ofRpm(package));
}

void findPackageOwner(const FileUrl& file, std::function<void(const PackageAnswer&)> found,
                      std::chrono::milliseconds limit) {
    const auto answer = [found](const PackageAnswer& owner) {
        MainThread::post([found, owner] { found(owner); });
    };
    const auto timedOut = [] { return errorFromErrno(ETIMEDOUT, HostAccess::Read); };
    const bool isAsked = runAbandoned([file, limit, answer, timedOut] {
        // A program that hangs within the kernel cannot even be killed.
        const auto owner = answerWithin<PackageAnswer>(
            limit + std::chrono::seconds(1), [file, limit] { return packageOwnerOf(file, limit); });
        answer(owner.value_or(timedOut()));
    });
    if (!isAsked) answer(timedOut());
}

void findOwnPackage(std::function<void(const PackageAnswer&)> found) {
    findPackageOwner(ownProgram(), std::move(found));
}

}  // namespace kestrin
