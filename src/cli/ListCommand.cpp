// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/ListCommand.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Columns.h"
#include "cli/Console.h"
#include "cli/JsonWriter.h"
#include "cli/TrashSurvey.h"
#include "cli/VolumeChoice.h"
#include "format/DisplayName.h"

namespace kestrin {

namespace {

struct ListedTrash {
    TrashLocation location;
    std::optional<TrashFigures> figures;  ///< none: it cannot be read
};

std::vector<ListedTrash> listTrashes(const std::vector<TrashLocation>& locations,
                                     Console& console) {
    std::vector<ListedTrash> trashes;
    for (const TrashLocation& location : locations) {
        const TrashContents contents = countFigures({location.trashURL});
        for (const UnreadableTrash& failure : contents.unreadable)
            complainOfTrash(console, failure.trash, failure.error);
        trashes.push_back({location, contents.unreadable.empty() ? std::optional(contents.figures)
                                                                 : std::nullopt});
    }
    return trashes;
}

void writeTrash(JsonWriter& json, const ListedTrash& trash) {
    const TrashFigures figures = trash.figures.value_or(TrashFigures());
    json.beginObject();
    json.key("volumeName");
    json.string(trash.location.volumeName);
    json.key("volumePath");
    json.string(trash.location.volumePath);
    json.key("trashURL");
    json.string(trash.location.trashURL.toString());
    json.key("trashIsEmpty");
    json.boolean(trash.figures && trash.location.trashIsEmpty);
    json.key("size");
    json.number(figures.size);
    json.key("count");
    json.number(figures.count);
    json.endObject();
}

void writeJson(const std::vector<ListedTrash>& trashes, Console& console) {
    JsonWriter json(console.output());
    json.beginArray();
    for (const ListedTrash& trash : trashes)
        writeTrash(json, trash);
    json.endArray();
}

QStringList headings(const Console& console) {
    return {console.text("cli_column_volume"_key), console.text("cli_column_path"_key),
            console.text("cli_column_items"_key), console.text("cli_column_size"_key)};
}

QStringList rowOf(const ListedTrash& trash, const Console& console) {
    const QString unknown = console.text("cli_unknown_figure"_key);
    return {displayName(trash.location.volumeName), displayName(trash.location.volumePath),
            trash.figures ? console.number(trash.figures->count) : unknown,
            trash.figures ? console.size(trash.figures->size) : unknown};
}

QStringList totalRow(const std::vector<ListedTrash>& trashes, const Console& console) {
    TrashFigures total;
    for (const ListedTrash& trash : trashes)
        total += trash.figures.value_or(TrashFigures());
    return {console.text("cli_total"_key), QString(), console.number(total.count),
            console.size(total.size)};
}

void writeText(const std::vector<ListedTrash>& trashes, Console& console) {
    if (trashes.empty()) return console.output().line(console.text("cli_no_trash"_key));
    std::vector<QStringList> rows{headings(console)};
    for (const ListedTrash& trash : trashes)
        rows.push_back(rowOf(trash, console));
    rows.push_back(totalRow(trashes, console));
    const std::vector<Column> columns{{}, {}, {.alignsRight = true}, {.alignsRight = true}};
    for (const QString& line : alignedRows(rows, columns))
        console.output().line(line);
}

}  // namespace

int runList(const Arguments& arguments, Console& console) {
    const auto volumes = listVolumes(console);
    if (!volumes) return kStatusVolumesUnknown;
    const ChosenTrashes all = *chooseTrashes({}, *volumes, console);
    const std::vector<ListedTrash> trashes = listTrashes(all.trashes, console);
    if (arguments.json) {
        writeJson(trashes, console);
    } else {
        writeText(trashes, console);
    }
    const bool allRead = std::ranges::all_of(
        trashes, [](const ListedTrash& trash) { return trash.figures.has_value(); });
    return all.isComplete && allRead ? 0 : 1;
}

}  // namespace kestrin
