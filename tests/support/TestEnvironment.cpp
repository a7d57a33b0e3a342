// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestEnvironment.h"

#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

#ifdef __SANITIZE_THREAD__
// Qt DBus and xcb hand over between their threads and ours by means that the sanitizer cannot see
// in libraries that are not built for it.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1:die_after_fork=0:report_thread_leaks=0";
}
#endif

namespace kestrin::test {
namespace {

bool g_canBeRoot = false;
bool g_canMount = false;

void require(bool condition, const char* what) {
    if (!condition) throw std::runtime_error(std::string(what) + " failed");
}

void dropRights() {
    const gid_t group = kTestUser;
    require(setgroups(1, &group) == 0, "setgroups");
    require(setresgid(kTestUser, kTestUser, 0) == 0, "setresgid");
    require(setresuid(kTestUser, kTestUser, 0) == 0, "setresuid");
}

std::string makeScratch() {
    std::string name = "/tmp/kestrin-test-XXXXXX";
    require(mkdtemp(name.data()) != nullptr, "mkdtemp");
    return name;
}

void removeScratch(const std::string& path) {
    std::string quoted = "'" + path + "'";
    const std::string command =
        "chmod -R u+rwx " + quoted + " 2>/dev/null; rm -rf " + quoted + " 2>/dev/null";
    if (canBeRoot()) {
        runAsRoot("awk '{print $5}' /proc/self/mountinfo | grep -F " + quoted +
                  " | sort -r | xargs -r -n1 umount -l 2>/dev/null; chattr -R -i -a " + quoted +
                  " 2>/dev/null; rm -rf " + quoted);
    } else {
        [[maybe_unused]] const int status = std::system(command.c_str());
    }
}

}  // namespace

TestEnvironment::TestEnvironment() : m_owner(getpid()) {
    if (geteuid() == 0) {
        g_canMount = unshare(CLONE_NEWNS) == 0 &&
                     mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
        g_canBeRoot = true;
        dropRights();
    }
    umask(022);
    m_home = makeScratch();
    setenv("HOME", m_home.c_str(), 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("LANGUAGE", "en", 1);
    for (const char* name :
         {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR",
          "DBUS_SESSION_BUS_ADDRESS", "DISPLAY", "WAYLAND_DISPLAY", "XDG_CURRENT_DESKTOP"}) {
        unsetenv(name);
    }
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
}

TestEnvironment::~TestEnvironment() {
    if (getpid() != m_owner) return;
    removeScratch(m_home);
    // The leak checker attaches to its own process at exit, which the kernel refuses to a process
    // of mixed users.
    if (g_canBeRoot && seteuid(0) == 0 && setresgid(0, 0, 0) == 0 && setresuid(0, 0, 0) == 0) {
        prctl(PR_SET_DUMPABLE, 1);
    }
}

bool canBeRoot() {
    return g_canBeRoot;
}
bool canMount() {
    return g_canMount;
}

AsRoot::AsRoot() {
    require(seteuid(0) == 0 && setegid(0) == 0, "becoming root");
}
AsRoot::~AsRoot() {
    if (setegid(kTestUser) != 0 || seteuid(kTestUser) != 0) std::abort();
}

ScratchFolder::ScratchFolder() : m_path(makeScratch()) {}
ScratchFolder::~ScratchFolder() {
    removeScratch(m_path);
}

std::string ScratchFolder::operator/(std::string_view name) const {
    return m_path + "/" + std::string(name);
}

void writeFile(const std::string& path, std::string_view content) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

std::string readFile(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

bool exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

void makeFolder(const std::string& path) {
    fs::create_directories(path);
}

bool makeImmutable(const std::string& path) {
    return runAsRoot("chattr +i '" + path + "'") == 0;
}

int runAsRoot(const std::string& shellCommand) {
    const AsRoot root;
    const pid_t child = fork();
    if (child == 0) {
        if (setresgid(0, 0, 0) != 0 || setresuid(0, 0, 0) != 0) _exit(127);
        execl("/bin/sh", "sh", "-c", shellCommand.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TestVolume::TestVolume(Kind kind, std::string mountPoint, std::string_view label,
                       unsigned megabytes)
    : m_mountPoint(std::move(mountPoint)) {
    const std::string point = "'" + m_mountPoint + "'";
    std::string command = "mkdir -p " + point + " && ";
    if (kind == Kind::Tmpfs) {
        command += "mount -t tmpfs -o size=" + std::to_string(megabytes) + "m none " + point;
    } else {
        m_image = makeScratch() + "/image";
        command += "truncate -s " + std::to_string(megabytes) + "M " + m_image +
                   " && mkfs.ext4 -q -L '" + std::string(label) + "' " + m_image +
                   " && mount -o loop " + m_image + " " + point;
    }
    const std::string user = std::to_string(kTestUser);
    command += " && chown " + user + ":" + user + " " + point;
    m_isMounted = runAsRoot(command) == 0;
}

TestVolume::~TestVolume() {
    runAsRoot("umount -l '" + m_mountPoint + "' 2>/dev/null");
    if (!m_image.empty()) removeScratch(fs::path(m_image).parent_path());
}

std::string listing(const std::string& root) {
    const std::string script = "cd '" + root +
                               "' && find . -printf '%p %y %m %U %s %T@ %l\\n' | LC_ALL=C sort; "
                               "find . -type f -exec sha256sum {} + 2>/dev/null | LC_ALL=C sort";
    std::string text;
    FILE* pipe = popen(script.c_str(), "r");
    require(pipe != nullptr, "popen");
    char buffer[4096];
    while (const size_t length = fread(buffer, 1, sizeof buffer, pipe))
        text.append(buffer, length);
    pclose(pipe);
    return text;
}

bool waitFor(const std::function<bool()>& condition, int milliseconds) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > milliseconds) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(1);
    }
    return true;
}

}  // namespace kestrin::test
