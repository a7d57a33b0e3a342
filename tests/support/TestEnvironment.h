// SPDX-License-Identifier: GPL-3.0-or-later
// The surroundings of a test: whose rights it has, and a scratch folder that goes with it.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace kestrin::test {

/// Made once by main(), before any thread. HOME and the XDG folders point into a scratch folder;
/// the session and system bus addresses and the display are taken away. As root: a private mount
/// namespace, then the rights of the unprivileged user `kTestUser` (its root rights are kept aside
/// for AsRoot).
class TestEnvironment {
 public:
    TestEnvironment();
    ~TestEnvironment();
    TestEnvironment(const TestEnvironment&) = delete;
    TestEnvironment& operator=(const TestEnvironment&) = delete;

 private:
    std::string m_home;
    pid_t m_owner;
};

inline constexpr uid_t kTestUser = 61234;

/// Whether AsRoot works here: the tests were started as root.
bool canBeRoot();
/// Whether mounts of this program are its own (root, and the kernel granted a namespace).
bool canMount();

/// Root's rights for all threads while it lives. Requires: canBeRoot().
class AsRoot {
 public:
    AsRoot();
    ~AsRoot();
    AsRoot(const AsRoot&) = delete;
    AsRoot& operator=(const AsRoot&) = delete;
};

/// A new folder of the test user, removed with all it holds at the end, also what is immutable or
/// mounted.
class ScratchFolder {
 public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& path() const { return m_path; }
    /// The path of `name` in the folder.
    std::string operator/(std::string_view name) const;

 private:
    std::string m_path;
};

/// Writes a file; folders on the way are made.
void writeFile(const std::string& path, std::string_view content = "x");
std::string readFile(const std::string& path);
bool exists(const std::string& path);      ///< of the entry itself, a dangling link too
void makeFolder(const std::string& path);  ///< with all on the way

/// Sets the immutable attribute, as root; false where the file system has none.
bool makeImmutable(const std::string& path);

/// Runs a shell command as root and returns its exit status; its output goes to the test's log.
int runAsRoot(const std::string& shellCommand);

/// A file system of its own on `mountPoint` (made when absent) for as long as it lives, whose root
/// folder belongs to the test user. Requires: canMount().
class TestVolume {
 public:
    enum class Kind { Ext4, Tmpfs };
    TestVolume(Kind kind, std::string mountPoint, std::string_view label = "TestDisk",
               unsigned megabytes = 16);
    ~TestVolume();
    TestVolume(const TestVolume&) = delete;
    TestVolume& operator=(const TestVolume&) = delete;
    bool isMounted() const { return m_isMounted; }
    const std::string& mountPoint() const { return m_mountPoint; }

 private:
    std::string m_mountPoint;
    std::string m_image;
    bool m_isMounted = false;
};

/// One line a file below `root` with type, mode, owner, size, modification time and content digest:
/// two listings are equal when nothing changed.
std::string listing(const std::string& root);

/// Runs the event loop until `condition` holds; false after `milliseconds`.
bool waitFor(const std::function<bool()>& condition, int milliseconds = 10000);

}  // namespace kestrin::test

/// Skips a test, by name, where the machine cannot do what it needs.
#define KESTRIN_REQUIRE_ROOT() \
    if (!kestrin::test::canBeRoot()) GTEST_SKIP() << "needs to be started as root"
#define KESTRIN_REQUIRE_MOUNTS() \
    if (!kestrin::test::canMount()) GTEST_SKIP() << "needs root and a private mount namespace"
