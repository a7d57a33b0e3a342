// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/ReplacementFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "base/FileUrl.h"
#include "base/WriteAll.h"

namespace kestrin {
namespace {

bool writeAndClose(int descriptor, std::string_view bytes, mode_t mode) {
    const bool isWritten =
        writeAll(descriptor, bytes) && ::fchmod(descriptor, mode) == 0 && ::fsync(descriptor) == 0;
    const int reason = errno;
    // Some network file systems tell only here that the disk is full.
    if (::close(descriptor) != 0 && isWritten) return false;
    errno = reason;
    return isWritten;
}

}  // namespace

ReplacementFile::ReplacementFile(std::string path, std::string_view bytes, mode_t mode)
    : m_path(std::move(path)) {
    std::string name = m_path + ".XXXXXX";
    const int descriptor = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) return;
    m_temporary = std::move(name);
    m_isComplete = writeAndClose(descriptor, bytes, mode);
}

ReplacementFile::~ReplacementFile() {
    const int reason = errno;
    if (!m_temporary.empty()) ::unlink(m_temporary.c_str());
    errno = reason;
}

bool ReplacementFile::replace() {
    if (::rename(m_temporary.c_str(), m_path.c_str()) != 0) return false;
    m_temporary.clear();
    return true;
}

bool ReplacementFile::appear() {
    if (!renameToFreeName(m_temporary, m_path)) return false;
    m_temporary.clear();
    return true;
}

bool ReplacementFile::replaceAndKeep(const std::string& aside) {
    if (!renameToFreeName(m_temporary, aside)) return false;
    if (::renameat2(AT_FDCWD, aside.c_str(), AT_FDCWD, m_path.c_str(), RENAME_EXCHANGE) == 0) {
        m_temporary.clear();
        return true;
    }
    int reason = errno;
    renameToFreeName(aside, m_temporary);
    errno = reason;
    if ((reason != EINVAL && reason != ENOSYS) || !renameToFreeName(m_path, aside)) return false;
    if (appear()) return true;
    reason = errno;
    renameToFreeName(aside, m_path);
    errno = reason;
    return false;
}

bool renameToFreeName(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    // Not every file system can do that in one step.
    if (errno != EINVAL && errno != ENOSYS) return false;
    struct stat status;
    if (::lstat(to.c_str(), &status) == 0) errno = EEXIST;
    return errno == ENOENT && ::rename(from.c_str(), to.c_str()) == 0;
}

bool makeFolders(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) == 0 || errno == EEXIST) return true;
    const std::string parent = FileUrl::withoutScheme(path).parent().path();
    return errno == ENOENT && !parent.empty() && parent != path && makeFolders(parent) &&
           ::mkdir(path.c_str(), 0700) == 0;
}

}  // namespace kestrin
