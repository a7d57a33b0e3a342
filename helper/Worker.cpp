// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/Worker.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "base/FileUrl.h"
#include "base/SystemLog.h"
#include "helper/EraseCommand.h"
#include "helper/Hardening.h"
#include "helper/HelperProtocol.h"
#include "helper/Parent.h"
#include "helper/Patience.h"
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

/// How many threads lock items again: one that hangs, since a user holds the item's lock in the
/// kernel, holds up none of the others.
constexpr std::size_t kPutBackThreads = 16;
/// The most items that are written down as not locked again.
constexpr std::size_t kMaximumLogged = 20;

/// Tells the service what the command does, and hears from it when to stop. What is without its
/// attributes is known here as well, so that they are put back when the service has gone.
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
        {
            const std::lock_guard lock(m_mutex);
            const std::size_t bytes = m_unlockedBytes + memoryOf(item);
            if (bytes > kMaximumUnlockedBytes / 2) return false;
            m_unlockedBytes = bytes;
            m_outstanding.emplace(id, item);
        }
        if (send(LocksToClear{id, item})) return true;
        const std::lock_guard lock(m_mutex);
        m_outstanding.erase(id);  // it keeps its attributes
        return false;
    }
    /// Takes these for items that are without their attributes.
    void takeOver(UnlockedItems items) {
        const std::lock_guard lock(m_mutex);
        for (const auto& [id, item] : items)
            m_unlockedBytes += memoryOf(item);
        m_outstanding.merge(items);
    }
    void didSettle(std::uint64_t id) override {
        const std::lock_guard lock(m_mutex);
        const auto found = m_outstanding.find(id);
        if (found == m_outstanding.end()) return;  // put back by two threads
        m_settledBytes += memoryOf(found->second);
        m_outstanding.erase(found);
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
    /// Puts the attributes back of all items that are without them, until the threads have ended.
    /// What cannot be put back is told.
    std::vector<std::jthread> putBack() {
        std::vector<std::jthread> threads;
        const auto last = std::make_shared<std::uint64_t>(0);
        std::unique_lock lock(m_mutex);
        const std::size_t count = std::min(m_outstanding.size(), kPutBackThreads);
        m_restoring += count;
        lock.unlock();
        const auto work = [this, last] { putBackAfter(*last); };
        try {
            while (threads.size() < count)
                threads.emplace_back(work);
        } catch (const std::system_error&) {
            // The memory may be short. At least this thread is there.
            for (std::size_t missing = threads.size(); missing < count; ++missing)
                work();
        }
        return threads;
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
        if (isFirst || m_bytes >= kWorthTelling) m_hasNews.notify_all();
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
            const std::size_t settledBytes = std::exchange(m_settledBytes, 0);
            m_bytes = 0;
            m_hasRoom.notify_all();
            lock.unlock();
            send(erased);
            send(settled);
            lock.lock();
            m_unlockedBytes -= settledBytes;  // the service has forgotten them, too
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
        // What shuts this side alone down is no such event.
        if ((wanted[0].revents & POLLHUP) != 0) endAlone();
    }

    /// `last` is the item that was taken last, by any of these threads.
    void putBackAfter(std::uint64_t& last) {
        LockRestorer restorer;
        std::unique_lock lock(m_mutex);
        for (;;) {
            const auto next = m_outstanding.upper_bound(last);
            if (next == m_outstanding.end()) break;
            const auto [id, item] = *next;
            last = id;
            lock.unlock();
            if (const auto error = restorer.putBack(item)) {
                send(LocksLost{id, error->systemError});
            } else {
                didSettle(id);
            }
            lock.lock();
        }
        --m_restoring;
        m_hasNews.notify_all();
    }

    /// Whatever the command does: nobody is left who would put back what it has not. Thread: the
    /// listener.
    void endAlone() {
        std::unique_lock lock(m_mutex);
        m_hasNews.wait_for(lock, kAloneCommandPatience, [this] { return m_isOver; });
        lock.unlock();
        const auto threads = putBack();
        lock.lock();
        m_hasNews.wait_for(lock, kAlonePutBackPatience, [this] { return m_restoring == 0; });
        std::size_t logged = 0;
        for (const auto& [id, item] : m_outstanding) {
            if (logged++ == kMaximumLogged) break;
            qCWarning(lcHelper, "%s could not be locked again",
                      percentEncode(item.path, true).c_str());
        }
        if (logged > 0) {
            qCWarning(lcHelper, "%zu items could not be locked again", m_outstanding.size());
        }
        lock.unlock();  // before the threads are waited for
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
    UnlockedItems m_outstanding;      ///< without their attributes, as far as this process knows
    std::size_t m_unlockedBytes = 0;  ///< of these, and of those not yet told to be settled
    std::size_t m_settledBytes = 0;   ///< of those in m_settled
    std::size_t m_restoring = 0;      ///< how many threads put back
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
    auto items = list ? fromPutBackList(*list) : Result<UnlockedItems>(list.error());
    if (!items) return false;
    // Stop does not count: what was changed is to be put back in any case.
    service.takeOver(std::move(*items));
    service.putBack().clear();
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
