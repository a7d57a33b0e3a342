// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ItemPresences.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <utility>

#include "platform/processes/AnswerWithin.h"

namespace kestrin {
namespace {

/// How long a volume may take to tell of a few items. A silent one does not hold the end.
constexpr std::chrono::seconds kPatience(5);

using Presences = std::vector<ItemPresence>;

std::optional<Presences> presencesOf(std::vector<HelperItem> items) {
    return answerWithin<Presences>(kPatience, [items = std::move(items)] {
        Presences presences;
        for (const HelperItem& item : items)
            presences.push_back(presenceOf(item.url, item.identity));
        return presences;
    });
}

}  // namespace

Presences presencesOfAll(const std::vector<HelperItem>& items) {
    constexpr std::ptrdiff_t kMostAtOnce = 256;
    Presences presences;
    std::set<std::uint64_t> silent;
    for (auto begin = items.begin(); begin != items.end();) {
        const std::uint64_t volume = begin->identity.deviceId;
        const auto limit = begin + std::min(kMostAtOnce, items.end() - begin);
        const auto end = std::find_if(
            begin, limit, [&](const HelperItem& item) { return item.identity.deviceId != volume; });
        std::optional<Presences> answer;
        if (!silent.contains(volume)) answer = presencesOf({begin, end});
        if (!answer) silent.insert(volume);
        const auto count = static_cast<std::size_t>(end - begin);
        const Presences told = answer.value_or(Presences(count, ItemPresence::Unknown));
        presences.insert(presences.end(), told.begin(), told.end());
        begin = end;
    }
    return presences;
}

}  // namespace kestrin
