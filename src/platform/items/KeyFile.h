// SPDX-License-Identifier: GPL-3.0-or-later
// Files of groups, keys and values, as the FreeDesktop.org desktop entry specification describes
// them: desktop entries, icon theme indexes, `.directory` files.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/items/SmallFile.h"

namespace kestrin {

/// What one such file says. Never fails on odd text: a line that is no group, entry or comment is
/// passed over; of a repeated group or key the first value counts.
class KeyFile {
 public:
    static KeyFile parse(std::string_view text);
    /// None when `readSmallFile` gives none; the limit is 1 MiB.
    static std::optional<KeyFile> read(const FileUrl& file, LastLink link);

    /// The value as it stands, without the blanks around it; none when absent.
    std::optional<std::string_view> rawValue(std::string_view group, std::string_view key) const;
    /// A text with the escapes \s \n \t \r \\ undone; empty when absent.
    std::string text(std::string_view group, std::string_view key) const;
    /// The same in the user's interface language, where the file has it ("Name[de_DE]",
    /// "Name[de]").
    std::string localizedText(std::string_view group, std::string_view key) const;
    /// True for the value "true".
    bool flag(std::string_view group, std::string_view key) const;

 private:
    using Entries = std::map<std::string, std::string, std::less<>>;
    std::map<std::string, Entries, std::less<>> m_groups;
};

}  // namespace kestrin
