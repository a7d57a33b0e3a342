// SPDX-License-Identifier: GPL-3.0-or-later
#include "fsutil/FileKindTables.h"

#include <span>
#include <string>
#include <vector>

#include "base/AsciiCase.h"

namespace kestrin {
namespace {

using Members = std::span<const std::string_view>;

/// Members in small letters, in order.
class FoldedTable {
 public:
    explicit FoldedTable(std::initializer_list<Members> tables) {
        for (const Members& table : tables)
            for (const std::string_view member : table)
                m_members.push_back(smallLetters(member));
        std::ranges::sort(m_members);
    }
    bool contains(std::string_view extension) const {
        return std::ranges::binary_search(m_members, smallLetters(extension));
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
        FoldedTable{without(without(kDocumentExtensions, "txt"), "text"), kPDFExtensions},
        FoldedTable{kTextExtensions},
        FoldedTable{kFontExtensions},
    };
    return tables[static_cast<std::size_t>(table)].contains(extension);
}

}  // namespace kestrin
