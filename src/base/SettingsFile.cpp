// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/SettingsFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDate>
#include <QUtf8StringView>
#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <optional>

#include "base/FileUrl.h"
#include "base/ReplacementFile.h"

namespace kestrin {
namespace {

constexpr std::size_t kLongestFile = std::size_t{1} << 20;
constexpr mode_t kNewFileMode = 0600;
constexpr int kMostNamesOfADay = 1000;

/// Closes on every way out.
class Descriptor {
 public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0) ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }

 private:
    int m_fd;
};

/// The bytes of a regular file. Otherwise none, with errno: 0 when it is something else.
std::optional<std::string> readWhole(const std::string& path) {
    // Non-blocking: a FIFO in the file's place must not hold the program up.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status;
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0) return std::nullopt;
    errno = S_ISDIR(status.st_mode) ? EISDIR : 0;
    if (!S_ISREG(status.st_mode)) return std::nullopt;
    std::string bytes;
    std::array<char, 8192> piece;
    while (bytes.size() <= kLongestFile) {
        const auto count = ::read(file.get(), piece.data(), piece.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) return bytes;
        bytes.append(piece.data(), static_cast<std::size_t>(count));
    }
    errno = 0;
    return std::nullopt;
}

/// After a crash a file may hold nothing but zeros.
bool isText(const std::string& bytes) {
    return bytes.find('\0') == std::string::npos &&
           QUtf8StringView(bytes.data(), static_cast<qsizetype>(bytes.size())).isValidUtf8();
}

/// Failures that say nothing of the file, and may be over when it is read again.
bool mayPass(int reason) {
    constexpr std::array kLasting = {0, EACCES, EPERM, ENOENT, ELOOP, EISDIR, ENXIO, ENODEV};
    return std::ranges::find(kLasting, reason) == kLasting.end();
}

bool isThere(const std::string& path) {
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0;
}

}  // namespace

SettingsFile::Content SettingsFile::read() const {
    const auto bytes = readWhole(m_path);
    const int reason = bytes ? 0 : errno;
    if (bytes && isText(*bytes)) {
        IniFile settings(*bytes);
        if (!settings.isForeign()) return {State::Usable, 0, std::move(settings)};
    }
    const bool isMissing = reason == ENOENT || reason == ENOTDIR;
    if (isMissing && !isThere(m_path)) return {State::Absent, reason};
    return {mayPass(reason) ? State::Unreachable : State::Unusable, reason};
}

bool SettingsFile::write(std::string_view text) const {
    if (!makeFolders(FileUrl::withoutScheme(m_path).parent().path())) return false;
    // A person may keep the file elsewhere and link to it.
    std::error_code error;
    const auto target = std::filesystem::canonical(m_path, error);
    const std::string destination = error ? m_path : target.string();
    struct stat status;
    const bool exists = ::stat(destination.c_str(), &status) == 0;
    if (exists && ::access(destination.c_str(), W_OK) != 0) return false;
    ReplacementFile file(destination, text, exists ? status.st_mode & 0777 : kNewFileMode);
    return file.isComplete() && file.replace();
}

std::string SettingsFile::moveAsideAndWrite(std::string_view text) const {
    ReplacementFile file(m_path, text, kNewFileMode);
    if (!file.isComplete()) return {};
    const std::string name =
        m_path + ".broken-" + QDate::currentDate().toString(Qt::ISODate).toStdString();
    std::string aside = name;
    for (int number = 2; !file.replaceAndKeep(aside); ++number) {
        if (errno != EEXIST || number > kMostNamesOfADay) return {};
        aside = name + "-" + std::to_string(number);
    }
    return aside;
}

}  // namespace kestrin
