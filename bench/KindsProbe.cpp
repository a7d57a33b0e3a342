// SPDX-License-Identifier: GPL-3.0-or-later
// How long it takes to tell the kinds of 100,000 names, by the tables of type codes and extensions
// and as the program tells them to its users. Fails when one takes longer than it may.
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "fsutil/EntryKind.h"
#include "fsutil/FileKindTables.h"
#include "fsutil/QVFilesUtilities.h"

namespace {

using namespace kestrin;

constexpr std::size_t kNames = 100000;
constexpr double kTablesLimit = 10;  // milliseconds
constexpr double kKindsLimit = 200;

double milliseconds(const std::function<void()>& work) {
    const auto began = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - began)
        .count();
}

bool report(const char* what, double took, double limit) {
    std::printf("%-16s %8.2f ms   at most %3.0f ms   names: ", what, took, limit);
    return took <= limit;
}

struct Name {
    std::string text;
    std::string extension;
    OSType code = 0;
};

/// Names as a trash has them: with the extensions of every table and others, also in capitals, and
/// with type codes that half of them do not have.
std::vector<Name> makeNames() {
    std::vector<std::string> extensions{"",           "JPG", "Mp4", "tar.gz",
                                        "unheard-of", "odt", "xcf", "so.3"};
    const auto add = [&](const auto& table) {
        extensions.insert(extensions.end(), table.begin(), table.end());
    };
    add(kImageExtensions);
    add(kMusicExtensions);
    add(kMovieExtensions);
    add(kArchiveExtensions);
    add(kDocumentExtensions);
    add(kTextExtensions);
    add(kFontExtensions);
    std::vector<Name> names(kNames);
    for (std::size_t number = 0; number < names.size(); ++number) {
        Name& name = names[number];
        name.extension = extensions[number * 7919 % extensions.size()];
        name.text = "Entry " + std::to_string(number) + "." + name.extension;
        if (number % 4 == 0) name.code = typeCodeOf(kImageTypes[number / 4 % kImageTypes.size()]);
        if (number % 4 == 1) name.code = typeCodeOf("????");
    }
    return names;
}

bool measureTables(const std::vector<Name>& names) {
    using Check = bool (QVFilesUtilities::*)(OSType, std::string_view) const;
    struct NamedCheck {
        const char* name;
        Check check;
    };
    const std::array<NamedCheck, 6> checks{{{"isImage", &QVFilesUtilities::isImage},
                                            {"isAACFile", &QVFilesUtilities::isAACFile},
                                            {"isMP3File", &QVFilesUtilities::isMP3File},
                                            {"isSound", &QVFilesUtilities::isSound},
                                            {"isCompressed", &QVFilesUtilities::isCompressed},
                                            {"isFont", &QVFilesUtilities::isFont}}};
    const QVFilesUtilities utilities;
    bool isFast = true;
    for (const NamedCheck& named : checks) {
        std::size_t found = 0;
        double shortest = 1e9;  // of several: other programs only ever make it longer
        for (int round = 0; round < 5; ++round) {
            found = 0;
            shortest = std::min(
                shortest, milliseconds([&] {
                    for (const Name& name : names)
                        found += (utilities.*named.check)(name.code, name.extension) ? 1 : 0;
                }));
        }
        isFast = report(named.name, shortest, kTablesLimit) && isFast;
        std::printf("%8zu\n", found);
    }
    return isFast;
}

bool measureKinds(const std::vector<Name>& names) {
    std::array<std::size_t, kEntryKinds.size()> counts{};
    const auto tell = [&](const Name& name) {
        ++counts[static_cast<std::size_t>(entryKindOf(name.text, S_IFREG))];
    };
    const double first = milliseconds([&] { tell(names.front()); });
    const double rest = milliseconds([&] { std::for_each(names.begin() + 1, names.end(), tell); });
    const bool isFast = report("kinds", first + rest, kKindsLimit);
    std::printf("%8zu\nthe first of them, for which the database is read %.2f ms\n", names.size(),
                first);
    for (const EntryKind kind : kEntryKinds)
        std::printf("  %-28s %29zu\n", std::string(kindWord(kind)).c_str(),
                    counts[static_cast<std::size_t>(kind)]);
    return isFast;
}

}  // namespace

int main() {
    const std::vector<Name> names = makeNames();
    const bool areTablesFast = measureTables(names);
    return measureKinds(names) && areTablesFast ? 0 : 1;
}
