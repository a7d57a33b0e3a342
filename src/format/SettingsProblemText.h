// SPDX-License-Identifier: GPL-3.0-or-later
// What is wrong with the settings file, in words.
#pragma once

#include <QString>

namespace kestrin {

class StringTable;
struct SettingsProblem;

/// One or two sentences for the user that say what is wrong, with which file, and what that means
/// for the settings. Thread: any.
QString settingsProblemText(const SettingsProblem& problem, const StringTable& texts);

}  // namespace kestrin
