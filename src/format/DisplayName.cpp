// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/DisplayName.h"

#include <QList>
#include <QTextBoundaryFinder>
#include <algorithm>
#include <array>

namespace kestrin {
namespace {

/// The first character of some bytes.
struct Character {
    char32_t codePoint = U'\uFFFD';
    std::size_t length = 1;  ///< bytes it takes
    bool isValid = false;    ///< false: the first byte does not begin a character of UTF-8
};

/// Decodes strictly: no overlong forms, no surrogates, nothing above U+10FFFF. Not left to Qt's
/// decoder, which swallows a byte order mark and does not say which bytes were bad.
Character firstCharacter(std::string_view bytes) {
    const auto byteAt = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned lead = byteAt(0);
    if (lead < 0x80) return {lead, 1, true};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() < length) return {};
    char32_t codePoint = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0U) != 0x80) return {};
        codePoint = codePoint << 6 | (byteAt(i) & 0x3FU);
    }
    constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < kSmallest[length] || codePoint > 0x10FFFF || isSurrogate) return {};
    return {codePoint, length, true};
}

/// Whether a character would do something else than appear: controls, line separators, marks that
/// steer the direction of text, and those that nobody sees.
bool isUnreadable(char32_t c) {
    const auto isIn = [c](char32_t first, char32_t last) { return c >= first && c <= last; };
    return c < 0x20 || isIn(0x7F, 0x9F) || c == 0x061C || isIn(0x200E, 0x200F) ||
           isIn(0x2028, 0x202E) || isIn(0x2066, 0x206F) || isIn(0xFDD0, 0xFDEF) || c == 0xFEFF ||
           isIn(0xFFF9, 0xFFFC) || isIn(0xE0000, 0xE007F);
}

/// The letter after the backslash of a control character that has one; 0 for others.
char escapeLetter(char32_t c) {
    return c == U'\n' ? 'n' : c == U'\r' ? 'r' : c == U'\t' ? 't' : '\0';
}

void appendVisible(QString& text, char32_t c) {
    if (const char letter = escapeLetter(c)) {
        text += QLatin1Char('\\');
        text += QLatin1Char(letter);
    } else if (isUnreadable(c)) {
        text += QStringLiteral("‹U+%1›").arg(QString::number(c, 16).toUpper(), 4, QLatin1Char('0'));
    } else {
        text += QChar::fromUcs4(c);
    }
}

void appendHexadecimal(std::string& line, std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        line += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    }
}

void appendEscapedCharacter(std::string& line, const Character& character, std::string_view bytes) {
    const char letter = bytes == "\\" ? '\\' : escapeLetter(character.codePoint);
    if (letter) {
        line += {'\\', letter};
    } else if (!character.isValid || isUnreadable(character.codePoint)) {
        appendHexadecimal(line, bytes);
    } else {
        line += bytes;
    }
}

bool needsALook(char c) {
    return c < 0x20 || c > 0x7E || c == '\\';
}

/// `shown` cut in the middle between characters as a reader counts them.
QString cutInTheMiddle(const QString& shown, qsizetype limit) {
    if (shown.size() <= limit) return shown;
    const qsizetype kept = limit - 1;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, shown);
    finder.setPosition((kept + 1) / 2);
    if (!finder.isAtBoundary()) finder.toPreviousBoundary();
    const qsizetype headEnd = finder.position();
    finder.setPosition(shown.size() - kept / 2);
    if (!finder.isAtBoundary()) finder.toNextBoundary();
    return shown.left(headEnd) + QChar(0x2026) + shown.mid(finder.position());
}

}  // namespace

QString displayName(std::string_view bytes) {
    QString text;
    text.reserve(static_cast<qsizetype>(bytes.size()));
    while (!bytes.empty()) {
        const Character character = firstCharacter(bytes);
        appendVisible(text, character.codePoint);
        bytes.remove_prefix(character.length);
    }
    return text;
}

QString displayName(const QString& name) {
    QString text;
    text.reserve(name.size());
    for (const uint codePoint : name.toUcs4())
        appendVisible(text, codePoint);
    return text;
}

QString displayText(std::string_view bytes) {
    QString text;
    text.reserve(static_cast<qsizetype>(bytes.size()));
    while (!bytes.empty()) {
        const auto plainEnd = std::ranges::find_if(bytes, needsALook);
        const auto length = static_cast<std::size_t>(plainEnd - bytes.begin());
        text += QLatin1String(bytes.data(), static_cast<qsizetype>(length));
        bytes.remove_prefix(length);
        if (bytes.empty()) break;
        const Character character = firstCharacter(bytes);
        if (character.codePoint == U'\t') {
            text += QLatin1Char('\t');
        } else {
            appendVisible(text, character.codePoint);
        }
        bytes.remove_prefix(character.length);
    }
    return text;
}

QString titleName(std::string_view bytes, qsizetype limit) {
    return cutInTheMiddle(displayName(bytes), limit);
}

QString titleName(const QString& name, qsizetype limit) {
    return cutInTheMiddle(displayName(name), limit);
}

void appendEscapedName(std::string& line, std::string_view bytes) {
    while (!bytes.empty()) {
        // Almost every path is plain throughout: one look, one copy.
        const auto plainEnd = std::ranges::find_if(bytes, needsALook);
        line.append(bytes.begin(), plainEnd);
        bytes.remove_prefix(static_cast<std::size_t>(plainEnd - bytes.begin()));
        if (bytes.empty()) return;
        const Character character = firstCharacter(bytes);
        appendEscapedCharacter(line, character, bytes.substr(0, character.length));
        bytes.remove_prefix(character.length);
    }
}

}  // namespace kestrin
