// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/SettingsProblemText.h"

#include <string_view>

#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "format/DisplayName.h"

namespace kestrin {
namespace {

std::string_view keyOf(const SettingsProblem& problem) {
    const bool hasReason = !problem.reason.empty();
    switch (problem.kind) {
        case SettingsProblem::Kind::Unusable:
            return hasReason ? "settings_unreadable"_key : "settings_damaged"_key;
        case SettingsProblem::Kind::MovedAside:
            return "settings_moved_aside"_key;
        case SettingsProblem::Kind::NotWritten:
            if (problem.path.empty()) return "settings_no_place"_key;
            return hasReason ? "settings_not_written_because"_key : "settings_not_written"_key;
        case SettingsProblem::Kind::NewerFormat:
            return "settings_newer"_key;
    }
    return {};
}

}  // namespace

QString settingsProblemText(const SettingsProblem& problem, const StringTable& texts) {
    const std::string& second = problem.movedTo.empty() ? problem.reason : problem.movedTo;
    return StringTable::filled(texts.text(keyOf(problem)),
                               {displayName(problem.path), displayName(second)});
}

}  // namespace kestrin
