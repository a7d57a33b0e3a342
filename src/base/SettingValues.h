// SPDX-License-Identifier: GPL-3.0-or-later
// What the lines of a settings file mean as values, and the other way round. Pure functions.
// Thread: any.
#pragma once

#include <QVariant>
#include <optional>
#include <string_view>

#include "base/UserDefaults.h"

namespace kestrin {

class IniFile;

/// Stands in the file, and is no setting: the number of the format that it is written in.
inline constexpr std::string_view kSettingsFormat = "settings_format";

/// The settings as the file has them: texts, and dictionaries of texts.
SettingsMap settingsOf(const IniFile& file);
/// Lines that say the same already stay as they are.
void setSetting(IniFile& file, std::string_view key, const QVariant& value);
void removeSetting(IniFile& file, std::string_view key);

std::optional<bool> readBool(const QVariant& value);
/// A decimal number, or a hexadecimal one after "0x".
std::optional<int> readInteger(const QVariant& value);
/// A value of the file in the type of its default; none when it cannot be that.
std::optional<QVariant> typed(const QVariant& value, const QVariant& byDefault);

}  // namespace kestrin
