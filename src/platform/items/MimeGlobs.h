// SPDX-License-Identifier: GPL-3.0-or-later
// The types that the shared MIME database gives names. QMimeDatabase gives the same answers and
// knows more, but takes several microseconds for each, which a list of 100,000 names cannot wait
// for.
#pragma once

#include <bitset>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/FileUrl.h"

namespace kestrin {

/// The globs of a database as they were when it was read. Thread: any.
/// Source: the freedesktop.org shared MIME-info specification, "The glob files".
class MimeGlobs {
 public:
    /// Reads `mime/globs2` and `mime/aliases` in each of the folders, the most important one first.
    /// A file that is absent or larger than 4 MiB says nothing, and an odd line is passed over.
    explicit MimeGlobs(const std::vector<FileUrl>& dataFolders);
    MimeGlobs(const MimeGlobs&) = delete;
    MimeGlobs& operator=(const MimeGlobs&) = delete;

    /// The globs in the user's data folders, read anew a few seconds after the files have changed.
    static std::shared_ptr<const MimeGlobs> shared();

    /// The type of a file with the exact name `name`; empty when no glob matches. A whole name
    /// counts before a suffix, and a suffix before any other pattern. Among those of one form the
    /// greatest weight decides, then the longest pattern, then the most important folder, then the
    /// order of the types' names. The full stop that begins a name begins no extension.
    /// Letters of ASCII match in either case, but for patterns of which the database says that case
    /// counts; those come before others like them.
    std::string_view typeOfName(std::string_view name) const;

 private:
    struct Match {
        const std::string* type = nullptr;  ///< in m_types
        int weight = -1;
        std::size_t folder = 0;  ///< the smaller, the more important
    };
    struct Line {
        Match match;
        std::string pattern;
        bool isExact = false;  ///< case counts
    };
    struct Wildcard {
        Line line;
        std::string needle;  ///< a part of every name that matches
    };
    struct Hash : std::hash<std::string_view> {
        using is_transparent = void;
    };
    using Table = std::unordered_map<std::string, Match, Hash, std::equal_to<>>;
    /// The patterns that are compared with names as they are, or with names in small letters.
    struct Tables {
        Table names;
        Table suffixes;
    };

    using Types = std::set<std::string, std::less<>>;
    static bool isBetter(const Match& match, const Match& than);
    void readAliases(const FileUrl& folder);
    void readFolder(const FileUrl& folder, std::size_t number, Types& closedTypes);
    bool parse(std::string_view text, Line& line);
    void add(Line line);
    static void addTo(Table& table, std::string_view key, const Match& match);
    Match suffixMatch(std::string_view name, std::string_view folded) const;

    std::map<std::string, std::string, std::less<>> m_aliases;
    Types m_types;
    Tables m_exact;
    Tables m_folded;
    std::vector<Wildcard> m_wildcards;  ///< the best first
    std::bitset<256> m_firstLetters;    ///< of all suffixes
    std::size_t m_longestSuffix = 0;
};

}  // namespace kestrin
