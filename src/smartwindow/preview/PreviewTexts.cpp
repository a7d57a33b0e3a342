// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/PreviewTexts.h"

#include <QStringList>
#include <algorithm>

#include "base/StringTable.h"
#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"
#include "smartwindow/preview/TextView.h"
#include "viewer/ViewerProtocol.h"

namespace kestrin {
namespace {

constexpr std::uint16_t kLargestUnit = 4;  // terabytes
constexpr std::uint64_t kMillisecondsASecond = 1000;

std::string_view faultKey(PreviewFault fault, bool isFolder) {
    switch (fault) {
        case PreviewFault::None:
            return {};
        case PreviewFault::Damaged:
            return "preview_fault_damaged"_key;
        case PreviewFault::TooLarge:
            return "preview_fault_too_large"_key;
        case PreviewFault::Encrypted:
            return "preview_fault_encrypted"_key;
        case PreviewFault::TooSlow:
            return "preview_fault_too_slow"_key;
        case PreviewFault::Crashed:
            return "preview_fault_crashed"_key;
        case PreviewFault::Unreadable:
            return "preview_fault_unreadable"_key;
        case PreviewFault::Gone:
            return "preview_fault_gone"_key;
        case PreviewFault::NotAFile:
            return "preview_fault_not_a_file"_key;
        case PreviewFault::NoViewer:
            return "preview_fault_no_viewer"_key;
        case PreviewFault::Empty:
            return isFolder ? "preview_fault_empty_folder"_key : "preview_fault_empty"_key;
        case PreviewFault::Silent:
            return "preview_fault_silent"_key;
    }
    return {};
}

/// The facts of a picture, a page, a film or a piece of music.
QStringList factsOf(const PreviewFacts& facts, const StringTable& texts,
                    const QVNumberUtilities& numbers) {
    QStringList told;
    for (const std::string& name : {facts.title, facts.artist}) {
        if (!name.empty()) told += titleName(name);
    }
    if (facts.pageCount > 1) {
        told += StringTable::filled(texts.text("preview_page"_key),
                                    {numbers.numberToFormatString(facts.page + 1.0),
                                     numbers.numberToFormatString(facts.pageCount)});
    } else if (facts.naturalWidth > 0 && facts.naturalHeight > 0 && facts.pageCount == 0) {
        told += StringTable::filled(texts.text("preview_pixels"_key),
                                    {numbers.numberToFormatString(facts.naturalWidth),
                                     numbers.numberToFormatString(facts.naturalHeight)});
    }
    if (facts.durationMilliseconds > 0) {
        const auto seconds = facts.durationMilliseconds / kMillisecondsASecond;
        told += numbers.secondsToFormatString(static_cast<std::int64_t>(seconds));
    }
    return told;
}

}  // namespace

QString previewCaption(const Preview& preview, const StringTable& texts,
                       const QVNumberUtilities& numbers) {
    const PreviewFacts& facts = preview.facts;
    QStringList told = factsOf(facts, texts, numbers);
    const auto shown = static_cast<std::uint64_t>(preview.entries.size());
    if (preview.kind == PreviewKind::Text) {
        if (!facts.encoding.empty()) told += titleName(facts.encoding);
        if (std::ranges::count(preview.text, '\n') > TextView::kMostLines) {
            told += StringTable::filled(texts.text("preview_partial_lines"_key),
                                        {numbers.numberToFormatString(TextView::kMostLines)});
        } else if (facts.isPartial) {
            told += texts.text("preview_partial_text"_key);
        }
    } else if (preview.kind == PreviewKind::Entries && facts.isPartial) {
        told += StringTable::filled(texts.text("preview_first_entries"_key),
                                    {numbers.numberToFormatString(double(shown))});
    } else if (preview.kind == PreviewKind::Image && facts.isPartial) {
        told += texts.text("preview_partial_picture"_key);
    } else if (preview.kind == PreviewKind::Entries && facts.entryCount > shown) {
        told += StringTable::filled(texts.text("preview_partial_entries"_key),
                                    {numbers.numberToFormatString(double(shown)),
                                     numbers.numberToFormatString(double(facts.entryCount))});
    }
    return told.join(QStringLiteral(" · "));
}

QString previewTotals(const Preview& preview, const StringTable& texts,
                      const QVNumberUtilities& numbers) {
    const std::uint64_t shown = preview.entries.size();
    const std::uint64_t count = std::max(preview.facts.entryCount, shown);
    const QString format =
        texts.text("preview_items"_key, StringTable::Table::Default, static_cast<long long>(count));
    QStringList told{StringTable::filled(format, {numbers.numberToFormatString(double(count))})};
    if (preview.facts.contentSize > 0)
        told += numbers.sizeToFormatString(preview.facts.contentSize, kLargestUnit, true);
    const QString totals = told.join(QStringLiteral(" · "));
    if (!preview.facts.isPartial) return totals;
    return StringTable::filled(texts.text("preview_at_least"_key), {totals});
}

QString previewFaultText(PreviewFault fault, bool isFolder, const StringTable& texts) {
    const std::string_view key = faultKey(fault, isFolder);
    return key.empty() ? QString() : texts.text(key);
}

}  // namespace kestrin
