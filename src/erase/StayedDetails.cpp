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

std::string_view reasonKey(StayReason reason) {
    switch (reason) {
        case StayReason::Locked:
            return "stayed_locked"_key;
        case StayReason::Forbidden:
            return "stayed_forbidden"_key;
        case StayReason::Busy:
            return "stayed_busy"_key;
        case StayReason::MountPoint:
            return "stayed_mount_point"_key;
        case StayReason::ReadOnly:
            return "stayed_read_only"_key;
        case StayReason::Replaced:
            return "stayed_replaced"_key;
        case StayReason::Error:
            break;
    }
    return "stayed_error"_key;
}

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
            .reason = displayName(stayedReason(entry, texts)),
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

QString stayedReason(const StayedEntry& entry, const StringTable& texts) {
    return entry.cause.empty() ? texts.text(reasonKey(entry.reason))
                               : QString::fromStdString(entry.cause);
}

std::vector<AlertDetail> stayedDetails(const std::vector<StayedEntry>& stayed,
                                       const StringTable& texts, const QVNumberUtilities& numbers) {
    std::vector<AlertDetail> details;
    const std::size_t named = std::min(stayed.size(), kMostDetails);
    for (std::size_t index = 0; index < named; ++index)
        details.push_back(detailOf(stayed[index], texts));
    if (named < stayed.size()) details.push_back(remainder(stayed.size() - named, texts, numbers));
    return details;
}

std::optional<ErrorReport> endReport(EraseDecisions& decisions, const StringTable& texts,
                                     const QVNumberUtilities& numbers) {
    const std::uint64_t busy = decisions.itemBusyCount;
    ErrorReport report;
    if (busy >= 2) {
        report.error = "busy_plur"_errorKey;
        report.additionalName = {numbers.numberToFormatString(static_cast<double>(busy))};
    } else if (busy == 1) {
        report.error = "busy_sing"_errorKey;
    } else if (decisions.notErasedCount != 0) {
        report.error =
            decisions.isHelperAuthorized() ? "not_erased"_errorKey : "user_not_authorized"_errorKey;
    } else {
        return std::nullopt;
    }
    report.details = stayedDetails(decisions.stayedEntries(), texts, numbers);
    return report;
}

}  // namespace kestrin
