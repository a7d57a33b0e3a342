// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/Workers.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/items/HostErrors.h"

namespace kestrin {
namespace {

/// The parent bears with kMaximumWorkers, and may hear later than the service that one has gone.
constexpr std::size_t kMaximumConnections = kMaximumWorkers * 3 / 4;

}  // namespace

Workers::Workers(UniqueFd parent) : m_parent(std::move(parent)) {
    // A parent that does not read must not hold the service up.
    ::fcntl(m_parent.get(), F_SETFL, O_NONBLOCK);
}

Result<WorkerConnection*> Workers::start(WorkerKind kind, std::uint32_t user, int list,
                                         WorkerConnection::Handlers handlers,
                                         UnlockedItems unlocked) {
    if (m_connections.size() >= kMaximumConnections) {
        return errorFromErrno(EAGAIN, HostAccess::Write);
    }
    auto sockets = workerSockets();
    if (!sockets) return sockets.error();
    const StartWorker worker{.number = ++m_lastNumber, .user = user, .kind = kind};
    if (const MaybeError error =
            sendStartWorker(m_parent.get(), worker, list, sockets->worker.get())) {
        return *error;
    }
    auto* const connection = m_connections
                                 .emplace_back(std::make_unique<WorkerConnection>(
                                     m_parent.get(), worker, std::move(sockets->service),
                                     std::move(handlers), std::move(unlocked)))
                                 .get();
    // Not at once: it is in the middle of telling so.
    QObject::connect(
        connection, &WorkerConnection::gone, this,
        [this, connection] {
            std::erase_if(m_connections, [=](const auto& one) { return one.get() == connection; });
        },
        Qt::QueuedConnection);
    return connection;
}

std::size_t Workers::countLeftBehind(std::uint32_t user) const {
    return static_cast<std::size_t>(std::ranges::count_if(m_connections, [user](const auto& one) {
        return one->isLeftBehind() && one->user() == user;
    }));
}

}  // namespace kestrin
