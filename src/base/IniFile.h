// SPDX-License-Identifier: GPL-3.0-or-later
// The text of a settings file, changed a line at a time, so that a person's own lines and remarks
// stay. UserDefaults reads and writes the disk; here is only text. One thread at a time.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kestrin {

/// Sections of keys with values. Keys above the first section belong to "General". A line that is
/// neither a section, nor KEY=VALUE, nor a remark (";" or "#" first) is kept and means nothing.
/// When a key stands twice, the last one counts.
/// Values are UTF-8 bytes on one line; one that would not survive bare is written in double quotes
/// with the escapes \n \r \t \" \\. Keys are percent-encoded where they hold more than letters,
/// digits, "-", ".", "_" and "~".
class IniFile {
 public:
    using Section = std::map<std::string, std::string, std::less<>>;

    static constexpr std::string_view kGeneral = "General";

    IniFile() = default;
    explicit IniFile(std::string_view text);

    /// Every section by its name. One without keys is among them and is empty.
    std::map<std::string, Section, std::less<>> sections() const;

    /// True for a text that has lines, and not one section, key or remark among them.
    bool isForeign() const;

    /// Replaces the value where it stands. A new key is added at the end of the section, and a new
    /// section at the end of the text.
    void set(std::string_view section, std::string_view key, std::string_view value);
    void remove(std::string_view section, std::string_view key);
    void addSection(std::string_view section);
    void removeSection(std::string_view section);

    std::string text() const;

 private:
    struct Line {
        enum class Kind { Other, Header, Value };

        Kind kind = Kind::Other;
        std::string section = {};
        std::string key = {};
        std::string value = {};
        std::string text = {};  ///< as it stands in the file
    };
    using Lines = std::vector<Line>;

    static Line parsed(std::string_view text, const std::string& section);
    Lines::iterator endOf(std::string_view section);

    Lines m_lines;
};

}  // namespace kestrin
