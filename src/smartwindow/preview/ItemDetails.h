// SPDX-License-Identifier: GPL-3.0-or-later
// What the preview tells of an entry beside its content. Main thread, except where a function says
// otherwise.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "inventory/QVPreviewItem.h"
#include "platform/items/ItemAttributes.h"
#include "smartwindow/preview/PreviewRequest.h"

namespace kestrin {

/// All texts are fit to be read, and empty where nothing is known.
struct ItemDetails {
    QString name;
    QString kind;            ///< the description of its MIME type
    QString size;            ///< of a folder only once that was measured
    QString dateModified;    ///< a long date, without the time
    QString dateCreated;     ///< the same
    QString dateAdded;       ///< to the trash, the same
    QString originalFolder;  ///< that it was trashed from
    QString label;           ///< the name of its label
    std::int8_t labelNumber = 0;
    std::vector<ServiceDictionary> path;  ///< as QVPreviewItem::oldStylePath
    /// False when the entry has gone or something else has taken its name: the rest is what was
    /// known when it was listed.
    bool isThere = true;
};

/// What is known without a question to any disk: no dates of the file system, and a kind and a path
/// that go by names alone.
ItemDetails knownDetails(const QVSmartWindowItem& item);

/// What the file system tells of an entry.
struct ItemFacts {
    std::optional<ItemAttributes> attributes;  ///< none when the entry is not there any more
    std::int8_t label = 0;
    std::vector<ServiceDictionary> path;
};
/// Asks the disk, which may never answer. Thread: any.
ItemFacts factsOf(const QVSmartWindowItem& item);

/// Asks for details in the background. A volume that hangs costs one thread, which is abandoned:
/// each trash is asked one question at a time, the newest of those that are still wanted.
class ItemDetailsReader {
 public:
    using Ask = std::function<ItemFacts(const QVSmartWindowItem&)>;
    using Answer = std::function<void(const ItemDetails&)>;

    /// `ask` is called on threads that may outlive everything, and must own what it uses.
    explicit ItemDetailsReader(Ask ask = factsOf);
    ~ItemDetailsReader();
    ItemDetailsReader(const ItemDetailsReader&) = delete;
    ItemDetailsReader& operator=(const ItemDetailsReader&) = delete;

    /// Asks about `item`. `answer` is called once and later, and never when the last copy of the
    /// ticket or this goes before, or when the volume stays silent.
    [[nodiscard]] PreviewTicket request(std::shared_ptr<const QVSmartWindowItem> item,
                                        Answer answer);

 private:
    struct Question {
        std::shared_ptr<const QVSmartWindowItem> item;
        Answer answer;
        std::weak_ptr<void> ticket;
    };
    struct Trash {
        bool isAsked = false;
        std::vector<Question> waiting;
    };

    void askNext(const std::string& trash);
    void take(const std::string& trash, const Question& question, const ItemFacts& facts);

    const Ask m_ask;
    std::map<std::string, Trash> m_trashes;  ///< by path
    /// Lives as long as this: what comes later finds nobody.
    const std::shared_ptr<ItemDetailsReader*> m_self;
};

}  // namespace kestrin
