// SPDX-License-Identifier: GPL-3.0-or-later
// Files of groups, keys and values, as the FreeDesktop.org desktop entry specification describes
// them: desktop entries, icon theme indexes, `.directory` files.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/items/SmallFile.h"

namespace kestrin {

/// What one such file says. Odd text is no failure: a line that is no group, entry or comment is
/// passed over. When a group or a key is repeated, its first value counts.
class KeyFile {
 public:
    static KeyFile parse(std::string_view text);
    /// Reads a file of at most 1 MiB. None when readSmallFile gives none.
    static std::optional<KeyFile> read(const FileUrl& file, LastLink link);

    /// The value as it stands, without the blanks around it. None when it is absent.
    std::optional<std::string_view> rawValue(std::string_view group, std::string_view key) const;
    /// The value as a text, with the escapes \s \n \t \r \\ undone. Empty when it is absent.
    std::string text(std::string_view group, std::string_view key) const;
    /// The text in the user's interface language ("Name[de_DE]", "Name[de]"), or the plain one
    /// where the file does not have it.
    std::string localizedText(std::string_view group, std::string_view key) const;
    /// The texts of a list, which semicolons separate or end; "\;" is one of a text. Empty texts
    /// are left out.
    std::vector<std::string> list(std::string_view group, std::string_view key) const;
    /// True for the value "true".
    bool flag(std::string_view group, std::string_view key) const;

 private:
    using Entries = std::map<std::string, std::string, std::less<>>;
    std::map<std::string, Entries, std::less<>> m_groups;
};

}  // namespace kestrin
