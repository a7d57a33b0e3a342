// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QBuffer>

#include "viewer/Archives.h"
#include "viewer/DecodedBytes.h"

namespace kestrin {
namespace {

std::string pictureOf(QSize size, const char* format) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::red);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return buffer.data().toStdString();
}

TEST(OfficeThumbnailDecoder, showsTheDocumentsOwnPicture) {
    const std::string type = "application/vnd.oasis.opendocument.text";
    const std::string picture = pictureOf({100, 50}, "png");
    const struct {
        std::vector<test::Content> contents;
        PreviewKind kind, kindByContent;
    } kDocuments[] = {
        {{{"mimetype", type}, {"Thumbnails/thumbnail.png", picture}},
         PreviewKind::Image,
         PreviewKind::Image},
        {{{"a", "b"}, {"docProps/thumbnail.jpeg", pictureOf({100, 50}, "jpg")}},
         PreviewKind::Image,
         PreviewKind::Image},
        {{{"thumbnail.png", picture}}, PreviewKind::None, PreviewKind::Entries},
        {{{"Thumbnails/thumbnail.png", picture.substr(0, 20)}},
         PreviewKind::None,
         PreviewKind::Entries},
        {{{"Thumbnails/thumbnail.png", picture + std::string(17 << 20, '0')}},
         PreviewKind::None,
         PreviewKind::Entries},
    };
    for (const auto& [contents, kind, kindByContent] : kDocuments) {
        const std::string bytes = test::archiveOf(contents, archive_write_set_format_zip);
        const Preview preview = test::decodedBytes(bytes, type, 50);
        EXPECT_EQ(preview.kind, kind) << contents.front().name;
        EXPECT_EQ(preview.fault, PreviewFault::None);
        for (const QImage& frame : preview.frames)
            EXPECT_EQ(frame.size(), QSize(50, 25));
        EXPECT_EQ(test::decodedBytes(bytes, "application/zip").kind, kindByContent);
        for (std::size_t tenth = 1; tenth < 10; ++tenth)
            test::decodedBytes(bytes.substr(0, bytes.size() * tenth / 10), type);
    }
}

}  // namespace
}  // namespace kestrin
