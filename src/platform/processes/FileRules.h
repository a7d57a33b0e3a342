// SPDX-License-Identifier: GPL-3.0-or-later
// Which files a process can still reach by name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kestrin {

/// The version of the kernel's Landlock; 0 when it has none, or has it switched off.
int landlockVersion();

/// What Landlock closes, as landlock_create_ruleset(2) takes it.
struct FileRules {
    std::uint64_t files = 0;      ///< accesses to files
    std::uint64_t network = 0;    ///< uses of TCP ports
    std::uint64_t processes = 0;  ///< abstract sockets, signals
    std::size_t size = 0;         ///< bytes of the structure; 0: there are no rules
};

/// Everything that this version can close: the kernel refuses a bit that it does not know.
FileRules fileRulesFor(int landlockVersion);

/// Lets this thread, and those it starts, reach nothing of what `rules` close but reading below
/// `readableFolders`, of which absent ones are skipped. 0, or the errno that tells why the rules do
/// not hold. Requires: no new privileges (prctl(2)).
int closeFiles(const FileRules& rules, const std::vector<std::string>& readableFolders);

}  // namespace kestrin
