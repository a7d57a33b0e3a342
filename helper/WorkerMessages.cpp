// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include "helper/HelperProtocol.h"
#include "helper/PacketBytes.h"
#include "helper/WorkerProtocol.h"
#include "platform/items/HostErrors.h"
#include "platform/processes/PacketSocket.h"

namespace kestrin {
namespace {

/// What a packet begins with. `PathBegin` holds kPathPiece bytes of the path of the next entry.
enum class Mark : std::uint32_t {
    Accepted = 0x3141'574b,
    Refused,
    PathBegin,
    Erased,
    ToClear,
    Settled,
    Unlocked,
    Lost,
    Finished,
};

constexpr std::size_t kPacket = std::size_t{64} << 10;
constexpr std::size_t kPathPiece = std::size_t{32} << 10;
constexpr std::size_t kEntryBytes = sizeof(std::uint64_t) + sizeof(std::uint32_t);
constexpr std::size_t kLongestReason = 1000;
constexpr std::size_t kMaximumIds = kPacket / sizeof(std::uint64_t) - 1;
/// A path in the list of an unlock command takes 8 bytes at least.
constexpr std::size_t kMaximumUnlockPaths = kMaximumInlineList / 8;

bool isPrintable(char character) {
    return character >= ' ' && character <= '~';
}

PacketWriter packetOf(Mark mark) {
    PacketWriter packet;
    packet.put(mark);
    return packet;
}

MaybeError send(int service, const PacketWriter& packet) {
    return sendPacket(service, packet.bytes());
}

MaybeError sendIt(int service, const CommandAccepted& message) {
    PacketWriter packet = packetOf(Mark::Accepted);
    packet.put(message.itemCount);
    packet.put(message.erasedCount);
    packet.put(message.erasedSize);
    return send(service, packet);
}

MaybeError sendIt(int service, const CommandRefused& message) {
    PacketWriter packet = packetOf(Mark::Refused);
    std::string why = message.why.substr(0, kLongestReason);
    std::ranges::replace_if(
        why, [](char character) { return !isPrintable(character); }, '?');
    packet.putText(why);
    return send(service, packet);
}

/// Sends the beginning of a long path, and takes it off.
MaybeError sendBegin(int service, std::string_view& path) {
    while (path.size() > kPathPiece) {
        const std::string_view piece = path.substr(0, kPathPiece);
        PacketWriter packet = packetOf(Mark::PathBegin);
        packet.putText(piece);
        if (auto error = send(service, packet)) return error;
        path.remove_prefix(kPathPiece);
    }
    return std::nullopt;
}

MaybeError sendIt(int service, const EntriesErased& message) {
    PacketWriter packet = packetOf(Mark::Erased);
    const std::size_t empty = packet.bytes().size();
    for (const auto& entry : message.entries) {
        std::string_view path = std::string_view(entry.path).substr(0, kLongestToldPath);
        if (packet.bytes().size() + kEntryBytes + path.size() > kPacket) {
            if (packet.bytes().size() > empty) {
                if (auto error = send(service, packet)) return error;
            }
            packet = packetOf(Mark::Erased);
            if (auto error = sendBegin(service, path)) return error;
        }
        packet.put(entry.size);
        packet.putText(path);
    }
    return packet.bytes().size() > empty ? send(service, packet) : std::nullopt;
}

MaybeError sendIt(int service, const LocksToClear& message) {
    PacketWriter packet = packetOf(Mark::ToClear);
    packet.putItem(message.id, message.item);
    return send(service, packet);
}

MaybeError sendIt(int service, const LocksSettled& message) {
    for (std::size_t first = 0; first < message.ids.size(); first += kMaximumIds) {
        PacketWriter packet = packetOf(Mark::Settled);
        const std::size_t end = std::min(first + kMaximumIds, message.ids.size());
        for (std::size_t index = first; index < end; ++index)
            packet.put(message.ids[index]);
        if (auto error = send(service, packet)) return error;
    }
    return std::nullopt;
}

MaybeError sendIt(int service, const ItemsUnlocked& message) {
    PacketWriter packet = packetOf(Mark::Unlocked);
    packet.put(static_cast<std::uint32_t>(message.isUnlocked.size()));
    for (std::size_t first = 0; first < message.isUnlocked.size(); first += 8) {
        std::uint8_t bits = 0;
        for (std::size_t bit = 0; bit < 8 && first + bit < message.isUnlocked.size(); ++bit)
            bits = static_cast<std::uint8_t>(bits | message.isUnlocked[first + bit] << bit);
        packet.put(bits);
    }
    return send(service, packet);
}

MaybeError sendIt(int service, const LocksLost& message) {
    PacketWriter packet = packetOf(Mark::Lost);
    packet.put(message.id);
    packet.put(message.systemError);
    return send(service, packet);
}

MaybeError sendIt(int service, const CommandFinished& message) {
    PacketWriter packet = packetOf(Mark::Finished);
    packet.put(message.nonErasedCount);
    packet.put(message.failures);
    return send(service, packet);
}

// Each of these is false when the rest of the packet is no such message.

bool read(PacketReader& packet, CommandAccepted& message) {
    return packet.take(message.itemCount) && packet.take(message.erasedCount) &&
           packet.take(message.erasedSize);
}

bool read(PacketReader& packet, CommandRefused& message) {
    return packet.takeText(message.why, kLongestReason) &&
           std::ranges::all_of(message.why, isPrintable);
}

bool read(PacketReader& packet, EntriesErased& message) {
    do {
        auto& entry = message.entries.emplace_back();
        if (!packet.take(entry.size) || !packet.takeText(entry.path, kPacket)) return false;
    } while (!packet.isAtEnd());
    return true;
}

bool read(PacketReader& packet, LocksToClear& message) {
    return packet.takeItem(message.id, message.item);
}

bool read(PacketReader& packet, LocksSettled& message) {
    do {
        if (!packet.take(message.ids.emplace_back())) return false;
    } while (!packet.isAtEnd());
    return true;
}

bool read(PacketReader& packet, ItemsUnlocked& message) {
    std::uint32_t count = 0;
    if (!packet.take(count) || count > kMaximumUnlockPaths) return false;
    std::uint8_t bits = 0;
    for (std::uint32_t index = 0; index < count; ++index) {
        if (index % 8 == 0 && !packet.take(bits)) return false;
        message.isUnlocked.push_back((bits >> index % 8 & 1) != 0);
    }
    return true;
}

bool read(PacketReader& packet, LocksLost& message) {
    return packet.take(message.id) && packet.take(message.systemError);
}

bool read(PacketReader& packet, CommandFinished& message) {
    return packet.take(message.nonErasedCount) && packet.take(message.failures);
}

template <class Message>
bool readAs(PacketReader& packet, WorkerMessage& message) {
    return read(packet, message.emplace<Message>()) && packet.isAtEnd();
}

bool readMessage(Mark mark, PacketReader& packet, WorkerMessage& message) {
    switch (mark) {
        case Mark::Accepted:
            return readAs<CommandAccepted>(packet, message);
        case Mark::Refused:
            return readAs<CommandRefused>(packet, message);
        case Mark::Erased:
            return readAs<EntriesErased>(packet, message);
        case Mark::ToClear:
            return readAs<LocksToClear>(packet, message);
        case Mark::Settled:
            return readAs<LocksSettled>(packet, message);
        case Mark::Unlocked:
            return readAs<ItemsUnlocked>(packet, message);
        case Mark::Lost:
            return readAs<LocksLost>(packet, message);
        case Mark::Finished:
            return readAs<CommandFinished>(packet, message);
        case Mark::PathBegin:
            break;
    }
    return false;
}

}  // namespace

MaybeError sendMessage(int service, const WorkerMessage& message) {
    return std::visit([service](const auto& one) { return sendIt(service, one); }, message);
}

WorkerMessages::WorkerMessages(WorkerKind kind, UniqueFd socket, UnlockedItems unlocked)
    : m_kind(kind),
      m_socket(std::move(socket)),
      m_outstanding(std::move(unlocked)),
      m_packet(kPacket) {
    for (const auto& [id, item] : m_outstanding)
        m_outstandingBytes += memoryOf(item);
}

Result<WorkerMessage> WorkerMessages::receive() {
    for (;;) {
        const auto received = receivePacket(m_socket.get(), m_packet);
        if (!received && received.error().systemError != EPROTO) return received.error();
        PacketReader packet({m_packet.data(), received ? received->size : 0});
        Mark mark{};
        const bool isFine = received && received->descriptors.empty() && packet.take(mark);
        if (isFine && m_isBelieved && mark == Mark::PathBegin && takePathBegin(packet)) continue;
        WorkerMessage message;
        if (isFine && readMessage(mark, packet, message) && isNext(message)) return message;
        m_isBelieved = false;
        return errorFromErrno(EPROTO, HostAccess::Read);
    }
}

/// Takes the message down. What is about to be unlocked is taken down also when nothing else of
/// this worker is believed, since nobody else would know of it.
bool WorkerMessages::isNext(WorkerMessage& message) {
    const bool isEntry = std::holds_alternative<EntriesErased>(message);
    const bool isExpected = m_isBelieved && !m_hasFinished && (isEntry || m_pathBegin.empty());
    if (!isExpected && !std::holds_alternative<LocksToClear>(message)) return false;
    return std::visit([this](auto& one) { return note(one); }, message) && isExpected;
}

bool WorkerMessages::takePathBegin(PacketReader& packet) {
    std::string piece;
    // Always a whole piece, so that few packets fill the path.
    if (!packet.takeText(piece, kPathPiece) || piece.size() != kPathPiece || !packet.isAtEnd() ||
        m_pathBegin.size() + piece.size() > kLongestToldPath) {
        return false;
    }
    m_pathBegin += piece;
    return true;
}

bool WorkerMessages::note(CommandAccepted&) {
    return m_kind == WorkerKind::Erase && !std::exchange(m_hasBegun, true);
}

bool WorkerMessages::note(CommandRefused&) {
    m_hasFinished = true;
    return m_kind == WorkerKind::Erase && !m_hasBegun;
}

bool WorkerMessages::note(EntriesErased& message) {
    std::string& first = message.entries.front().path;
    if (!m_pathBegin.empty()) first.insert(0, std::exchange(m_pathBegin, {}));
    const auto hasPath = [](const auto& entry) { return !entry.path.empty(); };
    return m_kind == WorkerKind::Erase && m_hasBegun && first.size() <= kLongestToldPath &&
           std::ranges::all_of(message.entries, hasPath);
}

bool WorkerMessages::note(LocksToClear& message) {
    const std::size_t bytes = m_outstandingBytes + memoryOf(message.item);
    if (m_kind == WorkerKind::PutBack || bytes > kMaximumUnlockedBytes) return false;
    if (!m_outstanding.emplace(message.id, message.item).second) return false;
    m_outstandingBytes = bytes;
    return m_hasBegun || m_kind == WorkerKind::Unlock;
}

bool WorkerMessages::note(LocksSettled& message) {
    return std::ranges::all_of(message.ids, [this](std::uint64_t id) {
        const auto found = m_outstanding.find(id);
        if (found == m_outstanding.end()) return false;
        m_outstandingBytes -= memoryOf(found->second);
        m_outstanding.erase(found);
        return true;
    });
}

bool WorkerMessages::note(ItemsUnlocked&) {
    return m_kind == WorkerKind::Unlock && !std::exchange(m_hasBegun, true);
}

bool WorkerMessages::note(LocksLost&) {
    return m_kind == WorkerKind::PutBack;
}

bool WorkerMessages::note(CommandFinished&) {
    m_hasFinished = true;
    return m_hasBegun || m_kind == WorkerKind::PutBack;
}

}  // namespace kestrin
