// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/FileRules.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/items/UniqueFd.h"

namespace kestrin {
namespace {

/// landlock_ruleset_attr of version 6. What older headers know is shorter.
struct RulesetAttributes {
    std::uint64_t files;
    std::uint64_t network;
    std::uint64_t processes;
};

constexpr std::uint64_t lowestBits(int count) {
    return (std::uint64_t{1} << count) - 1;
}

/// 0 or an errno.
int allowReading(int ruleset, const std::string& folder) {
    const UniqueFd opened(::open(folder.c_str(), O_PATH | O_CLOEXEC | O_DIRECTORY));
    if (!opened) return 0;  // absent, or nothing that could be read
    const landlock_path_beneath_attr rule{
        .allowed_access = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR,
        .parent_fd = opened.get()};
    return ::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0
               ? 0
               : errno;
}

}  // namespace

int landlockVersion() {
    const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, std::size_t{0},
                                   LANDLOCK_CREATE_RULESET_VERSION);
    return static_cast<int>(std::max(version, 0L));
}

FileRules fileRulesFor(int landlockVersion) {
    if (landlockVersion < 1) return {};
    // Versions only ever add: 2 linking and moving, 3 truncating, 4 TCP, 5 the calls of devices,
    // 6 abstract sockets and signals.
    FileRules rules{
        .files = lowestBits(13 + std::min(landlockVersion - 1, 2) + (landlockVersion >= 5 ? 1 : 0)),
        .size = sizeof(std::uint64_t)};
    if (landlockVersion >= 4) {
        rules.network = lowestBits(2);
        rules.size = 2 * sizeof(std::uint64_t);
    }
    if (landlockVersion >= 6) {
        rules.processes = lowestBits(2);
        rules.size = 3 * sizeof(std::uint64_t);
    }
    return rules;
}

int closeFiles(const FileRules& rules, const std::vector<std::string>& readableFolders) {
    const RulesetAttributes attributes{rules.files, rules.network, rules.processes};
    const UniqueFd ruleset(
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, &attributes, rules.size, 0)));
    if (!ruleset) return errno;
    for (const std::string& folder : readableFolders) {
        if (const int failure = allowReading(ruleset.get(), folder)) return failure;
    }
    return ::syscall(SYS_landlock_restrict_self, ruleset.get(), 0) == 0 ? 0 : errno;
}

}  // namespace kestrin
