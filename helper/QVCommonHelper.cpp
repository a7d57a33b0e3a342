// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/QVCommonHelper.h"

#include <algorithm>

namespace kestrin {
namespace {

constexpr char kEraseRight[] = "com.quorvane.kestrin-3.eraseAuthorized";
constexpr char kAdministrator[] = "is-admin";
constexpr char kEraseDescription[] = "Kestrin is trying to erase with root authorization.";

}  // namespace

const std::vector<CommandInfo>& QVCommonHelper::commandInfo() {
    static const auto& table = *new std::vector<CommandInfo>{
        {"erase", kEraseRight, kAdministrator, kEraseDescription},
        {"eraseFromFile", kEraseRight, kAdministrator, kEraseDescription},
        {"unlockItems", kEraseRight, kAdministrator, kEraseDescription}};
    return table;
}

std::string_view QVCommonHelper::authorizationRightForCommand(std::string_view command) {
    const auto& table = commandInfo();
    const auto row = std::find_if(table.begin(), table.end(),
                                  [&](const CommandInfo& one) { return one.command == command; });
    return row == table.end() ? std::string_view() : std::string_view(row->authRightName);
}

void QVCommonHelper::enumerateRightsUsingBlock(
    const std::function<void(const CommandInfo&)>& block) {
    for (const CommandInfo& row : commandInfo())
        block(row);
}

}  // namespace kestrin
