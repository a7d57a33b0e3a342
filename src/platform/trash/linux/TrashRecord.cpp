// SPDX-License-Identifier: GPL-3.0-or-later
// The `.trashinfo` format: a desktop-entry file with one group.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <string>
#include <utility>

#include "platform/trash/TrashFolders.h"

namespace kestrin {
namespace {

std::string_view withoutLeadingBlanks(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

std::string_view withoutTrailingBlanks(std::string_view text) {
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

/// Takes the first line, without its line end, from `text`.
std::string_view takeLine(std::string_view& text) {
    const auto end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

/// The values of the group "Trash Info" that matter.
struct RecordValues {
    std::optional<std::string_view> path;
    std::optional<std::string_view> deletionDate;

    void take(std::string_view line) {
        const auto equals = line.find('=');
        if (equals == line.npos) return;
        const std::string_view key =
            withoutTrailingBlanks(withoutLeadingBlanks(line.substr(0, equals)));
        const std::string_view value = withoutLeadingBlanks(line.substr(equals + 1));
        if (key == "Path" && !path) path = value;
        if (key == "DeletionDate" && !deletionDate) deletionDate = value;
    }
};

std::optional<RecordValues> valuesOf(std::string_view text) {
    RecordValues values;
    bool isInGroup = false, hasGroup = false;
    while (!text.empty()) {
        const std::string_view line = takeLine(text);
        if (line.starts_with('[')) {
            isInGroup = withoutTrailingBlanks(line) == "[Trash Info]";
            hasGroup = hasGroup || isInGroup;
        } else if (isInGroup) {
            values.take(line);
        }
    }
    return hasGroup ? std::optional(values) : std::nullopt;
}

bool climbs(std::string_view path) {
    while (!path.empty()) {
        const auto end = std::min(path.find('/'), path.size());
        if (path.substr(0, end) == "..") return true;
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return false;
}

std::string originalPathOf(std::string_view value, const FileUrl& topFolder) {
    const auto decoded = percentDecode(value);
    if (!decoded || decoded->empty() || decoded->find('\0') != std::string::npos) return {};
    if (decoded->starts_with('/')) return FileUrl::fromPath(*decoded).path();
    return climbs(*decoded) ? std::string() : topFolder.appending(*decoded).path();
}

/// The number of exactly `length` digits at `position`; -1 when there are none.
int numberAt(std::string_view text, std::size_t position, std::size_t length) {
    int number = 0;
    for (const char digit : text.substr(position, length)) {
        if (digit < '0' || digit > '9') return -1;
        number = number * 10 + (digit - '0');
    }
    return number;
}

/// True for nothing or a fraction of a second. A zone would make it another moment than it says.
bool isHarmlessRest(std::string_view rest) {
    if (rest.empty()) return true;
    return rest.size() > 1 && rest[0] == '.' &&
           rest.find_first_not_of("0123456789", 1) == std::string_view::npos;
}

/// Splits "YYYY-MM-DDThh:mm:ss"; none unless every field is in its range.
std::optional<std::tm> fieldsOfDate(std::string_view text) {
    constexpr std::string_view kForm = "0000-00-00T00:00:00";
    if (text.size() < kForm.size() || !isHarmlessRest(text.substr(kForm.size()))) return {};
    for (const std::size_t position : {4, 7, 10, 13, 16}) {
        if (text[position] != kForm[position]) return {};
    }
    const int year = numberAt(text, 0, 4), month = numberAt(text, 5, 2), day = numberAt(text, 8, 2);
    std::tm fields{};
    fields.tm_hour = numberAt(text, 11, 2);
    fields.tm_min = numberAt(text, 14, 2);
    fields.tm_sec = numberAt(text, 17, 2);
    if (year < 0 || month < 0 || day < 0 || fields.tm_hour < 0 || fields.tm_hour > 23 ||
        fields.tm_min < 0 || fields.tm_min > 59 || fields.tm_sec < 0 || fields.tm_sec > 59) {
        return {};
    }
    const std::chrono::year_month_day date{std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok()) return {};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_isdst = -1;
    return fields;
}

std::optional<std::int64_t> timeOf(std::tm fields) {
    // -1 is a moment as well as mktime's failure; only success fills in the day of the week.
    fields.tm_wday = -1;
    const std::time_t time = std::mktime(&fields);
    if (fields.tm_wday < 0) return std::nullopt;
    return time;
}

/// The last minute that was asked for. At every call mktime looks at the disk which zone holds now,
/// and mostly a trash was filled by the thousand. A zone may change, so the answer does not last.
struct KnownMinute {
    std::string text;
    std::optional<std::int64_t> begin;
    std::chrono::steady_clock::time_point asked;
};

std::optional<std::int64_t> localDate(std::string_view text) {
    constexpr std::size_t kMinuteLength = std::string_view("0000-00-00T00:00").size();
    constexpr auto kLasts = std::chrono::seconds(1);
    auto fields = fieldsOfDate(withoutTrailingBlanks(text));
    if (!fields) return std::nullopt;
    thread_local KnownMinute known;
    const int seconds = std::exchange(fields->tm_sec, 0);
    const std::string_view minute = text.substr(0, kMinuteLength);
    const auto now = std::chrono::steady_clock::now();
    if (known.text != minute || now - known.asked >= kLasts)
        known = {std::string(minute), timeOf(*fields), now};
    return known.begin ? std::optional(*known.begin + seconds) : std::nullopt;
}

}  // namespace

std::optional<TrashRecord> parseTrashRecord(std::string_view text, const FileUrl& topFolder) {
    const auto values = valuesOf(text);
    if (!values) return std::nullopt;
    TrashRecord record;
    if (values->path) record.originalPath = originalPathOf(*values->path, topFolder);
    if (values->deletionDate) record.deletionDate = localDate(*values->deletionDate);
    return record;
}

}  // namespace kestrin
