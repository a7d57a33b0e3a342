// SPDX-License-Identifier: GPL-3.0-or-later
// A font file whose glyphs are drawn without installing it, so that none of another font's stand in
// for them.
#pragma once

#include <QRawFont>
#include <QString>
#include <cstdint>
#include <optional>

#include "viewer/InputFile.h"

class QPainter;
class QPointF;
class QRectF;
class QSizeF;

namespace kestrin {

/// One face of a font file. Thread: one at a time, with a QGuiApplication.
class FontFile {
 public:
    enum class Mark : std::uint8_t {
        None,    ///< it does not begin as a font does
        Likely,  ///< other files begin so, too
        Sure,
    };
    static Mark markOf(const QByteArray& beginning);

    /// The face `number` of the fonts in these bytes. None when it cannot be read or has no glyphs.
    static std::optional<FontFile> load(const QByteArray& bytes, std::uint32_t number);

    std::uint32_t faceCount() const { return m_faceCount; }
    /// Family and style as the file calls them.
    QString name() const;

    /// What of a text the font has glyphs for, and blanks.
    QString supported(const QString& text) const;
    bool supportsAll(const QString& text) const;
    /// The first characters that it has glyphs for: letters, digits, signs and symbols.
    QString firstCharacters(int most) const;

    bool hasOutlines() const { return m_bitmapHeight == 0; }

    /// Fills the area with the font's first glyphs whatever characters they are of, row by row and
    /// `pixels` high, those of a bitmap font in their own size.
    void drawFirstGlyphs(QPainter& painter, const QRectF& area, double pixels) const;

    /// Draws a text that is supported, at `pixels` high letters (those of a bitmap font are
    /// enlarged by whole factors), in lines of that width at most, broken anywhere. Gives the size
    /// that it took; without a painter nothing is drawn.
    QSizeF draw(QPainter* painter, QPointF corner, const QString& text, double pixels,
                double width) const;

 private:
    FontFile() = default;
    QSizeF drawAsIs(QPainter* painter, QPointF corner, const QString& text, const QRawFont& font,
                    double width) const;

    QRawFont m_font;
    double m_bitmapHeight = 0;  ///< of a font without outlines, which has but one size; else 0
    std::uint32_t m_faceCount = 1;
};

}  // namespace kestrin
