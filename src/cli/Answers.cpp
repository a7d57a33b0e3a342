// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Answers.h"

#include <string>

#include "base/AsciiCase.h"

namespace kestrin {

namespace {

/// The line in lower case and without blanks.
std::string plainWord(std::string_view line) {
    std::string word;
    for (const char character : line) {
        if (character == ' ' || character == '\t' || character == '\r') continue;
        word += smallLetter(character);
    }
    return word;
}

}  // namespace

bool isYes(std::string_view line) {
    const std::string word = plainWord(line);
    return word == "y" || word == "yes";
}

std::optional<RefusedAnswer> refusedAnswer(std::string_view line) {
    std::string word = plainWord(line);
    const bool holdsForAll = word.size() > 3 && word.ends_with("all");
    if (holdsForAll) word.resize(word.size() - 3);
    if (word == "s" || word == "skip") return RefusedAnswer{false, holdsForAll};
    if (word == "e" || word == "erase") return RefusedAnswer{true, holdsForAll};
    return std::nullopt;
}

}  // namespace kestrin
