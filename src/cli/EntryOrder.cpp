// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/EntryOrder.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <functional>
#include <limits>
#include <tuple>

#include "base/AsciiCase.h"

namespace kestrin {

namespace {

unsigned char lowered(char character) {
    return static_cast<unsigned char>(smallLetter(character));
}

bool nameComesFirst(const ShownEntry& left, const ShownEntry& right) {
    const std::string& a = left.entry.name;
    const std::string& b = right.entry.name;
    const auto difference = std::lexicographical_compare_three_way(
        a.begin(), a.end(), b.begin(), b.end(),
        [](char x, char y) { return lowered(x) <=> lowered(y); });
    if (difference != 0) return difference < 0;
    return std::tie(a, left.trash) < std::tie(b, right.trash);
}

/// Sorts by a key, then by name.
template <class Order, class Key>
void sortBy(std::vector<ShownEntry>& entries, Order comesFirst, Key key) {
    std::ranges::sort(entries, [&](const ShownEntry& left, const ShownEntry& right) {
        if (key(left) != key(right)) return comesFirst(key(left), key(right));
        return nameComesFirst(left, right);
    });
}

std::int64_t dateKey(const ShownEntry& shown) {
    return shown.deletionDate.value_or(std::numeric_limits<std::int64_t>::min());
}

}  // namespace

void sortEntries(std::vector<ShownEntry>& entries, SortOrder order) {
    switch (order) {
        case SortOrder::Name:
            std::ranges::sort(entries, nameComesFirst);
            break;
        case SortOrder::Size:
            sortBy(entries, std::greater(), [](const auto& shown) { return shown.entry.size; });
            break;
        case SortOrder::Date:
            sortBy(entries, std::greater(), dateKey);
            break;
        case SortOrder::Kind:
            sortBy(entries, std::less(), [](const auto& shown) { return shown.kind; });
            break;
    }
}

std::string localTimeText(const std::optional<std::int64_t>& seconds, char separator) {
    if (!seconds) return {};
    const std::time_t time = *seconds;
    std::tm parts{};
    if (::localtime_r(&time, &parts) == nullptr) return {};
    // This is not strftime, which writes years before 1000 with fewer digits than ISO 8601 has.
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d%c%02d:%02d:%02d", 1900 + parts.tm_year,
                  1 + parts.tm_mon, parts.tm_mday, separator, parts.tm_hour, parts.tm_min,
                  parts.tm_sec);
    return text.data();
}

}  // namespace kestrin
