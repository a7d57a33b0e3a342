// SPDX-License-Identifier: GPL-3.0-or-later
// The workers of the service: started by the parent, heard on a socket each.
#pragma once

#include <QObject>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/Result.h"
#include "helper/WorkerConnection.h"
#include "helper/WorkerProtocol.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// Starts workers, and keeps the connections to them until their processes have gone. Main thread.
class Workers final : public QObject {
 public:
    /// `parent` is the socket to the process that starts them.
    explicit Workers(UniqueFd parent);

    /// Has a worker of that kind started for the user. `list` is the memory file of what it is to
    /// do, and stays the caller's; `unlocked` is what a PutBack worker is to put back. The result
    /// stays this object's, and is valid until it has told its end. Errors: EAGAIN when too many
    /// workers cannot be ended; of workerSockets and sendStartWorker.
    Result<WorkerConnection*> start(WorkerKind kind, std::uint32_t user, int list,
                                    WorkerConnection::Handlers handlers,
                                    UnlockedItems unlocked = {});
    /// How many workers of the user even the kernel cannot end.
    std::size_t countLeftBehind(std::uint32_t user) const;

    /// Whether any process is still there, one that cannot be ended too.
    bool areThere() const { return !m_connections.empty(); }

    int parent() const { return m_parent.get(); }

 private:
    const UniqueFd m_parent;
    std::uint64_t m_lastNumber = 0;
    std::vector<std::unique_ptr<WorkerConnection>> m_connections;
};

}  // namespace kestrin
