// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/FontFile.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <QGlyphRun>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QTextLayout>
#include <QTextOption>
#include <QtEndian>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>

namespace kestrin {
namespace {

constexpr std::uint32_t kMostFaces = 1000;
constexpr double kUsualPixels = 32;
constexpr qsizetype kOffsetsAt = 12;  ///< where the header of a collection has its faces
constexpr qsizetype kDirectoryHeader = 12;
constexpr qsizetype kDirectoryRecord = 16;

std::uint32_t numberAt(const QByteArray& bytes, qsizetype at) {
    return at + 4 <= bytes.size() ? qFromBigEndian<std::uint32_t>(bytes.constData() + at) : 0;
}

std::uint32_t facesIn(const QByteArray& bytes) {
    if (!bytes.startsWith("ttcf")) return 1;
    return std::clamp<std::uint32_t>(numberAt(bytes, 8), 1, kMostFaces);
}

/// The bytes with that face of a collection as their only font. Its tables stay where they are; its
/// directory, which says where, comes to the beginning, over those of the other faces.
/// Source: OpenType specification 1.9, "Font Collections".
QByteArray withOneFace(QByteArray bytes, std::uint32_t number) {
    if (!bytes.startsWith("ttcf")) return bytes;
    const qsizetype directory = numberAt(bytes, kOffsetsAt + 4 * qsizetype{number});
    if (directory + kDirectoryHeader > bytes.size()) return {};
    const auto tables = qFromBigEndian<std::uint16_t>(bytes.constData() + directory + 4);
    const qsizetype length = kDirectoryHeader + kDirectoryRecord * tables;
    if (directory + length > bytes.size()) return {};
    std::memmove(bytes.data(), bytes.constData() + directory, static_cast<std::size_t>(length));
    return bytes;
}

QRawFont rawFont(const QByteArray& bytes) {
    QRawFont font;
    // Hinting would run programs of the font's.
    font.loadFromData(bytes, kUsualPixels, QFont::PreferNoHinting);
    return font;
}

/// Draws a glyph by its outline in a font that has them: broken ones that FreeType cannot make
/// pixels of would end the process where Qt keeps drawn glyphs.
void drawGlyph(QPainter& painter, const QRawFont& font, bool hasOutlines, quint32 glyph,
               QPointF at) {
    if (hasOutlines)
        return painter.fillPath(font.pathForGlyph(glyph).translated(at), painter.pen().brush());
    QGlyphRun run;
    run.setRawFont(font);
    run.setGlyphIndexes({glyph});
    run.setPositions({at});
    painter.drawGlyphRun({}, run);
}

/// Whether its glyphs are pictures, or have colours, which outlines do not tell.
bool isColoured(const QRawFont& font) {
    return std::ranges::any_of(std::array{"CBDT", "COLR", "SVG ", "sbix"},
                               [&font](const char* tag) { return !font.fontTable(tag).isEmpty(); });
}

enum class Glyphs { Outlines, Bitmaps, Damaged };

/// What the glyphs of the only font in these bytes are. Damaged are bitmaps that have a size and no
/// pixels: Qt would copy them all the same.
Glyphs glyphsOf(const QByteArray& bytes) {
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0) return Glyphs::Damaged;
    const std::unique_ptr<FT_LibraryRec_, decltype(&FT_Done_FreeType)> owner(library,
                                                                             FT_Done_FreeType);
    FT_Face face = nullptr;  // goes with the library
    if (FT_New_Memory_Face(library, reinterpret_cast<const FT_Byte*>(bytes.constData()),
                           static_cast<FT_Long>(bytes.size()), 0, &face) != 0) {
        return Glyphs::Damaged;
    }
    if (FT_IS_SCALABLE(face)) return Glyphs::Outlines;
    for (int size = 0; size < face->num_fixed_sizes; ++size) {
        if (FT_Select_Size(face, size) != 0) return Glyphs::Damaged;
        for (FT_Long glyph = 0; glyph < face->num_glyphs; ++glyph) {
            if (FT_Load_Glyph(face, static_cast<FT_UInt>(glyph), FT_LOAD_DEFAULT) != 0) continue;
            const FT_Bitmap& bitmap = face->glyph->bitmap;
            if (!bitmap.buffer && bitmap.rows > 0 && bitmap.width > 0) return Glyphs::Damaged;
        }
    }
    return Glyphs::Bitmaps;
}

double heightOf(const QRawFont& font) {
    return std::ceil(font.ascent() + font.descent());
}

}  // namespace

FontFile::Mark FontFile::markOf(const QByteArray& beginning) {
    static constexpr std::array<std::string_view, 9> kSure = {
        "OTTO",        "ttcf",           "wOFF",        "wOF2",  "\1fcp",
        "STARTFONT 2", "%!PS-AdobeFont", "%!FontType1", "\x80\1"};
    using namespace std::string_view_literals;
    static constexpr std::array kLikely = {"\0\1\0\0"sv, "true"sv, "typ1"sv};
    const std::string_view bytes(beginning.constData(), static_cast<std::size_t>(beginning.size()));
    const auto begins = [bytes](std::string_view mark) { return bytes.starts_with(mark); };
    if (std::ranges::any_of(kSure, begins)) return Mark::Sure;
    return std::ranges::any_of(kLikely, begins) ? Mark::Likely : Mark::None;
}

std::optional<FontFile> FontFile::load(const QByteArray& bytes, std::uint32_t number) {
    FontFile file;
    file.m_faceCount = facesIn(bytes);
    if (number >= file.m_faceCount) return std::nullopt;
    const QByteArray face = withOneFace(bytes, number);
    file.m_font = rawFont(face);
    if (!file.m_font.isValid()) return std::nullopt;
    if (isColoured(file.m_font)) return file;
    const Glyphs glyphs = glyphsOf(face);
    if (glyphs == Glyphs::Damaged) return std::nullopt;
    if (glyphs == Glyphs::Bitmaps) file.m_bitmapHeight = std::max(1.0, heightOf(file.m_font));
    return file;
}

QString FontFile::name() const {
    const QString style = m_font.styleName();
    return style.isEmpty() ? m_font.familyName() : m_font.familyName() + QLatin1Char(' ') + style;
}

QString FontFile::supported(const QString& text) const {
    QString has;
    for (const char32_t c : text.toUcs4()) {
        if (c == U' ' || m_font.supportsCharacter(c)) has += QChar::fromUcs4(c);
    }
    return has;
}

bool FontFile::supportsAll(const QString& text) const {
    return supported(text).size() == text.size();
}

QString FontFile::firstCharacters(int most) const {
    static constexpr std::array<std::pair<char32_t, char32_t>, 3> kRanges = {
        {{0x21, 0xFFFD}, {0x1F000, 0x1FAFF}, {0x10000, 0x1EFFF}}};
    QString found;
    int count = 0;
    for (const auto& [first, last] : kRanges) {
        for (char32_t c = first; c <= last && count < most; ++c) {
            const bool isSeen = QChar::isPrint(c) && !QChar::isSpace(c) && !QChar::isMark(c);
            const bool isOwn = QChar::category(c) == QChar::Other_PrivateUse;
            if ((!isSeen && !isOwn) || !m_font.supportsCharacter(c)) continue;
            found += QChar::fromUcs4(c);
            ++count;
        }
    }
    return found;
}

void FontFile::drawFirstGlyphs(QPainter& painter, const QRectF& area, double pixels) const {
    // How many glyphs there are is not told: after so many empty ones there are no more.
    constexpr quint32 kMostGlyphs = 500, kMostEmpty = 32;
    quint32 empty = 0;
    QRawFont font = m_font;
    if (hasOutlines()) font.setPixelSize(std::max(1.0, pixels));
    QPointF at(area.left(), area.top() + font.ascent());
    for (quint32 glyph = 1; glyph < kMostGlyphs && empty < kMostEmpty; ++glyph) {
        const QRectF box = font.boundingRect(glyph);
        empty = box.isEmpty() ? empty + 1 : 0;
        if (box.isEmpty()) continue;
        if (at.x() + box.right() > area.right() && at.x() > area.left())
            at = {area.left(), at.y() + heightOf(font)};
        if (at.y() + font.descent() > area.bottom()) return;
        drawGlyph(painter, font, hasOutlines(), glyph, at);
        at.rx() += box.right() + heightOf(font) / 8;
    }
}

QSizeF FontFile::draw(QPainter* painter, QPointF corner, const QString& text, double pixels,
                      double width) const {
    if (hasOutlines()) {
        QRawFont font = m_font;
        font.setPixelSize(std::max(1.0, pixels));
        return drawAsIs(painter, corner, text, font, width);
    }
    const double factor = std::max(1.0, std::floor(pixels / m_bitmapHeight));
    const QSizeF size = drawAsIs(nullptr, {}, text, m_font, width / factor);
    const QSizeF enlarged = size * factor;
    QImage image(size.toSize().expandedTo({1, 1}), QImage::Format_ARGB32_Premultiplied);
    if (!painter || image.isNull()) return enlarged;
    image.fill(Qt::transparent);
    QPainter small(&image);
    small.setPen(painter->pen());
    drawAsIs(&small, {}, text, m_font, width / factor);
    small.end();
    painter->drawImage(QRectF(corner, QSizeF(image.size()) * factor), image);
    return enlarged;
}

QSizeF FontFile::drawAsIs(QPainter* painter, QPointF corner, const QString& text,
                          const QRawFont& font, double width) const {
    QTextLayout layout(text);
    layout.setRawFont(font);
    layout.setTextOption([] {
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAnywhere);
        return option;
    }());
    layout.beginLayout();
    QSizeF size;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, size.height()});
        size = {std::max(size.width(), line.naturalTextWidth()),
                size.height() + std::ceil(line.height())};
    }
    layout.endLayout();
    if (painter && isColoured(font)) layout.draw(painter, corner);
    if (!painter || isColoured(font)) return size;
    for (const QGlyphRun& run : layout.glyphRuns()) {
        const QList<quint32> glyphs = run.glyphIndexes();
        const QList<QPointF> positions = run.positions();
        for (qsizetype at = 0; at < std::min(glyphs.size(), positions.size()); ++at)
            drawGlyph(*painter, run.rawFont(), hasOutlines(), glyphs[at], corner + positions[at]);
    }
    return size;
}

}  // namespace kestrin
