// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/LoadEverything.h"

#include <fontconfig/fontconfig.h>

#include <QFont>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <string_view>

#include "platform/items/SealedFile.h"
#include "viewer/Decoders.h"

namespace kestrin {
namespace {

/// One page with a word in a font that is not in the file.
constexpr std::string_view kPdf =
    "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
    "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
    "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 99 99]/Contents 4 0 R/Resources"
    "<</Font<</F<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>>>>>>>endobj\n"
    "4 0 obj<</Length 31>>stream\nBT /F 20 Tf 9 9 Td (Ready) Tj ET\nendstream endobj\n"
    "trailer<</Root 1 0 R>>\n%%EOF\n";

constexpr std::string_view kSvg =
    "<svg xmlns='http://www.w3.org/2000/svg' width='99' height='99'><text "
    "y='50'>Ready</text></svg>";

void decodeSample(std::string_view bytes) {
    auto file = sealedFile(bytes);
    if (!file) return;  // a decoder that is less well prepared
    InputFile input(std::move(*file));
    (void)decode(input, {.width = 99, .height = 99});
}

/// The fonts that texts take when they name none or one that is not there.
void drawSample() {
    QImage image(99, 99, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    for (const char* const family : {"sans-serif", "serif", "monospace"}) {
        painter.setFont(QFont(QString::fromLatin1(family)));
        painter.drawText(0, 50, QStringLiteral("Ready"));
    }
}

}  // namespace

void loadEverything() {
    (void)QImageReader::supportedImageFormats();  // loads every plug-in
    drawSample();
    decodeSample(kPdf);
    decodeSample(kSvg);
}

std::vector<std::string> readableFolders() {
    std::vector<std::string> folders{"/usr/share/poppler"};
    FcStrList* const fonts = ::FcConfigGetFontDirs(nullptr);
    if (!fonts) return folders;
    while (const FcChar8* folder = ::FcStrListNext(fonts))
        folders.emplace_back(reinterpret_cast<const char*>(folder));
    ::FcStrListDone(fonts);
    return folders;
}

}  // namespace kestrin
