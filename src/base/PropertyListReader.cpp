// SPDX-License-Identifier: GPL-3.0-or-later
// Reads property lists without an XML library: a root service feeds it what unprivileged programs
// sent, and what it accepts is small. It goes over the bytes once, holds no state but its position,
// and calls itself only as deep as the limits allow.
#include <QByteArray>
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <utility>

#include "base/PropertyList.h"
#include "base/XmlCharacters.h"

namespace kestrin {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
/// How many bytes are gone over at once, without a look at whether to stop.
constexpr std::size_t kPiece = std::size_t{1} << 20;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct Entity {
    std::string_view name;
    char character;
};
constexpr std::array<Entity, 5> kEntities = {
    {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}}};

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// The number that the whole of `text` writes; none when it is anything else or out of range.
template <class Number, class... Base>
std::optional<Number> readNumber(std::string_view text, Base... base) {
    Number number{};
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number, base...);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return number;
}

/// The character behind the name or number between "&" and ";".
std::optional<char32_t> entityCharacter(std::string_view name) {
    for (const Entity& entity : kEntities) {
        if (entity.name == name) return static_cast<char32_t>(entity.character);
    }
    if (!name.starts_with('#')) return std::nullopt;
    name.remove_prefix(1);
    const bool isHexadecimal = name.starts_with('x');
    if (isHexadecimal) name.remove_prefix(1);
    const auto number = readNumber<std::uint32_t>(name, isHexadecimal ? 16 : 10);
    if (!number || !isXmlCharacter(*number)) return std::nullopt;
    return *number;
}

class Reader {
 public:
    Reader(std::string_view xml, const PropertyListLimits& limits)
        : m_document(xml), m_rest(xml), m_limits(limits) {}

    Result<PropertyList> read();

 private:
    // What follows answers none, or false, after `fail`.
    using Value = std::optional<PropertyList>;
    struct Tag {
        enum class Kind { Open, Close, Empty };
        std::string_view name;
        Kind kind = Kind::Open;
    };

    std::nullopt_t fail(std::string what);
    bool goesOn();
    bool checkBytes();
    bool checkTexts();
    Value readDocument();
    bool readDeclaration();
    bool readDocumentType();
    bool readPlistTag();
    std::optional<std::string_view> readAttribute(std::string_view name);

    bool take(std::string_view token);
    std::string_view takeName();
    void takeBlanks();
    bool skipBlanksAndComments();
    bool skipComment();
    std::optional<Tag> readTag();
    bool readClose(std::string_view name);
    std::optional<std::string> readText(const Tag& tag);
    bool appendEntity(std::string& text);

    bool countValue();
    Value readValue(const Tag& tag, std::size_t depth);
    Value readArray(std::size_t depth);
    Value readDictionary(std::size_t depth);
    bool readEntry(PropertyList::Dictionary& dictionary, const Tag& keyTag, std::size_t depth);
    Value readBool(const Tag& tag);
    Value readScalar(const Tag& tag);
    Value readInteger(std::string_view text);
    Value readReal(std::string_view text);
    Value readData(std::string_view text);

    const std::string_view m_document;
    std::string_view m_rest;
    const PropertyListLimits m_limits;
    std::size_t m_values = 0;
    std::string m_error;
};

/// The first failure counts.
std::nullopt_t Reader::fail(std::string what) {
    if (m_error.empty()) {
        const auto read = m_document.substr(0, m_document.size() - m_rest.size());
        const auto line = 1 + std::count(read.begin(), read.end(), '\n');
        m_error = "line " + std::to_string(line) + ": " + std::move(what);
    }
    return std::nullopt;
}

/// Looked at once for every piece of work that has a bound.
bool Reader::goesOn() {
    if (m_error.empty() && m_limits.stop && *m_limits.stop) m_error = "stopped";
    return m_error.empty();
}

Result<PropertyList> Reader::read() {
    if (auto value = checkBytes() ? readDocument() : std::nullopt) return *std::move(value);
    HostError error{std::string(kFileErrorDomain), kPropertyListReadCorrupt, 0, {}};
    error.userInfo["errorString"] = "Not a property list: " + m_error;
    return error;
}

bool Reader::checkBytes() {
    if (m_document.size() > m_limits.maximumBytes) {
        fail("more than " + std::to_string(m_limits.maximumBytes) + " bytes");
        return false;
    }
    while (!m_rest.empty() && goesOn()) {
        const std::size_t end = m_rest.size() - std::min(m_rest.size(), kPiece);
        while (m_rest.size() > end) {
            if (takeXmlCharacter(m_rest)) continue;
            fail("bytes that are not UTF-8, or a character that XML cannot hold");
            return false;
        }
    }
    return m_error.empty() && checkTexts();
}

/// What lies between two tags is gone over in one piece.
bool Reader::checkTexts() {
    for (m_rest = m_document; goesOn() && !m_rest.empty();) {
        const auto text = m_rest.substr(0, m_rest.find('<'));
        if (text.size() > m_limits.maximumText) fail("too long a text");
        m_rest.remove_prefix(std::min(text.size() + 1, m_rest.size()));
    }
    m_rest = m_document;
    return m_error.empty();
}

Reader::Value Reader::readDocument() {
    take(kByteOrderMark);
    if (!readDeclaration() || !skipBlanksAndComments() || !readDocumentType() ||
        !skipBlanksAndComments() || !readPlistTag() || !skipBlanksAndComments()) {
        return std::nullopt;
    }
    const auto tag = readTag();
    if (!tag) return std::nullopt;
    auto value = readValue(*tag, 1);
    if (!value || !skipBlanksAndComments() || !readClose("plist") || !skipBlanksAndComments()) {
        return std::nullopt;
    }
    if (!m_rest.empty()) return fail("something after the property list");
    return value;
}

/// The XML declaration may be left out.
bool Reader::readDeclaration() {
    if (!take("<?xml")) return true;
    const auto version = readAttribute("version");
    const auto encoding = readAttribute("encoding");
    if (!version || *version != "1.0") fail("not XML 1.0");
    if (encoding && *encoding != "UTF-8" && *encoding != "utf-8") fail("not UTF-8");
    takeBlanks();
    if (!take("?>")) fail("an unknown XML declaration");
    return m_error.empty();
}

/// So may the document type. What it names is never fetched, what it would declare is refused.
bool Reader::readDocumentType() {
    if (!take("<!DOCTYPE")) return true;
    takeBlanks();
    if (takeName() != "plist") fail("the document type is not plist");
    const auto end = m_rest.find_first_of("[<>");
    if (end == std::string_view::npos || m_rest[end] != '>') {
        fail("a document type with declarations of its own");
        return false;
    }
    m_rest.remove_prefix(end + 1);
    return m_error.empty();
}

bool Reader::readPlistTag() {
    if (!take("<plist")) {
        fail("no property list");
        return false;
    }
    const auto version = readAttribute("version");
    if (version && *version != "1.0") fail("an unknown version");
    takeBlanks();
    if (!take(">")) fail("an unknown attribute of plist");
    return m_error.empty();
}

/// NAME="VALUE" behind blanks; none, with nothing taken, when something else stands there.
std::optional<std::string_view> Reader::readAttribute(std::string_view name) {
    const auto before = m_rest;
    takeBlanks();
    const bool isThere =
        m_rest.size() < before.size() && take(name) && take("=") && !m_rest.empty();
    const char quote = isThere ? m_rest.front() : '\0';
    const auto end = quote == '"' || quote == '\'' ? m_rest.find(quote, 1) : std::string_view::npos;
    if (end == std::string_view::npos) {
        m_rest = before;
        return std::nullopt;
    }
    const auto value = m_rest.substr(1, end - 1);
    m_rest.remove_prefix(end + 1);
    return value;
}

bool Reader::take(std::string_view token) {
    if (!m_rest.starts_with(token)) return false;
    m_rest.remove_prefix(token.size());
    return true;
}

std::string_view Reader::takeName() {
    const auto end = std::find_if_not(m_rest.begin(), m_rest.end(), isLetter);
    const auto name = m_rest.substr(0, static_cast<std::size_t>(end - m_rest.begin()));
    m_rest.remove_prefix(name.size());
    return name;
}

void Reader::takeBlanks() {
    m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size()));
}

bool Reader::skipBlanksAndComments() {
    takeBlanks();
    while (goesOn() && take("<!--")) {
        if (!skipComment()) return false;
        takeBlanks();
    }
    return m_error.empty();
}

/// From behind "<!--"; it may hold anything but "--".
bool Reader::skipComment() {
    while (goesOn()) {
        const auto end = m_rest.substr(0, kPiece).find("--");
        const bool isAtEnd = end != std::string_view::npos;
        if (isAtEnd && m_rest.substr(end).starts_with("-->")) {
            m_rest.remove_prefix(end + 3);
            return true;
        }
        if (isAtEnd || m_rest.size() <= kPiece) fail("a comment without end");
        m_rest.remove_prefix(std::min(m_rest.size(), kPiece - 1));
    }
    return false;
}

std::optional<Reader::Tag> Reader::readTag() {
    Tag tag;
    if (!take("<")) return fail(m_rest.empty() ? "it ends too early" : "text outside values");
    if (take("/")) tag.kind = Tag::Kind::Close;
    tag.name = takeName();
    takeBlanks();
    if (tag.kind == Tag::Kind::Open && take("/")) tag.kind = Tag::Kind::Empty;
    if (tag.name.empty() || !take(">")) return fail("an unknown element or an attribute");
    return tag;
}

bool Reader::readClose(std::string_view name) {
    const auto tag = readTag();
    if (tag && (tag->kind != Tag::Kind::Close || tag->name != name)) {
        fail("no end of " + std::string(name));
    }
    return m_error.empty();
}

/// The text of the element that `tag` opened, with its end.
std::optional<std::string> Reader::readText(const Tag& tag) {
    std::string text;
    if (tag.kind == Tag::Kind::Empty) return text;
    while (goesOn()) {
        const auto piece = m_rest.substr(0, kPiece);
        const auto plain = std::min(piece.find_first_of("<&\r"), piece.size());
        text += piece.substr(0, plain);
        m_rest.remove_prefix(plain);
        if (take("\r")) {
            take("\n");
            text += '\n';
        } else if (take("&")) {
            if (!appendEntity(text)) return std::nullopt;
        } else if (plain < kPiece) {
            break;
        }
    }
    if (!readClose(tag.name)) return std::nullopt;
    return text;
}

bool Reader::appendEntity(std::string& text) {
    constexpr std::size_t kLongestEntity = 10;
    const auto end = m_rest.substr(0, kLongestEntity).find(';');
    const auto c =
        end == std::string_view::npos ? std::nullopt : entityCharacter(m_rest.substr(0, end));
    if (!c) {
        fail("an unknown entity");
        return false;
    }
    appendUtf8(text, *c);
    m_rest.remove_prefix(end + 1);
    return true;
}

bool Reader::countValue() {
    if (++m_values > m_limits.maximumValues) fail("too many values");
    return m_error.empty();
}

Reader::Value Reader::readValue(const Tag& tag, std::size_t depth) {
    if (!countValue()) return std::nullopt;
    if (depth > m_limits.maximumDepth) return fail("values nested too deep");
    if (tag.kind == Tag::Kind::Close) return fail("a value is missing");
    const bool isEmpty = tag.kind == Tag::Kind::Empty;
    if (tag.name == "dict") return isEmpty ? PropertyList() : readDictionary(depth);
    if (tag.name == "array") return isEmpty ? PropertyList::Array() : readArray(depth);
    if (tag.name == "true" || tag.name == "false") return readBool(tag);
    return readScalar(tag);
}

Reader::Value Reader::readArray(std::size_t depth) {
    PropertyList::Array array;
    while (skipBlanksAndComments()) {
        const auto tag = readTag();
        if (!tag) return std::nullopt;
        if (tag->kind == Tag::Kind::Close && tag->name == "array") return array;
        auto value = readValue(*tag, depth + 1);
        if (!value) return std::nullopt;
        array.push_back(*std::move(value));
    }
    return std::nullopt;
}

Reader::Value Reader::readDictionary(std::size_t depth) {
    PropertyList::Dictionary dictionary;
    while (skipBlanksAndComments()) {
        const auto tag = readTag();
        if (!tag) return std::nullopt;
        if (tag->kind == Tag::Kind::Close && tag->name == "dict") return dictionary;
        if (!readEntry(dictionary, *tag, depth)) return std::nullopt;
    }
    return std::nullopt;
}

bool Reader::readEntry(PropertyList::Dictionary& dictionary, const Tag& keyTag, std::size_t depth) {
    if (keyTag.name != "key" || keyTag.kind == Tag::Kind::Close) {
        fail("no key where one should stand");
        return false;
    }
    auto key = countValue() ? readText(keyTag) : std::nullopt;
    if (!key || !skipBlanksAndComments()) return false;
    const auto tag = readTag();
    auto value = tag ? readValue(*tag, depth + 1) : std::nullopt;
    if (!value) return false;
    if (!dictionary.emplace(*std::move(key), *std::move(value)).second) fail("a repeated key");
    return m_error.empty();
}

Reader::Value Reader::readBool(const Tag& tag) {
    const auto text = readText(tag);
    if (!text) return std::nullopt;
    if (!text->empty()) return fail("text inside a boolean");
    return PropertyList(tag.name == "true");
}

Reader::Value Reader::readScalar(const Tag& tag) {
    constexpr std::array<std::string_view, 4> kKnown = {"string", "integer", "real", "data"};
    if (std::find(kKnown.begin(), kKnown.end(), tag.name) == kKnown.end()) {
        return fail("an unknown element");
    }
    auto text = readText(tag);
    if (!text) return std::nullopt;
    if (tag.name == "integer") return readInteger(*text);
    if (tag.name == "real") return readReal(*text);
    if (tag.name == "data") return readData(*text);
    return PropertyList(*std::move(text));
}

Reader::Value Reader::readInteger(std::string_view text) {
    if (const auto number = readNumber<std::uint64_t>(text)) return PropertyList(*number);
    const auto number = readNumber<std::int64_t>(text);
    if (!number) return fail("no integer, or one out of range");
    if (*number == 0) return PropertyList(std::uint64_t{0});
    return PropertyList(*number);
}

Reader::Value Reader::readReal(std::string_view text) {
    const auto number = readNumber<double>(text);
    if (!number || !std::isfinite(*number)) return fail("no number, or one out of range");
    return PropertyList(*number);
}

Reader::Value Reader::readData(std::string_view text) {
    QByteArray base64;
    std::copy_if(text.begin(), text.end(), std::back_inserter(base64),
                 [](char c) { return kBlanks.find(c) == std::string_view::npos; });
    const auto decoded = QByteArray::fromBase64Encoding(
        base64, QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors);
    // Qt takes a last group without its padding.
    if (!decoded || base64.size() % 4 != 0) return fail("no base64");
    return PropertyList(PropertyList::Data{decoded.decoded.toStdString()});
}

}  // namespace

Result<PropertyList> fromXml(std::string_view xml, const PropertyListLimits& limits) {
    return Reader(xml, limits).read();
}

}  // namespace kestrin
