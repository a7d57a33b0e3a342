// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/CrashHandler.h"

#include <cxxabi.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <span>
#include <string>
#include <typeinfo>
#include <utility>

#include "base/LastLogLines.h"
#include "base/SignalStack.h"
#include "base/WriteAll.h"
#include "platform/desktop/Places.h"
#include "platform/processes/linux/CrashContext.h"
#include "platform/processes/linux/CrashModules.h"

namespace kestrin {
namespace {

constexpr std::array<int, 6> kSignals{SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP};
constexpr unsigned kPatienceInSeconds = 10;

// --- What is known beforehand ---

/// What main() gave, copied to where no allocator is needed to read it.
struct Setup {
    std::array<char, PATH_MAX> folder{};
    std::size_t firstOwnLevel = 0;  ///< length of the part of `folder` that is never made
    std::array<char, 32> version{};
};
Setup s_setup;
std::array<struct sigaction, kSignals.size()> s_previous;
std::terminate_handler s_previousTerminate = nullptr;
std::atomic<pid_t> s_crashing{0};
std::array<char, 256> s_exception{};
std::array<char, 256> s_what{};

/// Copies as much as there is room for, with a final NUL.
void copyText(std::string_view text, std::span<char> to) {
    to[text.copy(to.data(), to.size() - 1)] = '\0';
}

// --- The report ---

/// The report under way: lines of words. Only the one crashing thread writes.
class Report {
 public:
    void begin(int descriptor) { m_descriptor = descriptor; }
    Report& text(std::string_view word) {
        for (const char byte : word) {
            if (m_used == m_buffer.size()) flush();
            m_buffer[m_used++] = byte;
        }
        return *this;
    }
    Report& number(std::uint64_t value, unsigned base) {
        std::array<char, 24> digits;
        std::size_t at = digits.size();
        do {
            digits[--at] = "0123456789abcdef"[value % base];
            value /= base;
        } while (value != 0);
        return text({digits.data() + at, digits.size() - at});
    }
    /// Begins a line with one value.
    Report& fact(std::string_view name, std::uintptr_t value) {
        return text(name).text(" ").number(value, 16);
    }
    void line(std::string_view name, std::string_view value) {
        text(name).text(" ").text(value).text("\n");
    }
    void lastLogLines() {
        flush();
        writeLastLogLines(m_descriptor, "log ");
    }
    void flush() {
        m_isWhole = writeAll(m_descriptor, {m_buffer.data(), m_used}) && m_isWhole;
        m_used = 0;
    }
    bool isWhole() const { return m_isWhole; }

 private:
    int m_descriptor = -1;
    std::array<char, 1024> m_buffer;
    std::size_t m_used = 0;
    bool m_isWhole = true;
};
Report s_report;

void writeModule(const MappedModule& module) {
    s_report.fact("module", module.begin).text(" ").number(module.end, 16).text(" ");
    for (std::size_t at = 0; at < module.buildIdLength; ++at) {
        s_report.number(module.buildId[at] >> 4, 16).number(module.buildId[at] & 15, 16);
    }
    s_report.text(module.buildIdLength == 0 ? "- " : " ").text(module.path).text("\n");
}

void writeHead(const siginfo_t& info) {
    s_report.line("version", s_setup.version.data());
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    s_report.fact("time", static_cast<std::uintptr_t>(now.tv_sec)).text("\n");
    s_report.fact("signal", static_cast<unsigned>(info.si_signo)).text(" ");
    s_report.number(static_cast<unsigned>(info.si_code), 16).text(" ");
    const bool hasAddress = info.si_code > 0;
    s_report.number(hasAddress ? reinterpret_cast<std::uintptr_t>(info.si_addr) : 0, 16).text("\n");
    std::array<char, 17> thread{};
    ::prctl(PR_GET_NAME, thread.data());
    s_report.line("thread", thread.data());
    if (s_exception[0]) s_report.line("exception", s_exception.data());
    if (s_what[0]) s_report.line("what", s_what.data());
}

/// The calls come last: where the stack is destroyed, following it may be the next fault.
void writeReport(const siginfo_t& info, void* context) {
    writeHead(info);
    forEachRegister(context, [](const char* name, std::uintptr_t value) {
        s_report.text("register ").fact(name, value).text("\n");
    });
    forEachModule(writeModule);
    s_report.lastLogLines();
    forEachFrame(context, [](std::uintptr_t address) {
        s_report.fact("frame", address).text("\n");
        s_report.flush();
    });
    s_report.text("end\n").flush();
}

// --- Its file ---

int openFolder(int parent, const char* name, int flags) {
    return ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags);
}

/// A folder of the program's own, made when it is missing. A link in its place is not followed.
int openOwnFolder(int parent, const char* name) {
    ::mkdirat(parent, name, 0700);
    return openFolder(parent, name, O_NOFOLLOW);
}

/// The folder of the reports; -1 when it cannot be had.
int openReportFolder() {
    char* const path = s_setup.folder.data();
    char* const last = std::strrchr(path, '/');
    *last = '\0';
    char* const own = std::strrchr(path, '/');
    *own = '\0';
    // Links are followed down to the state folder, which is the user's to arrange, and not below.
    for (char* level = path + s_setup.firstOwnLevel; level < own;) {
        level = std::find(level + 1, own, '/');
        const char kept = std::exchange(*level, '\0');
        ::mkdir(path, 0700);
        *level = kept;
    }
    const int state = openFolder(AT_FDCWD, path, 0);
    const int parent = openOwnFolder(state, own + 1);
    const int folder = openOwnFolder(parent, last + 1);
    if (state >= 0) ::close(state);
    if (parent >= 0) ::close(parent);
    return folder;
}

/// A new file in the folder, and its name; -1 when there can be none.
int createFile(int folder, std::array<char, 16>& name) {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const std::size_t digit = kRawCrashReportName.copy(name.data(), name.size() - 2);
    name[digit + 1] = '\0';
    char oldest = '0';
    std::time_t date = 0;
    for (int number = 0; number < kRawCrashReports; ++number) {
        name[digit] = static_cast<char>('0' + number);
        const int file = ::openat(folder, name.data(), flags, 0600);
        if (file >= 0 || errno != EEXIST) return file;
        struct stat status {};
        if (::fstatat(folder, name.data(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
        if (number > 0 && status.st_mtime >= date) continue;
        date = status.st_mtime;
        oldest = name[digit];
    }
    name[digit] = oldest;
    ::unlinkat(folder, name.data(), 0);
    return ::openat(folder, name.data(), flags, 0600);
}

void leaveReport(const siginfo_t& info, void* context) {
    const int folder = openReportFolder();
    if (folder < 0) return;
    std::array<char, 16> name{};
    const int file = createFile(folder, name);
    if (file >= 0) {
        s_report.begin(file);
        writeReport(info, context);
        ::close(file);
        // The disk is full: half a report helps nobody.
        if (!s_report.isWhole()) ::unlinkat(folder, name.data(), 0);
    }
    ::close(folder);
}

// --- The signals ---

void restoreSignals() {
    for (std::size_t at = 0; at < kSignals.size(); ++at)
        ::sigaction(kSignals[at], &s_previous[at], nullptr);
}

/// Lets the default action of SIGALRM end a process whose disk does not answer, and a write beyond
/// the limit of the process fail instead of ending it.
void limitTimeAndSize() {
    struct sigaction action {};
    action.sa_handler = SIG_IGN;
    ::sigaction(SIGXFSZ, &action, nullptr);
    action.sa_handler = SIG_DFL;
    ::sigaction(SIGALRM, &action, nullptr);
    ::alarm(kPatienceInSeconds);
}

/// The instruction that made a fault makes it again when the handler returns, now with the action
/// that there was before. What else sent a signal is done for ever, and it is sent again.
void endAsBefore(const siginfo_t& info) {
    ::alarm(0);
    restoreSignals();
    const bool comesAgain =
        info.si_code > 0 && info.si_signo != SIGABRT && info.si_signo != SIGTRAP;
    if (!comesAgain) ::tgkill(::getpid(), ::gettid(), info.si_signo);
}

void handleSignal(int, siginfo_t* info, void* context) {
    const int keptErrno = errno;
    pid_t none = 0;
    const pid_t self = ::gettid();
    if (s_crashing.compare_exchange_strong(none, self)) {
        limitTimeAndSize();
        leaveReport(*info, context);
        endAsBefore(*info);
    } else if (none == self) {
        endAsBefore(*info);  // an abort() in the handler
    } else {
        // The end of the first thread is that of the process.
        for (;;)
            ::pause();
    }
    errno = keptErrno;
}

/// Runs on the thread that threw, before it aborts.
[[noreturn]] void handleTerminate() {
    if (const std::type_info* const type = abi::__cxa_current_exception_type()) {
        copyText(type->name(), s_exception);
        try {
            throw;
        } catch (const std::exception& error) {
            copyText(withoutNames(error.what()), s_what);
        } catch (...) {
            s_what[0] = '\0';
        }
    }
    s_previousTerminate();
    std::abort();
}

}  // namespace

void installCrashHandler(const FileUrl& folder, std::string_view version) {
    const std::string& path = folder.path();
    if (path.size() >= s_setup.folder.size()) return;  // no file can be made there
    copyText(path, s_setup.folder);
    copyText(version, s_setup.version);
    // Elsewhere only the two folders that are the program's own are made: who arranged another
    // place may not have mounted it.
    const FileUrl home = FileUrl::fromPath(homeFolder());
    const FileUrl state = folder.parent().parent();
    s_setup.firstOwnLevel = (folder.isBelow(home) ? home : state).path().size();
    static const SignalStack stack;
    s_previousTerminate = std::set_terminate(handleTerminate);
    struct sigaction action {};
    action.sa_sigaction = handleSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    ::sigfillset(&action.sa_mask);
    ::sigdelset(&action.sa_mask, SIGALRM);
    for (std::size_t at = 0; at < kSignals.size(); ++at)
        ::sigaction(kSignals[at], &action, &s_previous[at]);
}

}  // namespace kestrin
