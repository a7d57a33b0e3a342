// SPDX-License-Identifier: GPL-3.0-or-later
// What the helper's three kinds of process say to each other over sockets of sequenced packets. The
// service asks the parent for workers; a worker tells the service what it does. All of them are one
// program, so that packets are plain structures. None believes what it is told: a user's list may
// have taken a worker over, and what comes from the bus the service.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/Result.h"
#include "platform/items/LockAttributes.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

class PacketReader;

/// The most workers that may exist at once, those included that even the kernel cannot end.
inline constexpr std::size_t kMaximumWorkers = 64;
/// The most bytes of a path that is told. Folders can be nested so deep that the whole would take
/// hundreds of megabytes.
inline constexpr std::size_t kLongestToldPath = std::size_t{4} << 20;
/// The most memory, more or less, that the service takes for the items that a worker unlocked. A
/// worker itself goes as far as the half, so that whatever it tells is kept.
inline constexpr std::size_t kMaximumUnlockedBytes = std::size_t{32} << 20;

/// What a worker does with its list, which is a memory file sealed against every change.
enum class WorkerKind : std::uint32_t {
    Erase,    ///< the list of an erase command, as the program made it; see EraseItems
    Unlock,   ///< see unlockList
    PutBack,  ///< see putBackList
};

// ---- From the service to the parent ----

struct StartWorker {
    std::uint64_t number = 0;  ///< higher than any before
    std::uint32_t user = 0;    ///< whose trashes these are
    WorkerKind kind{};
};
struct KillWorker {
    std::uint64_t number = 0;  ///< of a worker that was started; it may have ended
};
struct StartRequest {
    StartWorker start;
    UniqueFd list;
    UniqueFd socket;  ///< the worker's end
};
using ParentRequest = std::variant<StartRequest, KillWorker>;

/// `list` and `socket` stay the caller's own. A worker that cannot be started closes its socket.
/// Errors: of sendPacket.
MaybeError sendStartWorker(int parent, const StartWorker& start, int list, int socket);
/// Has the kernel end a worker. Errors: of sendPacket.
MaybeError sendKillWorker(int parent, std::uint64_t number);
/// Takes one request. Errors: of receivePacket; EPROTO for anything that is none.
Result<ParentRequest> receiveParentRequest(int service);

// ---- From the service to a worker ----

/// The two ends of a worker's socket. The service's own never waits, the worker's does: when the
/// service reads no further, the worker waits before it goes on. Errors: of packetSockets.
struct WorkerSockets {
    UniqueFd service;
    UniqueFd worker;
};
Result<WorkerSockets> workerSockets();

/// Ends the worker's command at its next entry. So does the end of the service's socket. From then
/// on the service is to read what comes, since a worker that waits cannot end. Errors: of
/// sendPacket.
MaybeError sendStop(int worker);

/// The list of an Unlock worker: percent-encoded paths as the caller gave them. Texts with a NUL
/// end there.
std::string unlockList(const std::vector<std::string>& texts);
/// What unlockList was made of. Thread: any.
std::vector<std::string> fromUnlockList(std::string_view list);

/// Items without their attributes, by the ids under which they were told.
using UnlockedItems = std::map<std::uint64_t, UnlockedItem>;
/// How much memory an item takes, more or less, in bytes.
std::size_t memoryOf(const UnlockedItem& item);
/// The list of a PutBack worker.
std::string putBackList(const UnlockedItems& items);
/// Errors: EPROTO for anything that putBackList does not make. Thread: any.
Result<UnlockedItems> fromPutBackList(std::string_view list);

// ---- From a worker to the service ----

/// The list was read, and what it asks for begins. Told by an Erase worker, first.
struct CommandAccepted {
    std::uint64_t itemCount = 0;    ///< as the list has them, in "unlockItems", "permissionsItems"
    std::uint64_t erasedCount = 0;  ///< those of the list
    std::uint64_t erasedSize = 0;
};
/// The list is none. Told by an Erase worker, first and last.
struct CommandRefused {
    std::string why;  ///< printable ASCII, at most 1,000 bytes
};
/// Entries that went, in their order.
struct EntriesErased {
    struct Entry {
        std::string path;  ///< bytes without NUL; one longer than kLongestToldPath loses its end
        std::uint64_t size = 0;
    };
    std::vector<Entry> entries;
};
/// Sent before the attributes of an item are cleared.
struct LocksToClear {
    std::uint64_t id = 0;
    UnlockedItem item;
};
/// The attributes of these are back, or are no longer wanted. Told by a PutBack worker as well.
struct LocksSettled {
    std::vector<std::uint64_t> ids;
};
/// Told by an Unlock worker: for each path of its list whether the item is without its attributes
/// now.
struct ItemsUnlocked {
    std::vector<bool> isUnlocked;
};
/// Told by a PutBack worker: the item could not get its attributes back.
struct LocksLost {
    std::uint64_t id = 0;
    int systemError = 0;
};
/// The command is over. Told last, by every worker whose list was no refused one.
struct CommandFinished {
    std::uint64_t nonErasedCount = 0;  ///< as EraseOutcome
    std::uint64_t failures = 0;        ///< as EraseOutcome
};
using WorkerMessage = std::variant<CommandAccepted, CommandRefused, EntriesErased, LocksToClear,
                                   LocksSettled, ItemsUnlocked, LocksLost, CommandFinished>;

/// Sends the message, in several packets where it is long. Thread: any, one at a time a socket.
/// Errors: of sendPacket.
MaybeError sendMessage(int service, const WorkerMessage& message);

/// Takes what one worker tells, and knows which items are without their attributes because of it.
/// Thread: any, one at a time.
class WorkerMessages {
 public:
    /// `unlocked` is what a PutBack worker is to put back; nothing for the others.
    WorkerMessages(WorkerKind kind, UniqueFd socket, UnlockedItems unlocked = {});

    int socket() const { return m_socket.get(); }

    /// The next message that is whole. Errors: EAGAIN when there is none yet; ECONNRESET when the
    /// worker has gone; EPROTO for anything that such a worker does not tell at this point, such as
    /// a list of something else, a path that is too long, an id that is not known, or more after
    /// the end. From then on all that comes is EPROTO, and of it only what the worker is about to
    /// unlock is taken down. After ECONNRESET nothing more is to be read.
    Result<WorkerMessage> receive();

    /// Whether the worker told its end: CommandFinished or CommandRefused.
    bool hasFinished() const { return m_hasFinished; }
    /// The items whose attributes the worker may have cleared and not put back, or of a PutBack
    /// worker those that it has not put back, as far as it told. Once it has gone these are to be
    /// put back.
    const UnlockedItems& outstanding() const { return m_outstanding; }

 private:
    // Each of these takes down what is told; false when such a worker does not tell it now.
    bool note(CommandAccepted& message);
    bool note(CommandRefused& message);
    bool note(EntriesErased& message);
    bool note(LocksToClear& message);
    bool note(LocksSettled& message);
    bool note(ItemsUnlocked& message);
    bool note(LocksLost& message);
    bool note(CommandFinished& message);
    bool takePathBegin(PacketReader& packet);
    bool isNext(WorkerMessage& message);

    const WorkerKind m_kind;
    const UniqueFd m_socket;
    bool m_hasBegun = false;
    bool m_hasFinished = false;
    bool m_isBelieved = true;
    std::string m_pathBegin;  ///< of the next entry erased, whose path takes several packets
    UnlockedItems m_outstanding;
    std::size_t m_outstandingBytes = 0;
    std::vector<char> m_packet;
};

}  // namespace kestrin
