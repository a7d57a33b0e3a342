// SPDX-License-Identifier: GPL-3.0-or-later
// File names made fit to be read: on screen, in a terminal, in the log. A name is hostile bytes;
// what comes out of here never moves the cursor, breaks the line or turns the reading direction
// around. These are pure functions. Thread: any.
#pragma once

#include <QString>
#include <cstddef>
#include <string>
#include <string_view>

namespace kestrin {

/// How many characters of a name a title shows.
inline constexpr qsizetype kTitleNameLimit = 60;

/// A name or path as a text to show. Line feed, carriage return and tabulator become "\n", "\r" and
/// "\t"; other control characters, line and paragraph separators and all characters that steer the
/// direction of text become "‹U+202E›"; each byte that is not UTF-8 becomes U+FFFD. This is
/// for the eye only: different names may look the same.
QString displayName(std::string_view bytes);
/// Does the same to a name that is a text already. A lone surrogate becomes U+FFFD.
QString displayName(const QString& name);

/// The same for a line of a file's content, where a tabulator is what it is and stays.
QString displayText(std::string_view bytes);

/// A name for a title: displayName, cut in the middle ("begin…end") to at most `limit` characters.
/// No surrogate pair, combining mark or visible escape is torn apart.
QString titleName(std::string_view bytes, qsizetype limit = kTitleNameLimit);
QString titleName(const QString& name, qsizetype limit = kTitleNameLimit);

/// Appends a name or path to a line of a text file, in UTF-8 and so that its exact bytes can be had
/// back: a backslash becomes "\\", line feed, carriage return and tabulator "\n", "\r" and "\t";
/// each byte of anything else that displayName would not show as it is, "\xHH". The shell's `printf
/// '%b'` reads it back.
void appendEscapedName(std::string& line, std::string_view bytes);

}  // namespace kestrin
