// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/KeyFile.h"

#include <QLocale>
#include <QStringList>
#include <algorithm>

namespace kestrin {
namespace {

constexpr std::size_t kMaximumBytes = 1 << 20;

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

char unescaped(char letter) {
    switch (letter) {
        case 's':
            return ' ';
        case 'n':
            return '\n';
        case 't':
            return '\t';
        case 'r':
            return '\r';
        default:
            return letter;
    }
}

std::string withoutEscapes(std::string_view raw) {
    std::string text;
    for (std::size_t index = 0; index < raw.size(); ++index) {
        const bool isEscape = raw[index] == '\\' && index + 1 < raw.size();
        text += isEscape ? unescaped(raw[++index]) : raw[index];
    }
    return text;
}

/// The user's languages as these files write them, each followed by the language without country.
std::vector<std::string> interfaceLanguages() {
    std::vector<std::string> languages;
    for (QString language : QLocale().uiLanguages()) {
        language.replace(QLatin1Char('-'), QLatin1Char('_'));
        languages.push_back(language.toStdString());
        languages.push_back(language.section(QLatin1Char('_'), 0, 0).toStdString());
    }
    return languages;
}

}  // namespace

KeyFile KeyFile::parse(std::string_view text) {
    KeyFile file;
    Entries* group = nullptr;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.empty() || line.front() == '#') continue;
        if (line.front() == '[') {
            group = line.back() == ']'
                        ? &file.m_groups[std::string(line.substr(1, line.size() - 2))]
                        : nullptr;
            continue;
        }
        const std::size_t equals = line.find('=');
        if (!group || equals == std::string_view::npos) continue;
        group->try_emplace(std::string(trimmed(line.substr(0, equals))),
                           trimmed(line.substr(equals + 1)));
    }
    return file;
}

std::optional<KeyFile> KeyFile::read(const FileUrl& file, LastLink link) {
    const auto content = readSmallFile(file, kMaximumBytes, link);
    if (!content) return std::nullopt;
    return parse(*content);
}

std::optional<std::string_view> KeyFile::rawValue(std::string_view group,
                                                  std::string_view key) const {
    const auto entries = m_groups.find(group);
    if (entries == m_groups.end()) return std::nullopt;
    const auto entry = entries->second.find(key);
    if (entry == entries->second.end()) return std::nullopt;
    return entry->second;
}

std::string KeyFile::text(std::string_view group, std::string_view key) const {
    return withoutEscapes(rawValue(group, key).value_or(std::string_view{}));
}

std::string KeyFile::localizedText(std::string_view group, std::string_view key) const {
    for (const std::string& language : interfaceLanguages()) {
        const std::string localizedKey = std::string(key) + '[' + language + ']';
        if (const auto raw = rawValue(group, localizedKey)) return withoutEscapes(*raw);
    }
    return text(group, key);
}

std::vector<std::string> KeyFile::list(std::string_view group, std::string_view key) const {
    std::vector<std::string> texts;
    std::string_view rest = rawValue(group, key).value_or(std::string_view{});
    while (!rest.empty()) {
        std::size_t end = 0;
        while (end < rest.size() && rest[end] != ';')
            end += rest[end] == '\\' ? 2 : 1;
        end = std::min(end, rest.size());
        if (end > 0) texts.push_back(withoutEscapes(rest.substr(0, end)));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return texts;
}

bool KeyFile::flag(std::string_view group, std::string_view key) const {
    return rawValue(group, key) == "true";
}

}  // namespace kestrin
