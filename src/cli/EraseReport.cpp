// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/EraseReport.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Console.h"
#include "cli/JsonWriter.h"
#include "erase/StayedDetails.h"
#include "erase/StayedPaths.h"
#include "format/DisplayName.h"
#include "platform/items/ItemIdentity.h"

namespace kestrin {

namespace {

/// How many entries are named; further ones are only counted. JSON has them all.
constexpr std::size_t kMostNamed = 20;

std::string_view reasonName(StayReason reason) {
    switch (reason) {
        case StayReason::Locked:
            return "locked";
        case StayReason::Forbidden:
            return "forbidden";
        case StayReason::Busy:
            return "busy";
        case StayReason::MountPoint:
            return "mount-point";
        case StayReason::ReadOnly:
            return "read-only";
        case StayReason::Replaced:
            return "replaced";
        case StayReason::LeftUnlocked:
            return "left-unlocked";
        case StayReason::HasOtherNames:
            return "other-names";
        case StayReason::NotFoundAgain:
            return "not-found-again";
        case StayReason::Error:
            break;
    }
    return "error";
}

void writeStayed(JsonWriter& json, const StayedEntry& entry, const StringTable& texts) {
    json.beginObject();
    json.key("url");
    json.string(std::string_view(entry.url.toString()));
    json.key("reason");
    json.string(reasonName(entry.reason));
    json.key("message");
    json.string(stayedReason(entry, texts));
    if (entry.skipped) {
        json.key("skipped");
        json.boolean(true);
    }
    json.endObject();
}

QString summary(const EraseResult& result, const Console& console) {
    if (result.erasedCount == 0) return console.text("cli_nothing_erased"_key);
    return console.text("cli_erased"_key,
                        {console.number(result.erasedCount), console.size(result.erasedSize)},
                        static_cast<long long>(result.erasedCount));
}

int exitStatus(const EraseResult& result) {
    if (result.end == EraseResult::End::Declined || result.wasStopped) return kStatusStopped;
    const bool isAllGone =
        result.end == EraseResult::End::Finished && result.stayed.empty() && !result.gaveUp;
    return isAllGone ? 0 : 1;
}

}  // namespace

void addWhatIsStillThere(EraseResult& result, const ItemsToErase& items, const Console& console) {
    // An erase that was stopped left the rest on purpose, and one that never began left everything.
    if (result.wasStopped || result.end != EraseResult::End::Finished) return;
    const StayedPaths named(result.stayed);
    for (const QVItemToErase& item : items) {
        if (item.trash && named.has(item.trash->path())) continue;  // that tells why
        const FileUrl url = item.url();
        const ItemPresence presence = presenceOf(url, item.identity);
        const bool isUnknown = presence == ItemPresence::Unknown;
        if ((presence != ItemPresence::There && !isUnknown) || named.hasAtOrBelow(url.path()))
            continue;
        const auto text = isUnknown ? "cli_perhaps_there"_key : "cli_still_there"_key;
        result.stayed.push_back(
            {.url = url, .reason = StayReason::Error, .cause = console.text(text).toStdString()});
    }
}

void nameStayed(const std::vector<StayedEntry>& stayed, std::string_view headingKey,
                Console& console) {
    Terminal& terminal = console.terminal();
    const auto count = static_cast<long long>(stayed.size());
    terminal.message(console.text(headingKey, {console.number(stayed.size())}, count));
    const std::size_t named = std::min(stayed.size(), kMostNamed);
    for (std::size_t index = 0; index < named; ++index) {
        terminal.message(QStringLiteral("  ") + displayName(stayed[index].url.path()) +
                         QStringLiteral(": ") +
                         displayName(stayedReason(stayed[index], console.texts())));
    }
    if (named < stayed.size()) {
        terminal.message(QStringLiteral("  ") +
                         console.text("cli_and_more"_key, {console.number(stayed.size() - named)}));
    }
}

void writeEraseJson(const EraseResult& result, bool isDryRun, Console& console) {
    JsonWriter json(console.output());
    json.beginObject();
    json.key("erasedCount");
    json.number(result.erasedCount);
    json.key("erasedSize");
    json.number(result.erasedSize);
    json.key("wasStoppedByUser");
    json.boolean(result.wasStopped);
    json.key("dryRun");
    json.boolean(isDryRun);
    json.key("notErased");
    json.beginArray();
    for (const StayedEntry& entry : result.stayed)
        writeStayed(json, entry, console.texts());
    json.endArray();
    json.endObject();
}

int reportErase(const EraseResult& result, const Arguments& arguments, Console& console) {
    const int status = exitStatus(result);
    if (!result.startProblem.isEmpty()) console.complain(displayName(result.startProblem));
    for (const QString& problem : result.problems)
        console.complain(displayName(problem));
    if (arguments.json) {
        writeEraseJson(result, false, console);
    } else if (!arguments.quiet) {
        console.output().line(summary(result, console));
        console.output().flush();
    }
    if (!result.stayed.empty()) nameStayed(result.stayed, "cli_stayed"_key, console);
    return status;
}

int reportStop(const Arguments& arguments, Console& console) {
    return reportErase({.end = EraseResult::End::Declined, .wasStopped = true}, arguments, console);
}

}  // namespace kestrin
