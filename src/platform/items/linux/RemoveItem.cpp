// SPDX-License-Identifier: GPL-3.0-or-later
// The removal of one entry, without asking.
#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "platform/items/HostErrors.h"
#include "platform/items/TreeRemover.h"
#include "platform/items/UniqueFd.h"
#include "platform/items/linux/PlainName.h"

namespace kestrin {
namespace {

/// Removes without asking and keeps the first failure.
class PlainPolicy final : public RemovalPolicy {
 public:
    Verdict willEnter(const RemovalEntry&) override { return Verdict::Proceed; }
    Verdict willRemove(const RemovalEntry&) override { return Verdict::Proceed; }
    void didRemove(const RemovalEntry&) override {}
    void didFail(const RemovalEntry&, const HostError& error) override {
        if (!m_firstError) m_firstError = error;
    }
    bool shouldStop() const override { return false; }
    const MaybeError& firstError() const { return m_firstError; }

 private:
    MaybeError m_firstError;
};

class SingleItem final : public RemovalItems {
 public:
    explicit SingleItem(RemovalItem item) : m_item(std::move(item)) {}
    bool next(RemovalItem& item) override {
        item = m_item;
        return !std::exchange(m_wasHandedOut, true);
    }
    void finished(const RemovalItem&, RemovalOutcome) override {}

 private:
    RemovalItem m_item;
    bool m_wasHandedOut = false;
};

}  // namespace

MaybeError removeItem(const FileUrl& item) {
    const FileUrl folder = item.parent();
    UniqueFd parent(open(folder.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!parent) return errorFromErrno(errno, HostAccess::Write);
    std::string name(item.lastPathComponent());
    if (!isPlainName(name)) return errorFromErrno(EINVAL, HostAccess::Write);
    const ItemIdentity identity = identityAt(parent.get(), name.c_str());
    if (!identity.isKnown()) return errorFromErrno(errno, HostAccess::Write);
    PlainPolicy policy;
    SingleItem single({0, parent.get(), folder.path(), std::move(name), identity});
    TreeRemover(policy, 1).remove(single);
    return policy.firstError();
}

}  // namespace kestrin
