// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/JsonWriter.h"

#include "cli/Output.h"

namespace kestrin {

namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// How many bytes the sequence that `lead` begins has; 0 when it can begin none.
std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 0;
}

/// Second bytes that would make an overlong form, a surrogate or more than U+10FFFF.
bool isForbiddenPair(unsigned char lead, unsigned char second) {
    return (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
           (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
}

/// The well-formed sequence at the beginning of `bytes` (not empty); empty when there is none.
std::string_view leadingSequence(std::string_view bytes) {
    const auto lead = static_cast<unsigned char>(bytes.front());
    const std::size_t length = sequenceLength(lead);
    if (length == 0 || bytes.size() < length) return {};
    for (std::size_t index = 1; index < length; ++index) {
        if (!isContinuation(bytes[index])) return {};
    }
    if (length > 2 && isForbiddenPair(lead, static_cast<unsigned char>(bytes[1]))) return {};
    return bytes.substr(0, length);
}

void appendUnicodeEscape(std::string& json, unsigned code) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    json += "\\u00";
    json += kDigits[code >> 4U];
    json += kDigits[code & 15U];
}

void appendAscii(std::string& json, char character) {
    switch (character) {
        case '"':
            json += "\\\"";
            break;
        case '\\':
            json += "\\\\";
            break;
        case '\n':
            json += "\\n";
            break;
        case '\r':
            json += "\\r";
            break;
        case '\t':
            json += "\\t";
            break;
        default: {
            const auto code = static_cast<unsigned char>(character);
            if (code < 0x20 || code == 0x7F) {
                appendUnicodeEscape(json, code);
            } else {
                json += character;
            }
        }
    }
}

/// Whether the sequence is one of U+0080 to U+009F, which some terminals take for commands.
bool isHighControl(std::string_view sequence) {
    return sequence[0] == '\xC2' && static_cast<unsigned char>(sequence[1]) < 0xA0;
}

void appendSequence(std::string& json, std::string_view sequence) {
    if (sequence.size() == 1) {
        appendAscii(json, sequence.front());
    } else if (isHighControl(sequence)) {
        appendUnicodeEscape(json, static_cast<unsigned char>(sequence[1]));
    } else {
        json += sequence;
    }
}

}  // namespace

void appendJsonString(std::string& json, std::string_view bytes) {
    json += '"';
    while (!bytes.empty()) {
        const std::string_view sequence = leadingSequence(bytes);
        if (sequence.empty()) {
            json += kReplacementCharacter;
            bytes.remove_prefix(1);
        } else {
            appendSequence(json, sequence);
            bytes.remove_prefix(sequence.size());
        }
    }
    json += '"';
}

void JsonWriter::key(std::string_view name) {
    separate();
    m_buffer.clear();
    appendJsonString(m_buffer, name);
    m_buffer += ": ";
    m_output.write(m_buffer);
    m_afterKey = true;
}

void JsonWriter::string(std::string_view bytes) {
    separate();
    m_buffer.clear();
    appendJsonString(m_buffer, bytes);
    m_output.write(m_buffer);
}

void JsonWriter::stringOrNull(const std::optional<std::string>& bytes) {
    if (bytes) {
        string(std::string_view(*bytes));
    } else {
        raw("null");
    }
}

void JsonWriter::number(std::uint64_t value) {
    raw(std::to_string(value));
}

void JsonWriter::boolean(bool value) {
    raw(value ? "true" : "false");
}

void JsonWriter::raw(std::string_view token) {
    separate();
    m_output.write(token);
}

void JsonWriter::begin(char bracket) {
    separate();
    m_output.write(std::string_view(&bracket, 1));
    m_levels.push_back({.isArray = bracket == '['});
}

void JsonWriter::end(char bracket) {
    const Level level = m_levels.back();
    m_levels.pop_back();
    if (m_levels.empty() && level.isArray && level.hasValues) m_output.write("\n");
    m_output.write(std::string_view(&bracket, 1));
    if (m_levels.empty()) m_output.write("\n");
}

/// Writes what separates the value to come from the one before.
void JsonWriter::separate() {
    if (m_afterKey || m_levels.empty()) {
        m_afterKey = false;
        return;
    }
    Level& level = m_levels.back();
    const bool isOutermostArray = m_levels.size() == 1 && level.isArray;
    if (level.hasValues) m_output.write(isOutermostArray ? "," : ", ");
    if (isOutermostArray) m_output.write("\n");
    level.hasValues = true;
}

}  // namespace kestrin
