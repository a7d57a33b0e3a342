// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/FileLabels.h"

#include <algorithm>
#include <string>

#include "base/AsciiCase.h"
#include "platform/items/ItemAttributes.h"

namespace kestrin {
namespace {

constexpr const char* kTags = "user.xdg.tags";

/// The names of labels and tags are ASCII, and no other character folds to one of their letters.
bool isCaseFolded(std::string_view tag, std::string_view name) {
    return std::ranges::equal(tag, name, {}, smallLetter);
}

std::string_view withoutSpaces(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

std::optional<std::int8_t> labelOfTag(std::string_view tag) {
    if (isCaseFolded(tag, "gray")) return std::int8_t{1};
    for (std::size_t number = 0; number < kFileLabels.size(); ++number)
        if (isCaseFolded(tag, kFileLabels[number].name)) return static_cast<std::int8_t>(number);
    return std::nullopt;
}

}  // namespace

std::int8_t fileLabelOf(const FileUrl& item) {
    const std::string tags = extendedAttribute(item, kTags).value_or(std::string());
    if (const auto label = fileLabelFromTags(tags)) return *label;
    const auto information = finderInformationOf(item);
    return information ? fileLabelFromFinderInformation(*information) : std::int8_t{0};
}

std::optional<std::int8_t> fileLabelFromTags(std::string_view tags) {
    while (!tags.empty()) {
        const auto end = std::min(tags.find(','), tags.size());
        if (const auto label = labelOfTag(withoutSpaces(tags.substr(0, end)))) return label;
        tags.remove_prefix(std::min(end + 1, tags.size()));
    }
    return std::nullopt;
}

std::int8_t fileLabelFromFinderInformation(const FinderInformation& information) {
    return static_cast<std::int8_t>(information.finderFlags >> 1 & 7);
}

}  // namespace kestrin
