// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/disks/linux/MountText.h"

#include <optional>

namespace kestrin {
namespace {

/// The byte that three octal digits at the start of `text` stand for.
std::optional<char> octalByte(std::string_view text) {
    unsigned value = 0;
    if (text.size() < 3) return std::nullopt;
    for (const char digit : text.substr(0, 3)) {
        if (digit < '0' || digit > '7') return std::nullopt;
        value = value * 8 + static_cast<unsigned>(digit - '0');
    }
    if (value > 0377) return std::nullopt;
    return static_cast<char>(value);
}

}  // namespace

std::vector<std::string_view> splitAt(char separator, std::string_view text) {
    std::vector<std::string_view> pieces;
    while (true) {
        const auto end = text.find(separator);
        pieces.push_back(text.substr(0, end));
        if (end == text.npos) return pieces;
        text.remove_prefix(end + 1);
    }
}

std::string unescapeOctal(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        const auto byte = text[0] == '\\' ? octalByte(text.substr(1)) : std::nullopt;
        bytes += byte.value_or(text[0]);
        text.remove_prefix(byte ? 4 : 1);
    }
    return bytes;
}

}  // namespace kestrin
