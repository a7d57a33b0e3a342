// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/MimeGlobs.h"

#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <mutex>
#include <tuple>
#include <utility>

#include "base/AsciiCase.h"
#include "platform/desktop/Places.h"
#include "platform/items/SmallFile.h"

namespace kestrin {
namespace {

constexpr std::size_t kMaximumBytes = std::size_t{4} << 20;
constexpr std::size_t kLongestField = 255;   // bytes, as no name is longer
constexpr std::size_t kMostWildcards = 200;  // a database has about 15
constexpr int kGreatestWeight = 100;
constexpr std::string_view kNoGlobs = "__NOGLOBS__";
constexpr std::string_view kSpecialLetters = "*?[\\";
constexpr std::chrono::seconds kTimeBetweenLooks(5);

std::string_view cutAt(std::string_view& text, char separator) {
    const std::size_t end = text.find(separator);
    const std::string_view piece = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return piece;
}

bool isField(std::string_view text) {
    return !text.empty() && text.size() <= kLongestField &&
           text.find('\0') == std::string_view::npos;
}

bool hasFlag(std::string_view flags, std::string_view flag) {
    while (!flags.empty())
        if (cutAt(flags, ',') == flag) return true;
    return false;
}

/// The longest run of plain letters in a pattern. What a bracket holds is none.
std::string needleOf(std::string_view pattern) {
    std::string_view longest;
    while (!pattern.empty()) {
        const std::string_view run = pattern.substr(0, pattern.find_first_of(kSpecialLetters));
        if (run.size() > longest.size()) longest = run;
        pattern.remove_prefix(run.size());
        if (pattern.empty()) break;
        // Where a bracket or an escape ends is left to fnmatch.
        if (pattern.front() == '[' || pattern.front() == '\\') break;
        pattern.remove_prefix(1);
    }
    return std::string(longest);
}

/// What changes with a file: its last change, its number and its size.
using Stamp = std::tuple<time_t, long, ino_t, off_t>;

std::vector<Stamp> stampsOf(const std::vector<FileUrl>& dataFolders) {
    std::vector<Stamp> stamps;
    for (const FileUrl& folder : dataFolders) {
        // The cache is written last, and has what Qt knows of the types.
        for (const char* const file : {"mime/globs2", "mime/mime.cache"}) {
            struct stat status {};
            ::stat(folder.appending(file).path().c_str(), &status);
            stamps.emplace_back(status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_ino,
                                status.st_size);
        }
    }
    return stamps;
}

/// The globs that are in use, and the files that they came from.
class SharedGlobs {
 public:
    std::shared_ptr<const MimeGlobs> current() {
        const std::scoped_lock lock(m_mutex);
        const auto now = std::chrono::steady_clock::now();
        if (m_globs && now < m_nextLook) return m_globs;
        m_nextLook = now + kTimeBetweenLooks;
        const std::vector<FileUrl> folders = dataFolders();
        std::vector<Stamp> stamps = stampsOf(folders);
        if (m_globs && folders == m_folders && stamps == m_stamps) return m_globs;
        m_globs = std::make_shared<const MimeGlobs>(folders);
        m_folders = folders;
        m_stamps = std::move(stamps);
        return m_globs;
    }

 private:
    std::mutex m_mutex;
    std::shared_ptr<const MimeGlobs> m_globs;
    std::chrono::steady_clock::time_point m_nextLook;
    std::vector<FileUrl> m_folders;
    std::vector<Stamp> m_stamps;
};

}  // namespace

MimeGlobs::MimeGlobs(const std::vector<FileUrl>& dataFolders) {
    for (const FileUrl& folder : dataFolders)
        readAliases(folder);
    Types closedTypes;
    for (std::size_t number = 0; number < dataFolders.size(); ++number)
        readFolder(dataFolders[number], number, closedTypes);
    std::ranges::stable_sort(m_wildcards, [](const Wildcard& left, const Wildcard& right) {
        const auto rank = [](const Line& line) {
            return std::tuple(-line.match.weight, -static_cast<long>(line.pattern.size()),
                              line.match.folder, std::string_view(*line.match.type));
        };
        return rank(left.line) < rank(right.line);
    });
}

std::shared_ptr<const MimeGlobs> MimeGlobs::shared() {
    // Never destroyed: threads that nobody waits for may still ask when the process ends.
    static auto& globs = *new SharedGlobs;
    return globs.current();
}

bool MimeGlobs::isBetter(const Match& match, const Match& than) {
    if (match.weight != than.weight) return match.weight > than.weight;
    return match.folder == than.folder && *match.type < *than.type;
}

/// ALIAS TYPE
void MimeGlobs::readAliases(const FileUrl& folder) {
    const auto content =
        readSmallFile(folder.appending("mime/aliases"), kMaximumBytes, LastLink::Follow);
    std::string_view rest = content ? std::string_view(*content) : std::string_view();
    while (!rest.empty()) {
        std::string_view type = cutAt(rest, '\n');
        const std::string_view alias = cutAt(type, ' ');
        if (isField(alias) && isField(type)) m_aliases.try_emplace(std::string(alias), type);
    }
}

/// `closedTypes` are those whose globs in this folder do not count.
void MimeGlobs::readFolder(const FileUrl& folder, std::size_t number, Types& closedTypes) {
    const auto content =
        readSmallFile(folder.appending("mime/globs2"), kMaximumBytes, LastLink::Follow);
    if (!content) return;
    Types closedHere;
    std::set<std::pair<const std::string*, std::string>> exactPatterns;
    std::string_view rest = *content;
    while (!rest.empty()) {
        Line line;
        line.match.folder = number;
        if (!parse(cutAt(rest, '\n'), line) || closedTypes.contains(*line.match.type)) continue;
        if (line.pattern == kNoGlobs) {
            closedHere.insert(*line.match.type);
            continue;
        }
        // For older programs a pattern whose case counts stands there once more, without its flag.
        const auto pattern = std::pair(line.match.type, line.pattern);
        if (line.isExact) exactPatterns.insert(pattern);
        if (line.isExact || !exactPatterns.contains(pattern)) add(std::move(line));
    }
    closedTypes.merge(closedHere);
}

/// WEIGHT:TYPE:PATTERN[:FLAGS[:…]]
bool MimeGlobs::parse(std::string_view text, Line& line) {
    const std::string_view weight = cutAt(text, ':');
    const std::string_view type = cutAt(text, ':');
    const std::string_view pattern = cutAt(text, ':');
    const char* const weightEnd = weight.data() + weight.size();
    const auto [end, error] = std::from_chars(weight.data(), weightEnd, line.match.weight);
    if (error != std::errc() || end != weightEnd || !isField(type) || !isField(pattern) ||
        line.match.weight < 0 || line.match.weight > kGreatestWeight)
        return false;
    const auto alias = m_aliases.find(type);
    line.match.type = &*m_types.emplace(alias == m_aliases.end() ? type : alias->second).first;
    line.isExact = hasFlag(cutAt(text, ':'), "cs");
    line.pattern = pattern;
    return true;
}

void MimeGlobs::add(Line line) {
    Tables& tables = line.isExact ? m_exact : m_folded;
    if (!line.isExact) line.pattern = smallLetters(line.pattern);
    const std::string_view pattern = line.pattern;
    const std::size_t special = pattern.find_first_of(kSpecialLetters);
    if (special == std::string_view::npos) {
        addTo(tables.names, pattern, line.match);
    } else if (pattern.size() > 1 && pattern.front() == '*' &&
               pattern.find_first_of(kSpecialLetters, 1) == std::string_view::npos) {
        const std::string_view suffix = pattern.substr(1);
        addTo(tables.suffixes, suffix, line.match);
        m_firstLetters.set(static_cast<unsigned char>(suffix.front()));
        m_longestSuffix = std::max(m_longestSuffix, suffix.size());
    } else if (m_wildcards.size() < kMostWildcards) {
        std::string needle = needleOf(pattern);
        m_wildcards.push_back({std::move(line), std::move(needle)});
    }
}

void MimeGlobs::addTo(Table& table, std::string_view key, const Match& match) {
    const auto [known, isNew] = table.try_emplace(std::string(key), match);
    if (!isNew && isBetter(match, known->second)) known->second = match;
}

std::string_view MimeGlobs::typeOfName(std::string_view name) const {
    const std::string folded = smallLetters(name);
    if (const auto found = m_exact.names.find(name); found != m_exact.names.end())
        return *found->second.type;
    if (const auto found = m_folded.names.find(folded); found != m_folded.names.end())
        return *found->second.type;
    if (const Match match = suffixMatch(name, folded); match.type) return *match.type;
    const std::string exact(name);
    for (const auto& [line, needle] : m_wildcards) {
        const std::string& text = line.isExact ? exact : folded;
        if (text.find(needle) != std::string::npos &&
            ::fnmatch(line.pattern.c_str(), text.c_str(), 0) == 0)
            return *line.match.type;
    }
    return {};
}

MimeGlobs::Match MimeGlobs::suffixMatch(std::string_view name, std::string_view folded) const {
    Match best;
    const auto take = [&best](const Table& table, std::string_view suffix) {
        const auto found = table.find(suffix);
        if (found != table.end() && found->second.weight > best.weight) best = found->second;
    };
    // The full stop that begins a hidden file's name begins no extension.
    std::size_t at = name.starts_with('.') ? 1 : 0;
    if (name.size() > m_longestSuffix) at = std::max(at, name.size() - m_longestSuffix);
    for (; at < name.size(); ++at) {
        if (m_firstLetters.test(static_cast<unsigned char>(name[at])) ||
            m_firstLetters.test(static_cast<unsigned char>(folded[at]))) {
            take(m_exact.suffixes, name.substr(at));
            take(m_folded.suffixes, folded.substr(at));
        }
    }
    return best;
}

}  // namespace kestrin
