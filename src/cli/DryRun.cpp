// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/DryRun.h"

#include <vector>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Columns.h"
#include "cli/Console.h"
#include "cli/EraseReport.h"
#include "cli/TrashSurvey.h"
#include "erase/DisplayName.h"

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

}  // namespace

void reportDryRun(const ItemsToErase& items, const Arguments& arguments, Console& console) {
    const EntrySums sums = sumsOfItems(items);
    if (arguments.json) {
        const EraseResult result{.erasedCount = sums.count, .erasedSize = sums.size};
        return writeEraseJson(result, true, console);
    }
    if (items.empty()) return console.output().line(console.text("cli_trash_is_empty"_key));
    writeItems(items, console);
    if (arguments.quiet) return;
    console.output().line(console.text("cli_would_erase"_key,
                                       {console.number(sums.count), console.size(sums.size)},
                                       static_cast<long long>(sums.count)));
}

}  // namespace kestrin
