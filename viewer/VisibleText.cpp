// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/VisibleText.h"

#include <unicode/unistr.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cstdio>
#include <string_view>

namespace kestrin {
namespace {

bool isIn(char32_t c, char32_t first, char32_t last) {
    return c >= first && c <= last;
}

void appendUtf8(std::string& text, char32_t c) {
    char bytes[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, static_cast<UChar32>(c));
    text.append(bytes, length);
}

}  // namespace

bool isUnreadable(char32_t c) {
    return c < 0x20 || isIn(c, 0x7F, 0x9F) || c == 0x061C || isIn(c, 0x200E, 0x200F) ||
           isIn(c, 0x2028, 0x202E) || isIn(c, 0x2066, 0x206F) || c == 0xFEFF ||
           isIn(c, 0xFFF9, 0xFFFC) || isIn(c, 0xE0000, 0xE007F);
}

void appendVisible(std::string& text, char32_t c) {
    if (c >= 0x20 && c < 0x7F) {
        text.push_back(static_cast<char>(c));
    } else if (c < 0x20) {
        appendUtf8(text, 0x2400 + c);
    } else if (c == 0x7F) {
        appendUtf8(text, 0x2421);
    } else if (c < 0xA0 || !U_IS_UNICODE_CHAR(static_cast<UChar32>(c))) {
        appendUtf8(text, 0xFFFD);
    } else if (isUnreadable(c)) {
        char name[16];
        std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned>(c));
        text += std::string("‹") + name + "›";
    } else {
        appendUtf8(text, c);
    }
}

std::string visibleLine(const char* bytes, std::size_t limit) {
    constexpr std::size_t kLongest = 4096;  // what is longer is cut all the same
    auto text = icu::UnicodeString::fromUTF8(std::string_view(bytes).substr(0, kLongest));
    text.trim();
    std::string line;
    std::size_t count = 0;
    for (int32_t at = 0; at < text.length(); at = text.moveIndex32(at, 1)) {
        if (++count > limit) return line + "…";
        const auto c = static_cast<char32_t>(text.char32At(at));
        if (c == U'\t' || c == U'\n' || c == U'\r') {
            line.push_back(' ');
        } else {
            appendVisible(line, c);
        }
    }
    return line;
}

}  // namespace kestrin
