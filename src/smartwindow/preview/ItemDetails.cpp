// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/ItemDetails.h"

#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "base/MainThread.h"
#include "format/DisplayName.h"
#include "format/QVDateUtilities.h"
#include "format/QVNumberUtilities.h"
#include "fsutil/QVFinderLabels.h"
#include "platform/items/FileLabels.h"
#include "platform/items/ItemIdentity.h"
#include "platform/items/ItemKinds.h"
#include "platform/processes/AnswerWithin.h"

namespace kestrin {
namespace {

constexpr std::uint16_t kSizeScale = 4;

QString dateText(double seconds) {
    if (seconds == QVDateUtilities::wrongDate) return {};
    return QVDateUtilities::sharedControl().stringWithSeconds(seconds, DateStyle::Long, true,
                                                              false);
}

/// With a capital, since lines begin with it.
QString kindText(const QVSmartWindowItem& item, std::uint32_t mode) {
    QString kind = displayName(kindOfItem(item.name, mode).description);
    if (!kind.isEmpty()) kind[0] = kind[0].toUpper();
    return kind;
}

void setLabel(ItemDetails& details, std::int8_t label) {
    details.labelNumber = label;
    details.label =
        label == 0 ? QString() : QVFinderLabels::sharedControl().labelNameWithKey(label);
}

ItemDetails detailsWith(const QVSmartWindowItem& item, const ItemFacts& facts) {
    ItemDetails details = knownDetails(item);
    details.isThere = facts.attributes.has_value();
    if (!details.isThere) return details;
    details.kind = kindText(item, facts.attributes->mode);
    details.dateModified = dateText(facts.attributes->dateModified);
    details.dateCreated =
        dateText(facts.attributes->dateCreated.value_or(QVDateUtilities::wrongDate));
    details.path = facts.path;
    setLabel(details, facts.label);
    return details;
}

}  // namespace

ItemDetails knownDetails(const QVSmartWindowItem& item) {
    ItemDetails details{.name = displayName(item.name),
                        .kind = kindText(item, item.mode),
                        .dateAdded = dateText(item.dateAdded)};
    if (item.isMeasured)
        details.size =
            QVNumberUtilities::sharedControl().sizeToFormatString(item.size, kSizeScale, true);
    if (item.originalFolder) details.originalFolder = displayName(*item.originalFolder);
    setLabel(details, std::max<std::int8_t>(item.label, 0));
    details.path = pathRows(item.url(), [](const FileUrl& location) {
        return ServiceDictionary{
            .name_col = QString::fromStdString(std::string(location.lastPathComponent())),
            .url = location,
            .isInvisible = location.lastPathComponent().starts_with('.')};
    });
    if (!details.path.empty()) details.path.back().finder_tag = details.labelNumber;
    return details;
}

ItemFacts factsOf(const QVSmartWindowItem& item) {
    const FileUrl url = item.url();
    auto attributes = itemAttributes(url);
    if (!attributes || presenceOf(url, item.identity) != ItemPresence::There) return {};
    return {.attributes = std::move(*attributes),
            .label = fileLabelOf(url),
            .path = pathRows(url, serviceDictionaryWithURL)};
}

// --- Asking ---

ItemDetailsReader::ItemDetailsReader(Ask ask)
    : m_ask(std::move(ask)), m_self(std::make_shared<ItemDetailsReader*>(this)) {}

ItemDetailsReader::~ItemDetailsReader() = default;

PreviewTicket ItemDetailsReader::request(std::shared_ptr<const QVSmartWindowItem> item,
                                         Answer answer) {
    const PreviewTicket ticket = std::make_shared<char>();
    const std::string trash = item->trash ? item->trash->path() : std::string();
    m_trashes[trash].waiting.push_back({std::move(item), std::move(answer), ticket});
    askNext(trash);
    return ticket;
}

void ItemDetailsReader::askNext(const std::string& trash) {
    Trash& asked = m_trashes[trash];
    if (asked.isAsked) return;
    std::erase_if(asked.waiting,
                  [](const Question& question) { return question.ticket.expired(); });
    if (asked.waiting.empty()) {
        m_trashes.erase(trash);
        return;
    }
    Question question = std::move(asked.waiting.back());
    asked.waiting.pop_back();
    asked.isAsked = runAbandoned([ask = m_ask, self = std::weak_ptr(m_self), trash,
                                  question = std::move(question)]() mutable {
        ItemFacts facts = ask(*question.item);
        // What the question holds is of the main thread, and so goes there.
        MainThread::post([self, trash, question = std::move(question), facts = std::move(facts)] {
            if (const auto reader = self.lock()) (*reader)->take(trash, question, facts);
        });
    });
}

void ItemDetailsReader::take(const std::string& trash, const Question& question,
                             const ItemFacts& facts) {
    m_trashes[trash].isAsked = false;
    askNext(trash);
    if (!question.ticket.expired()) question.answer(detailsWith(*question.item, facts));
}

}  // namespace kestrin
