// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/EntryOrder.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <limits>
#include <tuple>

namespace kestrin {

namespace {

unsigned char lowered(char character) {
    const bool isUpper = character >= 'A' && character <= 'Z';
    return static_cast<unsigned char>(isUpper ? character - 'A' + 'a' : character);
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

/// Sorts descending by a key, then by name.
template <class Key>
void sortBy(std::vector<ShownEntry>& entries, Key key) {
    std::ranges::sort(entries, [&](const ShownEntry& left, const ShownEntry& right) {
        if (key(left) != key(right)) return key(left) > key(right);
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
            sortBy(entries, [](const auto& shown) { return shown.entry.size; });
            break;
        case SortOrder::Date:
            sortBy(entries, dateKey);
            break;
    }
}

std::string localTimeText(const std::optional<std::int64_t>& seconds, char separator) {
    if (!seconds) return {};
    const std::time_t time = *seconds;
    std::tm parts{};
    if (::localtime_r(&time, &parts) == nullptr) return {};
    std::array<char, 64> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
    std::string result(text.data(), length);
    std::ranges::replace(result, ' ', separator);
    return result;
}

}  // namespace kestrin
