// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/ShowCommand.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Columns.h"
#include "cli/Console.h"
#include "cli/EntryOrder.h"
#include "cli/JsonWriter.h"
#include "cli/TrashSurvey.h"
#include "cli/VolumeChoice.h"
#include "format/DisplayName.h"
#include "platform/trash/TrashFolders.h"

namespace kestrin {

namespace {

/// The width of the column of names. Longer names push the rest of their line to the right.
constexpr int kWidestName = 40;
constexpr int kSizeWidth = 12;
constexpr int kDateWidth = 19;

struct ShownTrash {
    TrashLocation location;
    std::optional<OpenTrash> records;  ///< none: the records cannot be read
};

std::optional<TrashRecord> recordOf(const ShownTrash& trash, const std::string& name) {
    if (!trash.records) return std::nullopt;
    return trash.records->recordOf(name, trash.location.volumeURL);
}

/// The trashes with their entries as they are wanted. Records are read when an entry is printed,
/// and besides that only to sort by date: a trash may hold a million entries.
class Listing {
 public:
    Listing(const Arguments& arguments, Console& console)
        : m_arguments(arguments), m_console(console) {}

    /// False after a complaint: the trash cannot be read.
    bool add(const TrashLocation& location);
    void sort();
    bool isEmpty() const { return m_entries.empty(); }
    void writeJson() const;
    void writeText() const;

 private:
    void readDates();
    bool showsKinds() const { return m_arguments.sort == SortOrder::Kind; }
    void writeEntry(JsonWriter& json, const ShownEntry& shown) const;
    QStringList rowOf(const ShownEntry& shown) const;
    QStringList headings() const;
    std::vector<Column> columns() const;

    const Arguments& m_arguments;
    Console& m_console;
    std::vector<ShownTrash> m_trashes;
    std::vector<ShownEntry> m_entries;
};

bool Listing::add(const TrashLocation& location) {
    Result<std::vector<ScannedEntry>> entries = entriesOfTrash(location.trashURL, m_arguments.kind);
    if (!entries) {
        complainOfTrash(m_console, location.trashURL, entries.error());
        return false;
    }
    Result<OpenTrash> records = OpenTrash::open(location.trashURL);
    m_trashes.push_back({location, records ? std::optional(std::move(*records)) : std::nullopt});
    m_entries.reserve(m_entries.size() + entries->size());
    for (ScannedEntry& entry : *entries) {
        m_entries.push_back({std::move(entry), m_trashes.size() - 1});
    }
    return true;
}

void Listing::sort() {
    if (m_arguments.sort == SortOrder::Date) readDates();
    if (showsKinds()) {
        for (ShownEntry& shown : m_entries)
            shown.kind = entryKindOf(shown.entry.name, shown.entry.mode);
    }
    sortEntries(m_entries, m_arguments.sort);
}

void Listing::readDates() {
    for (ShownEntry& shown : m_entries) {
        const auto record = recordOf(m_trashes[shown.trash], shown.entry.name);
        if (record) shown.deletionDate = record->deletionDate;
    }
}

std::optional<std::string> stringOrNone(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(text);
}

void Listing::writeEntry(JsonWriter& json, const ShownEntry& shown) const {
    const ShownTrash& trash = m_trashes[shown.trash];
    const TrashRecord record = recordOf(trash, shown.entry.name).value_or(TrashRecord());
    json.beginObject();
    json.key("name");
    json.string(std::string_view(shown.entry.name));
    json.key("url");
    json.string(std::string_view(trash.location.trashURL.appending(shown.entry.name).toString()));
    json.key("size");
    json.number(shown.entry.size);
    json.key("count");
    json.number(shown.entry.count);
    json.key("isDirectory");
    json.boolean(shown.entry.isDirectory());
    json.key("kind");
    json.string(kindWord(entryKindOf(shown.entry.name, shown.entry.mode)));
    json.key("dateAdded");
    json.stringOrNull(stringOrNone(localTimeText(record.deletionDate, 'T')));
    json.key("originalPath");
    json.stringOrNull(stringOrNone(record.originalPath));
    json.key("volumePath");
    json.string(std::string_view(trash.location.volumePath));
    json.endObject();
}

void Listing::writeJson() const {
    JsonWriter json(m_console.output());
    json.beginArray();
    for (const ShownEntry& shown : m_entries) {
        if (m_console.output().failure() != 0) return;
        writeEntry(json, shown);
    }
    json.endArray();
}

QStringList Listing::rowOf(const ShownEntry& shown) const {
    const TrashRecord record =
        recordOf(m_trashes[shown.trash], shown.entry.name).value_or(TrashRecord());
    QStringList row{displayName(shown.entry.name)};
    if (showsKinds()) row << m_console.text(kindTextKey(shown.kind));
    return row << m_console.size(shown.entry.size) << m_console.number(shown.entry.count)
               << QString::fromStdString(localTimeText(record.deletionDate, ' '))
               << displayName(record.originalPath);
}

QStringList Listing::headings() const {
    QStringList headings{m_console.text("cli_column_name"_key)};
    if (showsKinds()) headings << m_console.text("cli_column_kind"_key);
    return headings << m_console.text("cli_column_size"_key)
                    << m_console.text("cli_column_items"_key)
                    << m_console.text("cli_column_date_added"_key)
                    << m_console.text("cli_column_original_path"_key);
}

std::vector<Column> Listing::columns() const {
    int nameWidth = displayWidth(m_console.text("cli_column_name"_key));
    int kindWidth = displayWidth(m_console.text("cli_column_kind"_key));
    std::uint64_t highestCount = 0;
    for (const ShownEntry& shown : m_entries) {
        highestCount = std::max(highestCount, shown.entry.count);
        if (nameWidth >= kWidestName) continue;
        nameWidth = std::max(nameWidth, displayWidth(displayName(shown.entry.name)));
    }
    for (const EntryKind kind : kEntryKinds)
        kindWidth = std::max(kindWidth, displayWidth(m_console.text(kindTextKey(kind))));
    const int countWidth = std::max(displayWidth(m_console.text("cli_column_items"_key)),
                                    displayWidth(m_console.number(highestCount)));
    std::vector<Column> columns{{.width = std::min(nameWidth, kWidestName)}};
    if (showsKinds()) columns.push_back({.width = kindWidth});
    columns.insert(columns.end(), {{.width = kSizeWidth, .alignsRight = true},
                                   {.width = countWidth, .alignsRight = true},
                                   {.width = kDateWidth},
                                   {}});
    return columns;
}

void Listing::writeText() const {
    if (m_entries.empty()) return sayThatNothingIsThere(m_arguments.kind, m_console);
    const std::vector<Column> widths = columns();
    m_console.output().line(rowText(headings(), widths));
    for (const ShownEntry& shown : m_entries) {
        if (m_console.output().failure() != 0) return;
        m_console.output().line(rowText(rowOf(shown), widths));
    }
}

}  // namespace

int runShow(const Arguments& arguments, Console& console) {
    const auto volumes = listVolumes(console);
    if (!volumes) return kStatusVolumesUnknown;
    const std::optional<ChosenTrashes> chosen =
        chooseTrashes(arguments.operands, *volumes, console);
    if (!chosen) return 2;
    Listing listing(arguments, console);
    bool allRead = chosen->isComplete;
    for (const TrashLocation& location : chosen->trashes) {
        if (!listing.add(location)) allRead = false;
    }
    listing.sort();
    // Only trashes that could be read are said to be empty.
    if (arguments.json) {
        listing.writeJson();
    } else if (allRead || !listing.isEmpty()) {
        listing.writeText();
    }
    return allRead ? 0 : 1;
}

}  // namespace kestrin
