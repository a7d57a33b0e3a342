// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <chrono>
#include <future>
#include <string>
#include <utility>

#include "platform/items/UniqueFd.h"
#include "support/TestEnvironment.h"

namespace kestrin::test {

/// A FUSE file system of the test user's, on a folder or a file, whose server never answers: who
/// asks it anything waits until this goes. Requires: canMount().
class SilentVolume {
 public:
    explicit SilentVolume(std::string mountPoint)
        : m_mountPoint(std::move(mountPoint)), m_server(open("/dev/fuse", O_RDWR | O_CLOEXEC)) {
        struct stat status {};
        if (!m_server || lstat(m_mountPoint.c_str(), &status) != 0) return;
        const std::string user = std::to_string(kTestUser);
        const std::string options = "fd=" + std::to_string(m_server.get()) +
                                    ",rootmode=" + (S_ISDIR(status.st_mode) ? "40777" : "100666") +
                                    ",allow_other,user_id=" + user + ",group_id=" + user;
        const AsRoot root;
        m_isMounted = mount("silent", m_mountPoint.c_str(), "fuse.silent", MS_NOSUID | MS_NODEV,
                            options.c_str()) == 0;
    }
    ~SilentVolume() {
        m_server.reset();
        const AsRoot root;
        if (m_isMounted) umount2(m_mountPoint.c_str(), MNT_DETACH);
    }
    SilentVolume(const SilentVolume&) = delete;
    SilentVolume& operator=(const SilentVolume&) = delete;
    bool isMounted() const { return m_isMounted; }

    /// Whether `work` ends by itself. When it does not, the server goes, and it ends with that.
    template <class Work>
    bool doesNotHold(Work work) {
        const auto end = std::async(std::launch::async, work);
        const bool hasEnded = end.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
        if (!hasEnded) m_server.reset();
        return hasEnded;
    }

 private:
    const std::string m_mountPoint;
    UniqueFd m_server;
    bool m_isMounted = false;
};

}  // namespace kestrin::test
