// SPDX-License-Identifier: GPL-3.0-or-later
// The rights that guard the helper's commands, one table for the program and the helper. The host
// keeps the rights themselves as actions of the policy service, defined when the helper is
// installed (resources/helper).
#pragma once

#include <QString>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrin {

/// The right of one command.
struct CommandInfo {
    std::string command;                  ///< the command's name in the interface description
    std::string authRightName;            ///< the policy service's action
    std::string authRightDefault;         ///< "is-admin": an administrator authenticates
    std::string authRightDescriptionKey;  ///< of the string table
};

class QVCommonHelper {
 public:
    /// The table; made once. Thread: any.
    static const std::vector<CommandInfo>& commandInfo();
    /// The right's name of a command; empty for a command without one. Thread: any.
    static std::string_view authorizationRightForCommand(std::string_view command);
    /// Calls `block` with name, default and description of every right.
    static void enumerateRightsUsingBlock(const std::function<void(const CommandInfo&)>& block);
};

}  // namespace kestrin
