// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/Worker.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/FileUrl.h"
#include "base/SystemLog.h"
#include "helper/EraseCommand.h"
#include "helper/Hardening.h"
#include "helper/HelperProtocol.h"
#include "helper/Parent.h"
#include "platform/items/HostErrors.h"
#include "platform/items/SealedFile.h"
#include "platform/processes/PacketSocket.h"

namespace kestrin {
namespace {

/// What was erased is told when that much of it has come together, or so much later.
constexpr std::size_t kWorthTelling = std::size_t{32} << 10;
constexpr std::chrono::milliseconds kLongestSilence{10};
/// Above this, those who erase wait for the service.
constexpr std::size_t kMaximumPendingBytes = std::size_t{256} << 10;

/// Tells the service what the command does, and hears from it when to stop.
class ServiceChannel final : public EraseProgress, public LockObserver {
 public:
    explicit ServiceChannel(UniqueFd socket)
        : m_socket(std::move(socket)),
          m_signals(takeSignals(Signals::OfTheEnd)),
          m_listener([this] { listen(); }),
          m_teller([this] { tellPending(); }) {
        setLockObserver(this);
    }
    ~ServiceChannel() override {
        flush();
        // Nothing more can be sent here from now on, so that the listener reads all there is.
        ::shutdown(m_socket.get(), SHUT_RD);
        m_listener.join();
        setLockObserver(nullptr);
    }

    const std::atomic<bool>& stop() const { return m_stop; }

    void itemErased(std::string path, std::uint64_t size) override {
        std::unique_lock lock(m_mutex);
        m_hasRoom.wait(lock, [this] { return m_isAlone || m_bytes < kMaximumPendingBytes; });
        if (m_isAlone) return;
        add(path.size() + sizeof(EntriesErased::Entry));
        m_erased.entries.push_back({std::move(path), size});
    }
    bool isHeard() const override { return !m_isAlone; }

    bool willClear(std::uint64_t id, const UnlockedItem& item) override {
        return send(LocksToClear{id, item});
    }
    void didSettle(std::uint64_t id) override {
        const std::lock_guard lock(m_mutex);
        add(sizeof id);
        m_settled.ids.push_back(id);
    }

    /// Sends the message at once. False when the service has gone.
    bool send(const WorkerMessage& message) {
        const std::lock_guard lock(m_sending);
        if (m_isAlone) return false;
        if (!sendMessage(m_socket.get(), message)) return true;
        loseService();
        return false;
    }
    /// Tells everything that waits. Nothing may be erased any more.
    void flush() {
        {
            const std::lock_guard lock(m_mutex);
            m_isOver = true;
        }
        m_hasNews.notify_all();
        if (m_teller.joinable()) m_teller.join();
    }

 private:
    /// Requires: the lock of m_mutex.
    void add(std::size_t bytes) {
        const bool isFirst = m_bytes == 0;
        m_bytes += bytes;
        if (isFirst || m_bytes >= kWorthTelling) m_hasNews.notify_one();
    }

    /// Thread: the teller.
    void tellPending() {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_hasNews.wait(lock, [this] { return m_isOver || m_bytes > 0; });
            m_hasNews.wait_for(lock, kLongestSilence,
                               [this] { return m_isOver || m_bytes >= kWorthTelling; });
            if (m_bytes == 0) return;
            const EntriesErased erased = std::exchange(m_erased, {});
            const LocksSettled settled = std::exchange(m_settled, {});
            m_bytes = 0;
            m_hasRoom.notify_all();
            lock.unlock();
            send(erased);
            send(settled);
            lock.lock();
        }
    }

    /// Thread: the listener.
    void listen() {
        pollfd wanted[] = {{m_socket.get(), POLLIN, 0}, {m_signals.get(), POLLIN, 0}};
        for (bool isThere = true; isThere;) {
            if (::poll(wanted, 2, -1) < 0) continue;  // interrupted
            m_stop = true;                            // whatever came
            std::array<char, 64> packet;
            if (wanted[0].revents != 0) isThere = receivePacket(m_socket.get(), packet).hasValue();
            if (wanted[1].revents != 0) wanted[1].fd = -1;
        }
        loseService();
    }

    void loseService() {
        m_stop = true;
        {
            const std::lock_guard lock(m_mutex);
            m_isAlone = true;
        }
        m_hasRoom.notify_all();
    }

    const UniqueFd m_socket;
    const UniqueFd m_signals;
    std::atomic<bool> m_stop = false;
    std::atomic<bool> m_isAlone = false;  ///< the service hears nothing any more
    std::mutex m_sending;                 ///< held by whoever sends
    std::mutex m_mutex;                   ///< guards what follows
    std::condition_variable m_hasNews;
    std::condition_variable m_hasRoom;
    bool m_isOver = false;
    std::size_t m_bytes = 0;  ///< of what waits to be told
    EntriesErased m_erased;
    LocksSettled m_settled;
    std::thread m_listener;
    std::thread m_teller;
};

Result<EraseItems> readItems(int list, const std::atomic<bool>& stop) {
    const auto xml = readSealedFile(list, kMaximumList);
    if (!xml) return xml.error();
    return EraseItems::fromXml(*xml, &stop);
}

/// The list is gone again when this returns.
Result<EraseItems> readItemsWithinMemory(int list, const std::atomic<bool>& stop) {
    try {
        return readItems(list, stop);
    } catch (const std::exception& failure) {
        return errorFromException(failure);
    }
}

void erase(const StartRequest& request, ServiceChannel& service) {
    const auto items = readItemsWithinMemory(request.list.get(), service.stop());
    if (!items) {
        service.send(CommandRefused{items.error().localizedDescription()});
        return;
    }
    service.send(CommandAccepted{items->unlockItems.size() + items->permissionsItems.size(),
                                 items->erasedCount, items->erasedSize});
    UserTrashes trashes(request.start.user);
    const EraseOutcome outcome = runEraseCommand(trashes, *items, service, service.stop());
    service.flush();
    service.send(CommandFinished{outcome.nonErasedCount, outcome.failures});
}

/// False when the list cannot be read.
bool unlock(const StartRequest& request, ServiceChannel& service) {
    const auto list = readSealedFile(request.list.get(), kMaximumList);
    if (!list) return false;
    std::vector<std::string> paths = fromUnlockList(*list);
    for (std::string& path : paths)
        path = percentDecode(path).value_or(std::string());
    UserTrashes trashes(request.start.user);
    const auto isUnlocked = runUnlockCommand(trashes, paths, service.stop());
    service.flush();
    service.send(ItemsUnlocked{isUnlocked});
    service.send(CommandFinished{});
    return true;
}

/// False when the list cannot be read.
bool putBack(const StartRequest& request, ServiceChannel& service) {
    const auto list = readSealedFile(request.list.get(), kMaximumList);
    const auto items = list ? fromPutBackList(*list) : Result<UnlockedItems>(list.error());
    if (!items) return false;
    // Stop does not count: what was changed is to be put back in any case.
    for (const auto& [id, item] : *items) {
        if (const auto error = putBackLocks(item)) {
            service.send(LocksLost{id, error->systemError});
        } else {
            service.didSettle(id);
        }
    }
    service.flush();
    service.send(CommandFinished{});
    return true;
}

/// False when the request is none.
bool carryOut(const StartRequest& request, ServiceChannel& service) {
    switch (request.start.kind) {
        case WorkerKind::Erase:
            erase(request, service);
            return true;
        case WorkerKind::Unlock:
            return unlock(request, service);
        case WorkerKind::PutBack:
            return putBack(request, service);
    }
    return false;
}

}  // namespace

void runWorker(StartRequest request) {
    limitWorker(request.list.get(), request.socket.get());
    bool isDone = false;
    {
        ServiceChannel service(std::move(request.socket));
        try {
            isDone = carryOut(request, service);
        } catch (const std::exception& failure) {
            qCWarning(lcHelper, "A command of user %u broke off: %s", request.start.user,
                      failure.what());
        }
    }
    // Not by exit(3), which is the parent's to end.
    std::_Exit(isDone ? 0 : 1);
}

}  // namespace kestrin
