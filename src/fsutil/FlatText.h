// SPDX-License-Identifier: GPL-3.0-or-later
// Texts whose members commas separate.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrin {

/// The pieces between the commas, empty ones too; one for a text without any.
inline std::vector<std::string> piecesOf(std::string_view text) {
    std::vector<std::string> pieces;
    while (true) {
        const std::size_t comma = text.find(',');
        pieces.emplace_back(text.substr(0, comma));
        if (comma == std::string_view::npos) return pieces;
        text.remove_prefix(comma + 1);
    }
}

}  // namespace kestrin
