// SPDX-License-Identifier: GPL-3.0-or-later
#include "fsutil/FileKindTables.h"

#include <span>
#include <string>
#include <vector>

namespace kestrin {
namespace {

using Members = std::span<const std::string_view>;

std::string folded(std::string_view extension) {
    std::string lower(extension);
    for (char& letter : lower)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return lower;
}

/// Folded and in order, each once.
class FoldedTable {
 public:
    explicit FoldedTable(std::initializer_list<Members> tables) {
        for (const Members& table : tables)
            for (const std::string_view member : table)
                m_members.push_back(folded(member));
        std::ranges::sort(m_members);
    }
    bool contains(std::string_view extension) const {
        return std::ranges::binary_search(m_members, folded(extension));
    }

 private:
    std::vector<std::string> m_members;
};

}  // namespace

bool isListed(ExtensionTable table, std::string_view extension) {
    static const std::array tables{
        FoldedTable{kImageExtensions},
        FoldedTable{kMusicExtensions, kSoundExtensions},
        FoldedTable{kMovieExtensions},
        FoldedTable{kArchiveExtensions},
        FoldedTable{kDocumentExtensions, kPDFExtensions},
        FoldedTable{kTextExtensions},
        FoldedTable{kFontExtensions},
    };
    return tables[static_cast<std::size_t>(table)].contains(extension);
}

}  // namespace kestrin
