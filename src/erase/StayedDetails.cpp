// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/StayedDetails.h"

#include <QStringList>
#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

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
        case StayReason::LeftUnlocked:
            return "stayed_left_unlocked"_key;
        case StayReason::HasOtherNames:
            return "stayed_other_names"_key;
        case StayReason::NotFoundAgain:
            return "stayed_not_found_again"_key;
        case StayReason::Error:
            break;
    }
    return "stayed_error"_key;
}

std::string_view helpKey(const StayedEntry& entry) {
    // Not to skip it would not help a file that has other names.
    if (entry.skipped && entry.reason != StayReason::HasOtherNames) {
        return "stayed_help_skipped"_key;
    }
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
        case StayReason::LeftUnlocked:
            return "stayed_help_left_unlocked"_key;
        case StayReason::HasOtherNames:
            return "stayed_help_other_names"_key;
        case StayReason::NotFoundAgain:
            return "stayed_help_not_found_again"_key;
        case StayReason::Error:
            break;
    }
    return "stayed_help_error"_key;
}

/// What must not pass unseen, whatever was counted: what the user chose is gone, and something else
/// has its name; a lock is missing that nobody asked to take away; or one is there that nobody was
/// asked about, since the helper does not take it away.
bool hasSurprise(const std::vector<StayedEntry>& stayed) {
    return std::ranges::any_of(stayed, [](const StayedEntry& entry) {
        return entry.reason == StayReason::Replaced || entry.reason == StayReason::LeftUnlocked ||
               (entry.reason == StayReason::HasOtherNames && !entry.skipped);
    });
}

AlertDetail detailOf(const StayedEntry& entry, const StringTable& texts) {
    return {.cells = {displayName(entry.url.lastPathComponent()),
                      displayName(stayedReason(entry, texts)), texts.text(helpKey(entry))},
            .fullName = displayName(entry.url.path())};
}

}  // namespace

QString stayedReason(const StayedEntry& entry, const StringTable& texts) {
    return entry.cause.empty() ? texts.text(reasonKey(entry.reason))
                               : QString::fromStdString(entry.cause);
}

AlertDetails stayedDetails(std::vector<StayedEntry> stayed, const StringTable& texts) {
    return {.title = texts.text("stayed_details"_key),
            .columns = {texts.text("stayed_name"_key), texts.text("stayed_reason"_key),
                        texts.text("stayed_help"_key)},
            .count = stayed.size(),
            .row = [&texts,
                    entries = std::make_shared<const std::vector<StayedEntry>>(std::move(stayed))](
                       std::size_t row) { return detailOf(entries->at(row), texts); }};
}

std::optional<ErrorReport> endReport(EraseDecisions& decisions, const StringTable& texts,
                                     const QVNumberUtilities& numbers) {
    const std::uint64_t busy = decisions.itemBusyCount;
    std::vector<StayedEntry> stayed = decisions.stayedEntries();
    ErrorReport report;
    if (busy >= 2) {
        report.error = "busy_plur"_errorKey;
        report.additionalName = {numbers.numberToFormatString(static_cast<double>(busy))};
    } else if (busy == 1) {
        report.error = "busy_sing"_errorKey;
    } else if (decisions.notErasedCount != 0) {
        report.error =
            decisions.isHelperAuthorized() ? "not_erased"_errorKey : "user_not_authorized"_errorKey;
    } else if (hasSurprise(stayed)) {
        report.error = "not_erased"_errorKey;
    } else {
        return std::nullopt;
    }
    report.details = stayedDetails(std::move(stayed), texts);
    return report;
}

}  // namespace kestrin
