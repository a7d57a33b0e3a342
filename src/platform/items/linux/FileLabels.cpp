// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/FileLabels.h"

#include <sys/xattr.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>

namespace kestrin {
namespace {

// The kernel allows no more for one attribute, and none for the names of all.
constexpr std::size_t kLargestAttribute = std::size_t{64} << 10;
constexpr std::size_t kFinderInformationSize = 32;
constexpr std::size_t kLabelByte = 9;  // the low one of the flags, which are big endian
constexpr const char* kTags = "user.xdg.tags";
constexpr std::array kFinderInformation{"user.com.apple.FinderInfo", "osx.com.apple.FinderInfo"};

/// The names of labels and tags are ASCII, and no other character folds to one of their letters.
bool isCaseFolded(std::string_view tag, std::string_view name) {
    return std::ranges::equal(tag, name, {}, [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
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

/// What the attribute holds; empty when there is none, and for one that is too large to be meant.
std::string attribute(const char* path, const char* name) {
    std::string bytes(256, '\0');
    ssize_t size = lgetxattr(path, name, bytes.data(), bytes.size());
    if (size < 0 && errno == ERANGE) {
        bytes.resize(kLargestAttribute);
        size = lgetxattr(path, name, bytes.data(), bytes.size());
    }
    bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return bytes;
}

/// The names of all attributes, a NUL after each. Nearly no item has one that matters, and this is
/// one question instead of three. None when the names cannot be told.
std::optional<std::string> attributeNames(const char* path, bool& hasAttributes) {
    std::string names(1024, '\0');
    const ssize_t size = llistxattr(path, names.data(), names.size());
    hasAttributes = size >= 0 || errno != ENOTSUP;
    if (size < 0) return std::nullopt;
    names.resize(static_cast<std::size_t>(size));
    return names;
}

std::int8_t labelOf(const char* path, bool& hasAttributes) {
    const auto names = attributeNames(path, hasAttributes);
    if (!hasAttributes) return 0;
    const auto valueOf = [&](std::string_view name) {
        const bool mayBeThere = !names || names->find(name) != std::string::npos;
        return mayBeThere ? attribute(path, name.data()) : std::string();
    };
    if (const auto label = fileLabelFromTags(valueOf(kTags))) return *label;
    for (const char* const name : kFinderInformation)
        if (const std::string bytes = valueOf(name); !bytes.empty())
            return fileLabelFromFinderInformation(bytes);
    return 0;
}

}  // namespace

std::int8_t fileLabelOf(const FileUrl& item) {
    bool hasAttributes = true;
    return labelOf(item.path().c_str(), hasAttributes);
}

std::int8_t fileLabelAt(int folder, const char* name, bool& hasAttributes) {
    const std::string path = "/proc/self/fd/" + std::to_string(folder) + '/' + name;
    return labelOf(path.c_str(), hasAttributes);
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
