// SPDX-License-Identifier: GPL-3.0-or-later
// Reads the labels of entries that somebody looks at. Main thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "inventory/QVSmartWindowItem.h"
#include "platform/items/FileLabels.h"

namespace kestrin {

/// A list asks for the labels of the rows that it draws, and those alone are read. A volume that
/// hangs costs one thread, which is abandoned; what is wanted of other volumes comes meanwhile.
class LabelReader {
 public:
    using Read = std::function<std::int8_t(const FileUrl&)>;

    /// `changed` is called when entries turned out to have labels, which are in them by then.
    /// `read` is called on threads that may outlive everything, and must own what it uses.
    explicit LabelReader(std::function<void()> changed, Read read = fileLabelOf);
    LabelReader(const LabelReader&) = delete;
    LabelReader& operator=(const LabelReader&) = delete;

    /// The label of `item`, of a trash; 0 as long as it is unknown, and then it will be read soon.
    /// What was wanted of another trash before, and is not being read yet, is forgotten.
    std::int8_t labelOf(const std::shared_ptr<QVSmartWindowItem>& item);

 private:
    void readWanted();
    void take(const std::string& trash, const ItemList& items,
              const std::vector<std::int8_t>& labels);

    const std::function<void()> m_changed;
    const Read m_read;
    std::string m_trash;  ///< the path of what is wanted below
    std::unordered_set<std::shared_ptr<QVSmartWindowItem>> m_wanted;
    bool m_isDue = false;               ///< readWanted will be called
    std::set<std::string> m_beingRead;  ///< paths of trashes
    /// Lives as long as this: what comes later finds nobody.
    const std::shared_ptr<LabelReader*> m_self;
};

}  // namespace kestrin
