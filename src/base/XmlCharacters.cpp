// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/XmlCharacters.h"

#include <array>
#include <cstddef>

namespace kestrin {
namespace {

/// The lead bytes of a sequence, and the least character that needs one so long.
struct Form {
    unsigned char mask;
    unsigned char lead;
    std::size_t length;
    char32_t least;
};
constexpr std::array<Form, 4> kForms = {{{0x80, 0x00, 1, 0x0},
                                         {0xE0, 0xC0, 2, 0x80},
                                         {0xF0, 0xE0, 3, 0x800},
                                         {0xF8, 0xF0, 4, 0x10000}}};

const Form* formOf(unsigned char lead) {
    for (const Form& form : kForms) {
        if ((lead & form.mask) == form.lead) return &form;
    }
    return nullptr;
}

std::optional<char32_t> decoded(std::string_view bytes, const Form& form) {
    if (bytes.size() < form.length) return std::nullopt;
    auto c = static_cast<char32_t>(static_cast<unsigned char>(bytes[0]) & ~form.mask);
    for (std::size_t i = 1; i < form.length; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if ((byte & 0xC0) != 0x80) return std::nullopt;
        c = (c << 6) | (byte & 0x3F);
    }
    if (c < form.least || !isXmlCharacter(c)) return std::nullopt;
    return c;
}

}  // namespace

bool isXmlCharacter(char32_t c) {
    return c == '\t' || c == '\n' || c == '\r' || (c >= 0x20 && c <= 0xD7FF) ||
           (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

std::optional<char32_t> takeXmlCharacter(std::string_view& bytes) {
    const auto lead = static_cast<unsigned char>(bytes.front());
    if (lead >= 0x20 && lead < 0x80) {  // nearly all there is
        bytes.remove_prefix(1);
        return lead;
    }
    const Form* form = formOf(lead);
    const auto c = form ? decoded(bytes, *form) : std::nullopt;
    bytes.remove_prefix(c ? form->length : 1);
    return c;
}

void appendUtf8(std::string& text, char32_t c) {
    std::size_t form = 0;
    while (form + 1 < kForms.size() && c >= kForms[form + 1].least)
        ++form;
    const std::size_t length = kForms[form].length;
    text += static_cast<char>(kForms[form].lead | (c >> (6 * (length - 1))));
    for (std::size_t i = length - 1; i > 0; --i) {
        text += static_cast<char>(0x80 | ((c >> (6 * (i - 1))) & 0x3F));
    }
}

}  // namespace kestrin
