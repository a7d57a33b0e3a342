// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/SvgCopy.h"

#include <zlib.h>

#include <QHash>
#include <QStringView>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>
#include <algorithm>
#include <vector>

namespace kestrin {

namespace {

constexpr int kDeepestElement = 256;
constexpr int kMostElements = 200'000;
/// Elements as often as they are drawn.
constexpr double kMostDrawn = 400'000;

QStringView localName(QStringView qualifiedName) {
    return qualifiedName.mid(qualifiedName.indexOf(u':') + 1);
}

/// The elements of a drawing, and which of them are drawn where another stands. An element's number
/// is greater than that of the element it lies in.
class Elements {
 public:
    /// Adds an element and returns its number.
    int add(int parent) {
        m_elements.emplace_back();
        const int number = int(m_elements.size()) - 1;
        if (parent >= 0) m_elements[std::size_t(parent)].drawn.push_back(number);
        return number;
    }
    int count() const { return int(m_elements.size()); }
    void setName(int element, const QString& name) { m_names.insert(name, element); }
    void addUse(int element, const QString& name) { m_uses.push_back({element, name}); }

    /// Whether the whole can be drawn. To be asked once, at the end.
    PreviewFault fault() {
        for (const Use& use : m_uses) {
            const auto found = m_names.constFind(use.name);
            if (found != m_names.constEnd())
                m_elements[std::size_t(use.element)].drawn.push_back(*found);
        }
        if (m_elements.empty()) return PreviewFault::Damaged;
        measure(0, 0);
        if (m_isCircular) return PreviewFault::Damaged;
        const bool isTooMuch = m_isTooDeep || m_elements[0].work > kMostDrawn;
        return isTooMuch ? PreviewFault::TooLarge : PreviewFault::None;
    }

 private:
    struct Element {
        std::vector<int> drawn;  ///< the elements in it, and what it uses
        double work = 0;         ///< it and all that is drawn for it; 0 until that is known
        int height = 0;
        bool isBeingMeasured = false;
    };
    struct Use {
        int element;
        QString name;
    };

    /// Requires: depth is at most kDeepestElement, which bounds the recursion.
    void measure(int number, int depth) {
        Element& element = m_elements[std::size_t(number)];
        element.isBeingMeasured = true;
        double work = 1;
        for (const int inner : element.drawn) {
            Element& part = m_elements[std::size_t(inner)];
            m_isCircular |= part.isBeingMeasured;
            m_isTooDeep |= depth == kDeepestElement;
            if (m_isCircular || m_isTooDeep) break;
            if (part.work == 0) measure(inner, depth + 1);
            work += part.work;
            element.height = std::max(element.height, part.height + 1);
            m_isTooDeep |= depth + element.height > kDeepestElement;
        }
        element.work = work;
        element.isBeingMeasured = false;
    }

    std::vector<Element> m_elements;
    QHash<QString, int> m_names;
    std::vector<Use> m_uses;
    bool m_isCircular = false;
    bool m_isTooDeep = false;
};

/// Whether the text of a "data:" reference is one of the raster images that browsers show, by what
/// it begins with: what it calls itself decides nothing, and a drawing in a drawing could refer to
/// files.
bool isEmbeddedImage(QStringView reference) {
    const qsizetype comma = reference.indexOf(u',');
    if (comma < 0 || !reference.first(comma).endsWith(u";base64")) return false;
    // Blanks may stand in it, and count for nothing.
    const QByteArray bytes =
        QByteArray::fromBase64(reference.sliced(comma + 1).left(256).toLatin1());
    return bytes.startsWith("\x89PNG\r\n\x1a\n") || bytes.startsWith("\xff\xd8\xff") ||
           bytes.startsWith("GIF8") || (bytes.startsWith("RIFF") && bytes.mid(8, 4) == "WEBP");
}

class Copier {
 public:
    explicit Copier(const QByteArray& text) : m_reader(text), m_writer(&m_copy.text) {
        // Names keep their prefixes, as written.
        m_reader.setNamespaceProcessing(false);
    }

    SvgCopy run() {
        while (!m_reader.atEnd() && m_copy.fault == PreviewFault::None)
            take(m_reader.readNext());
        if (m_reader.hasError()) m_copy.fault = PreviewFault::Damaged;
        if (m_copy.fault == PreviewFault::None) m_copy.fault = m_elements.fault();
        return std::move(m_copy);
    }

 private:
    void take(QXmlStreamReader::TokenType token) {
        switch (token) {
            case QXmlStreamReader::StartElement:
                startElement();
                break;
            case QXmlStreamReader::EndElement:
                m_writer.writeEndElement();
                m_open.pop_back();
                break;
            case QXmlStreamReader::Characters:
                m_writer.writeCharacters(m_reader.text().toString());
                break;
            default:
                // No document type: entities are resolved already.
                break;
        }
    }

    void startElement() {
        const QStringView name = localName(m_reader.qualifiedName());
        if (name == u"script" || name == u"foreignObject") {
            m_reader.skipCurrentElement();
            return;
        }
        if (m_open.size() >= kDeepestElement || m_elements.count() >= kMostElements) {
            m_copy.fault = PreviewFault::TooLarge;
            return;
        }
        m_open.push_back(m_elements.add(m_open.empty() ? -1 : m_open.back()));
        m_writer.writeStartElement(m_reader.qualifiedName().toString());
        for (const QXmlStreamAttribute& attribute : m_reader.attributes())
            copyAttribute(attribute);
    }

    void copyAttribute(const QXmlStreamAttribute& attribute) {
        const QStringView name = localName(attribute.qualifiedName());
        const QStringView value = attribute.value().trimmed();
        if (name == u"id") m_elements.setName(m_open.back(), value.toString());
        if (name == u"href" && value.startsWith(u'#'))
            m_elements.addUse(m_open.back(), value.sliced(1).toString());
        else if (name == u"href" && !isEmbeddedImage(value))
            return;
        m_writer.writeAttribute(attribute.qualifiedName().toString(), attribute.value().toString());
    }

    SvgCopy m_copy;
    QXmlStreamReader m_reader;
    QXmlStreamWriter m_writer;
    Elements m_elements;
    std::vector<int> m_open;  ///< from the outermost element to the one that is being read
};

}  // namespace

QByteArray unpacked(const QByteArray& bytes, std::size_t limit) {
    if (!bytes.startsWith("\x1f\x8b")) return bytes.left(qsizetype(limit));
    z_stream stream{};
    constexpr int kGzip = 16;
    if (inflateInit2(&stream, kGzip + MAX_WBITS) != Z_OK) return {};
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.constData()));
    stream.avail_in = uInt(bytes.size());
    QByteArray result;
    int status = Z_OK;
    while (status == Z_OK && std::size_t(result.size()) < limit) {
        char piece[16 << 10];
        stream.next_out = reinterpret_cast<Bytef*>(piece);
        stream.avail_out = uInt(std::min(sizeof piece, limit - std::size_t(result.size())));
        const uInt room = stream.avail_out;
        status = inflate(&stream, Z_NO_FLUSH);
        result.append(piece, qsizetype(room - stream.avail_out));
    }
    inflateEnd(&stream);
    return result;
}

bool isSvg(const QByteArray& beginning) {
    QXmlStreamReader reader(beginning);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement)
            return localName(reader.qualifiedName()) == u"svg";
    }
    return false;
}

SvgCopy copySvg(const QByteArray& text) {
    return Copier(text).run();
}

}  // namespace kestrin
