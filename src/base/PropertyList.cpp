// SPDX-License-Identifier: GPL-3.0-or-later
// The value and its writer; the reader is in PropertyListReader.cpp.
#include "base/PropertyList.h"

#include <QByteArray>
#include <array>
#include <charconv>
#include <utility>

#include "base/XmlCharacters.h"

namespace kestrin {
namespace {

constexpr std::string_view kHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr char32_t kReplacement = 0xFFFD;

/// Appends the XML form of one value after another.
class Writer {
 public:
    void operator()(const PropertyList::Dictionary& dictionary);
    void operator()(const PropertyList::Array& array);
    void operator()(const std::string& text) { writeText("string", text); }
    void operator()(const PropertyList::Data& data);
    void operator()(bool value) { m_xml += value ? "<true/>\n" : "<false/>\n"; }
    void operator()(std::int64_t value) { writeNumber("integer", value); }
    void operator()(std::uint64_t value) { writeNumber("integer", value); }
    void operator()(double value) { writeNumber("real", value); }

    std::string takeXml() { return std::move(m_xml) + "</plist>\n"; }

 private:
    void open(std::string_view name) { ((m_xml += '<') += name) += '>'; }
    void close(std::string_view name) { ((m_xml += "</") += name) += ">\n"; }
    template <class Number>
    void writeNumber(std::string_view element, Number value);
    void writeText(std::string_view element, std::string_view text);
    void append(char32_t c);

    std::string m_xml{kHeader};
};

void Writer::operator()(const PropertyList::Dictionary& dictionary) {
    m_xml += "<dict>\n";
    for (const auto& [key, value] : dictionary) {
        writeText("key", key);
        value.visit(*this);
    }
    close("dict");
}

void Writer::operator()(const PropertyList::Array& array) {
    m_xml += "<array>\n";
    for (const PropertyList& value : array)
        value.visit(*this);
    close("array");
}

void Writer::operator()(const PropertyList::Data& data) {
    open("data");
    const auto size = static_cast<qsizetype>(data.bytes.size());
    m_xml += QByteArray::fromRawData(data.bytes.data(), size).toBase64().toStdString();
    close("data");
}

template <class Number>
void Writer::writeNumber(std::string_view element, Number value) {
    std::array<char, 32> digits;
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    open(element);
    m_xml.append(digits.data(), written.ptr);
    close(element);
}

void Writer::writeText(std::string_view element, std::string_view text) {
    open(element);
    while (!text.empty())
        append(takeXmlCharacter(text).value_or(kReplacement));
    close(element);
}

void Writer::append(char32_t c) {
    switch (c) {
        case '&':
            m_xml += "&amp;";
            break;
        case '<':
            m_xml += "&lt;";
            break;
        case '>':
            m_xml += "&gt;";
            break;
        case '\r':
            m_xml += "&#13;";  // a reader takes a bare one for a line feed
            break;
        default:
            appendUtf8(m_xml, c);
    }
}

}  // namespace

const PropertyList* PropertyList::find(std::string_view key) const {
    const auto* dictionary = get<Dictionary>();
    if (!dictionary) return nullptr;
    const auto entry = dictionary->find(key);
    return entry == dictionary->end() ? nullptr : &entry->second;
}

std::string toXml(const PropertyList& value) {
    Writer writer;
    value.visit(writer);
    return writer.takeXml();
}

}  // namespace kestrin
