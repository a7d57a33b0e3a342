// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/IniFile.h"

#include <algorithm>
#include <iterator>

#include "base/FileUrl.h"

namespace kestrin {
namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kEscaped = "\n\r\t\"\\";
constexpr std::string_view kEscapes = "nrt\"\\";

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool survivesBare(std::string_view value) {
    return trimmed(value) == value && !value.starts_with('"') &&
           value.find('\n') == std::string_view::npos && value.find('\r') == std::string_view::npos;
}

std::string written(std::string_view value) {
    if (survivesBare(value)) return std::string(value);
    std::string text = "\"";
    for (const char c : value) {
        const auto escape = kEscaped.find(c);
        if (escape == std::string_view::npos) {
            text += c;
        } else {
            text += '\\';
            text += kEscapes[escape];
        }
    }
    return text + '"';
}

std::string readValue(std::string_view text) {
    if (text.size() < 2 || !text.starts_with('"') || !text.ends_with('"')) return std::string(text);
    text = text.substr(1, text.size() - 2);
    std::string value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == '\\' && i + 1 < text.size();
        const auto escape = isEscape ? kEscapes.find(text[i + 1]) : std::string_view::npos;
        value += escape == std::string_view::npos ? text[i] : kEscaped[escape];
        if (escape != std::string_view::npos) ++i;
    }
    return value;
}

std::string decoded(std::string_view key) {
    return percentDecode(key).value_or(std::string(key));
}

}  // namespace

IniFile::IniFile(std::string_view text) {
    std::string section(kGeneral);
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        m_lines.push_back(parsed(text.substr(0, end), section));
        section = m_lines.back().section;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

/// `section` is the one that the line stands in.
IniFile::Line IniFile::parsed(std::string_view text, const std::string& section) {
    Line line{.section = section, .text = std::string(text)};
    const std::string_view content = trimmed(text);
    const auto equals = content.find('=');
    if (content.starts_with('[') && content.ends_with(']')) {
        line.kind = Line::Kind::Header;
        line.section = decoded(trimmed(content.substr(1, content.size() - 2)));
    } else if (equals != std::string_view::npos && equals > 0 && content.front() != ';' &&
               content.front() != '#') {
        line.kind = Line::Kind::Value;
        line.key = decoded(trimmed(content.substr(0, equals)));
        line.value = readValue(trimmed(content.substr(equals + 1)));
    }
    return line;
}

std::map<std::string, IniFile::Section, std::less<>> IniFile::sections() const {
    std::map<std::string, Section, std::less<>> sections;
    for (const Line& line : m_lines) {
        if (line.kind == Line::Kind::Header) sections[line.section];
        if (line.kind == Line::Kind::Value) sections[line.section][line.key] = line.value;
    }
    return sections;
}

bool IniFile::isForeign() const {
    bool saysSomething = false;
    for (const Line& line : m_lines) {
        const std::string_view content = trimmed(line.text);
        const bool isRemark = content.starts_with(';') || content.starts_with('#');
        if (line.kind != Line::Kind::Other || isRemark) return false;
        saysSomething |= !content.empty();
    }
    return saysSomething;
}

/// Behind the last line of the section that says something; the end of the file without one.
IniFile::Lines::iterator IniFile::endOf(std::string_view section) {
    const auto last = std::find_if(m_lines.rbegin(), m_lines.rend(), [&](const Line& line) {
        return line.section == section && line.kind != Line::Kind::Other;
    });
    return last == m_lines.rend() ? m_lines.end() : last.base();
}

void IniFile::set(std::string_view section, std::string_view key, std::string_view value) {
    Line line{.kind = Line::Kind::Value,
              .section = std::string(section),
              .key = std::string(key),
              .value = std::string(value),
              .text = percentEncode(key, false) + "=" + written(value)};
    const auto last = std::find_if(m_lines.rbegin(), m_lines.rend(), [&](const Line& other) {
        return other.kind == Line::Kind::Value && other.section == section && other.key == key;
    });
    if (last != m_lines.rend()) {
        if (last->value != value) *last = std::move(line);
        return;
    }
    addSection(section);
    m_lines.insert(endOf(section), std::move(line));
}

void IniFile::remove(std::string_view section, std::string_view key) {
    std::erase_if(m_lines, [&](const Line& line) {
        return line.kind == Line::Kind::Value && line.section == section && line.key == key;
    });
}

void IniFile::addSection(std::string_view section) {
    const bool isThere = std::any_of(m_lines.begin(), m_lines.end(), [&](const Line& line) {
        return line.kind != Line::Kind::Other && line.section == section;
    });
    if (isThere) return;
    if (section == kGeneral) {
        // First, so that it takes in remarks at the top and swallows no other section's keys.
        m_lines.insert(
            m_lines.begin(),
            Line{.kind = Line::Kind::Header, .section = std::string(section), .text = "[General]"});
        return;
    }
    if (!m_lines.empty() && !m_lines.back().text.empty()) {
        m_lines.push_back(Line{.section = m_lines.back().section});
    }
    m_lines.push_back(Line{.kind = Line::Kind::Header,
                           .section = std::string(section),
                           .text = "[" + percentEncode(section, false) + "]"});
}

void IniFile::removeSection(std::string_view section) {
    std::erase_if(m_lines, [&](const Line& line) {
        return line.kind != Line::Kind::Other && line.section == section;
    });
}

std::string IniFile::text() const {
    std::string text;
    for (const Line& line : m_lines) {
        text += line.text;
        text += '\n';
    }
    return text;
}

}  // namespace kestrin
