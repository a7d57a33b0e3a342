// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/FileLabels.h"

#include <algorithm>
#include <array>
#include <string>

#include "base/AsciiCase.h"
#include "platform/items/ItemAttributes.h"

namespace kestrin {
namespace {

constexpr std::size_t kFinderInformationSize = 32;
constexpr std::size_t kLabelByte = 9;  // the low one of the flags, which are big endian
constexpr const char* kTags = "user.xdg.tags";
constexpr std::array kFinderInformation{"user.com.apple.FinderInfo", "osx.com.apple.FinderInfo"};

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

/// What the attribute holds; empty when there is none.
std::string attribute(const FileUrl& item, const char* name) {
    return extendedAttribute(item, name).value_or(std::string());
}

}  // namespace

std::int8_t fileLabelOf(const FileUrl& item) {
    if (const auto label = fileLabelFromTags(attribute(item, kTags))) return *label;
    for (const char* const name : kFinderInformation)
        if (const std::string bytes = attribute(item, name); !bytes.empty())
            return fileLabelFromFinderInformation(bytes);
    return 0;
}

std::optional<std::int8_t> fileLabelFromTags(std::string_view tags) {
    while (!tags.empty()) {
        const auto end = std::min(tags.find(','), tags.size());
        if (const auto label = labelOfTag(withoutSpaces(tags.substr(0, end)))) return label;
        tags.remove_prefix(std::min(end + 1, tags.size()));
    }
    return std::nullopt;
}

std::int8_t fileLabelFromFinderInformation(std::string_view bytes) {
    if (bytes.size() != kFinderInformationSize) return 0;
    return static_cast<std::int8_t>((static_cast<unsigned char>(bytes[kLabelByte]) >> 1) & 7);
}

}  // namespace kestrin
