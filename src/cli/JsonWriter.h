// SPDX-License-Identifier: GPL-3.0-or-later
// JSON, written as it comes: nothing is kept but the nesting.
#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrin {

class Output;

/// Writes one JSON value (RFC 8259), always in valid UTF-8. Elements of the outermost array stand
/// on lines of their own. Requires: the calls together make one value, and in an object each value
/// follows its key.
class JsonWriter {
 public:
    explicit JsonWriter(Output& output) : m_output(output) {}
    JsonWriter(const JsonWriter&) = delete;
    JsonWriter& operator=(const JsonWriter&) = delete;

    void beginArray() { begin('['); }
    void endArray() { end(']'); }
    void beginObject() { begin('{'); }
    void endObject() { end('}'); }
    void key(std::string_view name);

    /// Writes bytes as a string. Each byte that is not UTF-8 becomes U+FFFD. Control characters are
    /// escaped, those above U+007F too, so that a terminal never obeys one.
    void string(std::string_view bytes);
    void string(const QString& text) { string(std::string_view(text.toStdString())); }
    /// Writes the bytes as a string, or null.
    void stringOrNull(const std::optional<std::string>& bytes);
    void number(std::uint64_t value);
    void boolean(bool value);

 private:
    void begin(char bracket);
    void end(char bracket);
    void separate();
    void raw(std::string_view token);

    Output& m_output;
    struct Level {
        bool isArray = false;
        bool hasValues = false;
    };
    std::vector<Level> m_levels;
    bool m_afterKey = false;
    std::string m_buffer;  ///< of `string`, kept for its room
};

/// Appends `bytes` as a JSON string with its quotes.
void appendJsonString(std::string& json, std::string_view bytes);

}  // namespace kestrin
