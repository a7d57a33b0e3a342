// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/LabelReader.h"

#include <utility>

#include "base/MainThread.h"
#include "platform/processes/AnswerWithin.h"

namespace kestrin {
namespace {

/// More than a screen shows. While a volume hangs, rows that were scrolled past are forgotten: who
/// comes back to them asks again.
constexpr std::size_t kMostWanted = 500;

}  // namespace

LabelReader::LabelReader(std::function<void()> changed, Read read)
    : m_changed(std::move(changed)),
      m_read(std::move(read)),
      m_self(std::make_shared<LabelReader*>(this)) {}

std::int8_t LabelReader::labelOf(const std::shared_ptr<QVSmartWindowItem>& item) {
    const std::int8_t label = item->label;
    if (label != QVSmartWindowItem::kUnknownLabel) return label;
    if (!item->trash) return 0;
    if (m_trash != item->trash->path() || m_wanted.size() >= kMostWanted) m_wanted.clear();
    m_trash = item->trash->path();
    m_wanted.insert(item);
    if (!std::exchange(m_isDue, true)) {
        MainThread::post([self = std::weak_ptr(m_self)] {
            if (const auto reader = self.lock()) (*reader)->readWanted();
        });
    }
    return 0;
}

void LabelReader::readWanted() {
    m_isDue = false;
    if (m_beingRead.contains(m_trash)) return;
    ItemList items;
    for (const auto& item : std::exchange(m_wanted, {}))
        if (item->label == QVSmartWindowItem::kUnknownLabel) items.push_back(item);
    if (items.empty()) return;
    m_beingRead.insert(m_trash);
    const bool isAsked = runAbandoned(
        [self = std::weak_ptr(m_self), trash = m_trash, items = std::move(items), read = m_read] {
            std::vector<std::int8_t> labels;
            labels.reserve(items.size());
            for (const auto& item : items)
                labels.push_back(read(item->url()));
            MainThread::post([self, trash, items, labels = std::move(labels)] {
                if (const auto reader = self.lock()) (*reader)->take(trash, items, labels);
            });
        });
    if (!isAsked) m_beingRead.erase(m_trash);
}

void LabelReader::take(const std::string& trash, const ItemList& items,
                       const std::vector<std::int8_t>& labels) {
    m_beingRead.erase(trash);
    bool hasLabels = false;
    for (std::size_t at = 0; at < items.size(); ++at) {
        items[at]->label = labels[at];
        hasLabels = hasLabels || labels[at] != 0;
    }
    if (hasLabels) m_changed();
    readWanted();
}

}  // namespace kestrin
