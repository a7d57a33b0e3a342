// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/DryRun.h"

#include <map>
#include <vector>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Columns.h"
#include "cli/Console.h"
#include "cli/EraseReport.h"
#include "cli/TrashSurvey.h"
#include "format/DisplayName.h"
#include "platform/disks/Volumes.h"

namespace kestrin {

namespace {

constexpr int kSizeWidth = 12;
constexpr int kCountWidth = 11;

EntrySums sumsOfItems(const ItemsToErase& items) {
    EntrySums sums;
    for (const QVItemToErase& item : items)
        sums += {item.size, item.count};
    return sums;
}

void writeItems(const ItemsToErase& items, Console& console) {
    const std::vector<Column> columns{{.width = kSizeWidth, .alignsRight = true},
                                      {.width = kCountWidth, .alignsRight = true},
                                      {}};
    console.output().line(
        rowText({console.text("cli_column_size"_key), console.text("cli_column_items"_key),
                 console.text("cli_column_path"_key)},
                columns));
    for (const QVItemToErase& item : items) {
        if (console.output().failure() != 0) return;
        console.output().line(
            rowText({console.size(item.size), console.number(item.count), displayName(item.path())},
                    columns));
    }
}

void writeSums(const EntrySums& sums, Console& console) {
    console.output().line(console.text("cli_would_erase"_key,
                                       {console.number(sums.count), console.size(sums.size)},
                                       static_cast<long long>(sums.count)));
}

/// What an erase would come to.
struct Forecast {
    ItemsToErase erased;
    std::vector<StayedEntry> stayed;
};

Forecast forecastOf(const ItemsToErase& items) {
    Forecast forecast;
    std::map<FileUrl, bool> readOnlyFolders;  // a trash is one folder with many entries
    for (const QVItemToErase& item : items) {
        const FileUrl& folder = *item.trash;
        const auto [known, isNew] = readOnlyFolders.emplace(folder, false);
        if (isNew) known->second = isVolumeReadOnly(folder).value_or(false);
        if (known->second) {
            forecast.stayed.push_back({.url = item.url(), .reason = StayReason::ReadOnly});
        } else {
            forecast.erased.push_back(item);
        }
    }
    return forecast;
}

}  // namespace

int reportDryRun(const ItemsToErase& items, const Arguments& arguments, Console& console) {
    const Forecast forecast = forecastOf(items);
    const EntrySums sums = sumsOfItems(forecast.erased);
    if (arguments.json) {
        const EraseResult result{
            .erasedCount = sums.count, .erasedSize = sums.size, .stayed = forecast.stayed};
        writeEraseJson(result, true, console);
    } else if (items.empty()) {
        console.output().line(console.text("cli_trash_is_empty"_key));
    } else {
        if (!forecast.erased.empty()) writeItems(forecast.erased, console);
        if (!arguments.quiet) writeSums(sums, console);
    }
    if (forecast.stayed.empty()) return 0;
    console.output().flush();
    nameStayed(forecast.stayed, "cli_would_stay"_key, console);
    return 1;
}

}  // namespace kestrin
