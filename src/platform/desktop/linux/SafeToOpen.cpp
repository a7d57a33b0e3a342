// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/SafeToOpen.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QMimeDatabase>
#include <QMimeType>
#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <string_view>

#include "platform/disks/linux/RealPaths.h"
#include "platform/items/HostErrors.h"
#include "platform/items/UniqueFd.h"
#include "platform/items/linux/QuietOpen.h"

namespace kestrin {
namespace {

using namespace std::string_view_literals;

/// As many of the first bytes as the MIME database looks at.
constexpr std::size_t kTellingBytes = 16384;

// Types that some program runs whatever the file's permission bits say.
constexpr std::array kProgramTypes = {
    // clang-format off
    "application/java-archive"sv, "application/vnd.appimage"sv,
    "application/vnd.microsoft.portable-executable"sv, "application/x-bat"sv,
    "application/x-desktop"sv, "application/x-dosexec"sv, "application/x-iso9660-appimage"sv,
    "application/x-java-archive"sv, "application/x-java-jnlp-file"sv,
    "application/x-ms-dos-executable"sv, "application/x-ms-shortcut"sv,
    "application/x-msdos-program"sv, "application/x-msdownload"sv, "application/x-msi"sv,
    "application/x-sharedlib"sv,
    // clang-format on
};

bool isProgram(const QMimeType& type, bool mayExecute) {
    const auto is = [&type](std::string_view name) {
        return type.inherits(QLatin1String(name.data(), static_cast<qsizetype>(name.size())));
    };
    if (std::ranges::any_of(kProgramTypes, is)) return true;
    // A script is a program and a text; without the permission it is a text only.
    return is("application/x-executable") && (mayExecute || !is("text/plain"));
}

bool isProgramByName(std::string_view path, bool mayExecute) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    if (name.ends_with(".desktop")) return true;
    // The decoded name is only compared with patterns.
    const auto types = QMimeDatabase().mimeTypesForFileName(
        QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
    return std::ranges::any_of(
        types, [mayExecute](const QMimeType& type) { return isProgram(type, mayExecute); });
}

/// The plainest ones also where the machine has no MIME database.
bool isProgramByContent(const QByteArray& beginning, bool mayExecute) {
    return (mayExecute && beginning.startsWith("#!")) ||
           beginning.startsWith(
               "\x7f"
               "ELF") ||
           beginning.startsWith("MZ") || beginning.startsWith("[Desktop Entry]") ||
           isProgram(QMimeDatabase().mimeTypeForData(beginning), mayExecute);
}

}  // namespace

Result<bool> isSafeToOpen(const FileUrl& item) {
    struct stat status;
    const auto target = realPath(item.path());
    if (!target || ::stat(target->c_str(), &status) != 0)
        return errorFromErrno(errno, HostAccess::Read);
    if (S_ISDIR(status.st_mode)) return true;
    if (!S_ISREG(status.st_mode)) return false;  // opening alone can act on a device
    const UniqueFd file(openQuietly(AT_FDCWD, target->c_str(),
                                    O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    QByteArray beginning(kTellingBytes, '\0');
    const ssize_t length = file ? ::pread(file.get(), beginning.data(), kTellingBytes, 0) : -1;
    if (length < 0) return errorFromErrno(errno, HostAccess::Read);
    beginning.truncate(length);
    const bool mayExecute = (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
    return !isProgramByName(item.path(), mayExecute) && !isProgramByName(*target, mayExecute) &&
           !isProgramByContent(beginning, mayExecute);
}

}  // namespace kestrin
