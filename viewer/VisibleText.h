// SPDX-License-Identifier: GPL-3.0-or-later
// Texts that a file says of itself made fit to be read: no character of it moves, hides or turns
// around what stands beside it. Pure functions. Thread: any.
#pragma once

#include <cstddef>
#include <string>

namespace kestrin {

/// Whether a character would do something else than appear: controls, line separators, marks that
/// steer the direction of text, and those that nobody sees.
bool isUnreadable(char32_t c);

/// Appends the character in UTF-8, or what shows it when it is unreadable: the control pictures for
/// ASCII's controls, U+FFFD for the other controls and for what is no character, and "‹U+202E›" for
/// the rest.
void appendVisible(std::string& text, char32_t c);

/// A title or a name inside a file as one line of at most `limit` characters, cut at its end and
/// without blanks around it. Bytes that are not UTF-8 become U+FFFD.
std::string visibleLine(const char* bytes, std::size_t limit = 200);

}  // namespace kestrin
