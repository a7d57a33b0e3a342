// SPDX-License-Identifier: GPL-3.0-or-later
// Fonts: a sheet with samples of the font's own glyphs.
#include <QFontDatabase>
#include <QImage>
#include <QPainter>
#include <QStringList>
#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string>

#include "viewer/BoundedArchive.h"
#include "viewer/Decoders.h"
#include "viewer/FontFile.h"
#include "viewer/Pictures.h"
#include "viewer/VisibleText.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostBytes = 64 << 20;
constexpr int kSmallSide = 200;  ///< pixels: a sheet that is smaller shows two letters alone
constexpr int kMostCharacters = 200;

/// Samples of the writing systems other than Latin that a font has.
QStringList samplesOf(const FontFile& font) {
    QStringList samples;
    // Without outlines there are no tables either that would join and order its glyphs.
    if (!font.hasOutlines()) return samples;
    for (int system = QFontDatabase::Greek; system < QFontDatabase::Symbol; ++system) {
        const QString sample =
            QFontDatabase::writingSystemSample(QFontDatabase::WritingSystem(system));
        if (!sample.isEmpty() && font.supportsAll(sample) && !samples.contains(sample))
            samples += sample;
    }
    return samples;
}

/// A page that is filled from its top.
class Sheet {
 public:
    Sheet(QImage& image, const FontFile& font)
        : m_font(font),
          m_painter(&image),
          m_size(image.size()),
          m_margin(std::min(image.width(), image.height()) / 20.0),
          m_y(m_margin) {
        m_painter.setPen(Qt::black);
        m_painter.setRenderHint(QPainter::Antialiasing);
    }

    double width() const { return m_size.width() - 2 * m_margin; }
    /// Letters that fill the page in a dozen lines.
    double usualPixels() const { return std::clamp(m_size.height() / 14, 8.0, 72.0); }

    /// Adds what the font has of a text in one line, smaller where the page is too narrow.
    void addFitted(const QString& text, double pixels) {
        const QString shown = m_font.supported(text).trimmed();
        const double natural = m_font.draw(nullptr, {}, shown, pixels, kUnbounded).width();
        add(shown, pixels * std::min(1.0, width() / std::max(1.0, natural)), kUnbounded);
    }

    /// Adds as many of the words as fit in a line, and at least one.
    void addWords(const QStringList& words, double pixels) {
        QString line = words.value(0);
        for (const QString& word : words.mid(1)) {
            const QString longer = line + QLatin1Char(' ') + word;
            if (m_font.draw(nullptr, {}, longer, pixels, kUnbounded).width() > width()) break;
            line = longer;
        }
        addFitted(line, pixels);
    }

    /// Adds as much of a text as there is room for, in lines broken anywhere.
    void addWrapped(QString text, double pixels) {
        while (!text.isEmpty() &&
               m_font.draw(nullptr, {}, text, pixels, width()).height() > bottom() - m_y)
            text.chop(text.size() / 6 + 1);
        if (!text.isEmpty() && text.back().isHighSurrogate()) text.chop(1);
        add(text, pixels, width());
    }

    /// Fills the rest of the page with glyphs that have no characters.
    void addGlyphs(double pixels) {
        m_font.drawFirstGlyphs(m_painter, {m_margin, m_y, width(), bottom() - m_y}, pixels);
    }

    void addSpace(double pixels) { m_y += pixels; }

 private:
    static constexpr double kUnbounded = 1e6;

    double bottom() const { return m_size.height() - m_margin; }

    void add(const QString& text, double pixels, double most) {
        const double height = m_font.draw(nullptr, {}, text, pixels, most).height();
        if (text.isEmpty() || m_y + height > bottom()) return;
        m_painter.setClipRect(QRectF(m_margin, m_margin, width(), bottom() - m_margin));
        m_font.draw(&m_painter, {m_margin, m_y}, text, pixels, most);
        m_y += height;
    }

    const FontFile& m_font;
    QPainter m_painter;
    const QSizeF m_size;
    const double m_margin;
    double m_y;
};

void fillSheet(Sheet& sheet, const FontFile& font) {
    const QString upper = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZ");
    const QString lower = QStringLiteral("abcdefghijklmnopqrstuvwxyz");
    const double usual = sheet.usualPixels();
    if (font.supportsAll(font.name())) sheet.addFitted(font.name(), 1.4 * usual);
    sheet.addSpace(usual / 2);
    for (const QString& line : {upper, lower, QStringLiteral("0123456789 .,:;!?&@%()")})
        sheet.addFitted(line, usual);
    sheet.addWords(samplesOf(font), usual);
    sheet.addSpace(usual / 2);
    if (!font.supportsAll(upper) && !font.supportsAll(lower)) {
        const QString characters = font.firstCharacters(kMostCharacters);
        sheet.addWrapped(characters, usual);
        if (characters.isEmpty()) sheet.addGlyphs(usual);
        return;
    }
    const QStringList sentence =
        font.supported(QStringLiteral("The quick brown fox jumps over the lazy dog."))
            .split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const double factor : {0.4, 0.5, 0.6, 0.8, 1.0, 1.25, 1.5, 2.0, 2.5, 3.0, 4.0})
        sheet.addWords(sentence, factor * usual);
}

/// Two letters, in the middle of the image and as large as they can be.
void drawLetters(QImage& image, const FontFile& font) {
    const QString letters = QStringLiteral("Aa");
    const QString shown = font.supportsAll(letters) ? letters : font.firstCharacters(2);
    if (shown.isEmpty()) {
        QPainter painter(&image);
        font.drawFirstGlyphs(painter, image.rect(), image.height() / 4.0);
        return;
    }
    const double side = std::min(image.width(), image.height());
    constexpr double kUnbounded = 1e6;
    const QSizeF natural = font.draw(nullptr, {}, shown, side / 2, kUnbounded);
    const double pixels =
        side / 2 * std::min(1.0, 0.9 * side / std::max(natural.width(), natural.height()));
    const QSizeF size = font.draw(nullptr, {}, shown, pixels, kUnbounded);
    QPainter painter(&image);
    painter.setPen(Qt::black);
    font.draw(&painter, {(image.width() - size.width()) / 2, (image.height() - size.height()) / 2},
              shown, pixels, kUnbounded);
}

/// The bytes of the font. Bitmap fonts are kept compressed.
QByteArray fontIn(InputFile& file, bool isNamedAsFont) {
    const QByteArray beginning = file.beginning(16);
    if (!isNamedAsFont || !beginning.startsWith("\x1F\x8B")) return file.beginning(kMostBytes);
    BoundedArchive archive(file, ArchiveKinds::SingleFile, 1s);
    std::string content;
    if (archive.next()) archive.readContent(kMostBytes, &content);
    return QByteArray::fromStdString(content);
}

Preview previewOf(const FontFile& font, const DecodeRequest& request) {
    QImage image(boxOf(request), QImage::Format_ARGB32_Premultiplied);
    if (image.isNull()) return {.fault = PreviewFault::TooLarge};
    image.fill(Qt::white);
    if (std::min(image.width(), image.height()) < kSmallSide) {
        drawLetters(image, font);
    } else {
        Sheet sheet(image, font);
        fillSheet(sheet, font);
    }
    Preview preview{.kind = PreviewKind::Image};
    preview.facts.title = visibleLine(font.name().toUtf8().constData());
    if (font.faceCount() > 1) {
        preview.facts.page = request.page;
        preview.facts.pageCount = font.faceCount();
    }
    preview.frames.push_back(std::move(image));
    return preview;
}

}  // namespace

std::optional<Preview> decodeFont(InputFile& file, const DecodeRequest& request) {
    const bool isNamedAsFont =
        request.type.starts_with("font/") || request.type.starts_with("application/x-font");
    const bool isCompressed = isNamedAsFont && file.beginning(2) == "\x1F\x8B";
    if (!isCompressed && FontFile::markOf(file.beginning(16)) == FontFile::Mark::None)
        return std::nullopt;
    if (file.size() > kMostBytes) return Preview{.fault = PreviewFault::TooLarge};
    const QByteArray bytes = fontIn(file, isNamedAsFont);
    const auto font = FontFile::load(bytes, request.page);
    if (font) return previewOf(*font, request);
    const bool isFont = isNamedAsFont || FontFile::markOf(bytes) == FontFile::Mark::Sure;
    return isFont ? std::optional(Preview{.fault = PreviewFault::Damaged}) : std::nullopt;
}

}  // namespace kestrin
