// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/ItemFilter.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "base/AsciiCase.h"

namespace kestrin {
namespace {

QString folded(const QString& text) {
    return text.normalized(QString::NormalizationForm_C).toCaseFolded();
}

bool isAscii(std::string_view bytes) {
    return std::ranges::all_of(bytes, [](char byte) { return (byte & 0x80) == 0; });
}

}  // namespace

ItemFilter::ItemFilter(const QString& text, std::optional<EntryKind> kind)
    : m_kind(kind), m_folded(folded(text)) {
    const std::string bytes = m_folded.toStdString();
    if (isAscii(bytes)) m_ascii = bytes;
}

/// Nearly all names are ASCII; to decode and fold each of 100,000 would take too long.
bool ItemFilter::isIn(std::string_view bytes) const {
    if (m_folded.isEmpty()) return true;
    if (!isAscii(bytes)) {
        const auto length = static_cast<qsizetype>(bytes.size());
        return folded(QString::fromUtf8(bytes.data(), length)).contains(m_folded);
    }
    const auto isSameLetter = [](char ofName, char ofText) {
        return smallLetter(ofName) == ofText;
    };
    return !m_ascii.empty() && std::search(bytes.begin(), bytes.end(), m_ascii.begin(),
                                           m_ascii.end(), isSameLetter) != bytes.end();
}

bool ItemFilter::isOfKind(const QVSmartWindowItem& item) const {
    return !m_kind || entryKindOf(item.name, item.mode) == *m_kind;
}

bool ItemFilter::passes(const QVSmartWindowItem& item) const {
    const bool hasText = isIn(item.name) || (item.originalFolder && isIn(*item.originalFolder));
    return hasText && isOfKind(item);
}

SharedItemList ItemFilter::passing(const SharedItemList& items) const {
    if (isEmpty()) return items;
    std::unordered_map<const std::string*, bool> folders;  // many entries share a few
    const auto folderPasses = [&](const std::shared_ptr<const std::string>& folder) {
        if (!folder) return false;
        const auto [known, isNew] = folders.try_emplace(folder.get());
        if (isNew) known->second = isIn(*folder);
        return known->second;
    };
    auto passing = std::make_shared<ItemList>();
    for (const auto& item : *items)
        if ((isIn(item->name) || folderPasses(item->originalFolder)) && isOfKind(*item))
            passing->push_back(item);
    if (passing->size() == items->size()) return items;
    return passing;
}

}  // namespace kestrin
