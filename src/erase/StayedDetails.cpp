// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/StayedDetails.h"

#include <QStringList>
#include <algorithm>
#include <string_view>

#include "base/StringTable.h"
#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"

namespace kestrin {
namespace {

std::string_view helpKey(const StayedEntry& entry) {
    if (entry.skipped) return "stayed_help_skipped"_key;
    switch (entry.reason) {
        case StayReason::Locked:
            return "stayed_help_locked"_key;
        case StayReason::Forbidden:
            return "stayed_help_forbidden"_key;
        case StayReason::Busy:
            return "stayed_help_busy"_key;
        case StayReason::MountPoint:
            return "stayed_help_mount_point"_key;
        case StayReason::ReadOnly:
            return "stayed_help_read_only"_key;
        case StayReason::Replaced:
            return "stayed_help_replaced"_key;
        case StayReason::Error:
            break;
    }
    return "stayed_help_error"_key;
}

AlertDetail detailOf(const StayedEntry& entry, const StringTable& texts) {
    return {.name = displayName(entry.url.lastPathComponent()),
            .fullName = displayName(entry.url.path()),
            .reason = displayName(entry.message),
            .help = texts.text(helpKey(entry))};
}

AlertDetail remainder(std::size_t count, const StringTable& texts,
                      const QVNumberUtilities& numbers) {
    const QString format =
        texts.text("stayed_more"_key, StringTable::Table::Default, static_cast<long long>(count));
    return {.name = StringTable::filled(format,
                                        {numbers.numberToFormatString(static_cast<double>(count))}),
            .fullName = {},
            .reason = {},
            .help = {}};
}

}  // namespace

std::vector<AlertDetail> stayedDetails(const std::vector<StayedEntry>& stayed,
                                       const StringTable& texts, const QVNumberUtilities& numbers) {
    std::vector<AlertDetail> details;
    const std::size_t named = std::min(stayed.size(), kMostDetails);
    for (std::size_t index = 0; index < named; ++index)
        details.push_back(detailOf(stayed[index], texts));
    if (named < stayed.size()) details.push_back(remainder(stayed.size() - named, texts, numbers));
    return details;
}

}  // namespace kestrin
