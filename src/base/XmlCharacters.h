// SPDX-License-Identifier: GPL-3.0-or-later
// The characters of XML text, as both directions of property lists need them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestrin {

/// Takes the first character off `bytes`, which must not be empty. When no
/// well-formed UTF-8 begins there, or when XML 1.0 (production 2) allows the character nowhere, one
/// byte is taken and the answer is none.
std::optional<char32_t> takeXmlCharacter(std::string_view& bytes);

bool isXmlCharacter(char32_t c);
void appendUtf8(std::string& text, char32_t c);

}  // namespace kestrin
