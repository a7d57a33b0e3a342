// SPDX-License-Identifier: GPL-3.0-or-later
// What previews work with in a test: requests are recorded, and answered when the test says so.
#pragma once

#include <QApplication>
#include <QStyle>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "base/NotificationCenter.h"
#include "base/StringTable.h"
#include "format/QVNumberUtilities.h"
#include "inventory/QVPreviewItem.h"
#include "smartwindow/preview/ItemDetails.h"
#include "smartwindow/preview/PreviewServices.h"
#include "viewer/ViewerProtocol.h"

namespace kestrin::test {

struct PreviewWorld {
    struct Asked {
        PreviewRequest request;
        PreviewAnswer answer;
        std::weak_ptr<void> ticket;
        bool isWanted() const { return !ticket.expired(); }
    };
    struct AskedDetails {
        std::shared_ptr<const QVSmartWindowItem> item;
        std::function<void(const ItemDetails&)> answer;
        std::weak_ptr<void> ticket;
    };

    NotificationCenter center;
    StringTable texts{QStringLiteral("en")};
    QVNumberUtilities numbers{"en_US", texts};
    QVFilesUtilities files;
    std::shared_ptr<const Preview> known;  ///< what is remembered of any entry
    std::deque<Asked> asked;               ///< in their order, withdrawn ones too
    std::deque<AskedDetails> askedDetails;
    int beeps = 0;
    std::vector<FileUrl> revealed;
    std::vector<std::string> opened;

    PreviewServices services{
        .center = center,
        .texts = texts,
        .numbers = numbers,
        .files = files,
        .beep = [this] { ++beeps; },
        .reveal = [this](const std::vector<FileUrl>& urls) { revealed = urls; },
        .open = [this](std::vector<std::string> paths) { opened = std::move(paths); },
        .iconOf =
            [](const QVSmartWindowItem& item) {
                return QApplication::style()->standardIcon(item.isFolder() ? QStyle::SP_DirIcon
                                                                           : QStyle::SP_FileIcon);
            },
        .request =
            [this](PreviewRequest request, PreviewAnswer answer) {
                auto ticket = std::make_shared<int>();
                asked.push_back({std::move(request), std::move(answer), ticket});
                return ticket;
            },
        .known = [this](const PreviewRequest&) { return known; },
        .requestDetails =
            [this](std::shared_ptr<const QVSmartWindowItem> item,
                   std::function<void(const ItemDetails&)> answer) {
                auto ticket = std::make_shared<int>();
                askedDetails.push_back({std::move(item), std::move(answer), ticket});
                return ticket;
            },
        .imageMakers = {[](const QVSmartWindowItem&, int) { return QImage(); },
                        [](const QVSmartWindowItem&, int) { return QImage(); }},
    };

    /// Answers what was asked last, if it is wanted still. Returns what only the view keeps then.
    std::weak_ptr<const Preview> answer(Preview preview) {
        auto shared = std::make_shared<const Preview>(std::move(preview));
        if (!asked.empty() && asked.back().isWanted()) asked.back().answer(shared);
        return shared;
    }
};

/// An entry, and what a list makes of it to have it previewed.
struct PreviewedEntry {
    std::shared_ptr<QVSmartWindowItem> entry = QVSmartWindowItem::item();
    std::shared_ptr<QVPreviewItem> item;

    explicit PreviewedEntry(std::string_view name, int row = 0) {
        entry->trash = std::make_shared<FileUrl>(FileUrl::fromPath("/trash/files"));
        entry->name = name;
        item = std::make_shared<QVPreviewItem>(entry, row);
    }
};

/// A picture of one colour.
inline Preview picture(QSize size, const QColor& color = Qt::red) {
    QImage frame(size, QImage::Format_ARGB32_Premultiplied);
    frame.fill(color);
    Preview preview{.kind = PreviewKind::Image, .frames = {frame}, .frameDelays = {0}};
    preview.facts.naturalWidth = static_cast<std::uint32_t>(size.width());
    preview.facts.naturalHeight = static_cast<std::uint32_t>(size.height());
    return preview;
}

}  // namespace kestrin::test
