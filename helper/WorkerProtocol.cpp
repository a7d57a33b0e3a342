// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/WorkerProtocol.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <type_traits>
#include <utility>

#include "helper/PacketBytes.h"
#include "platform/items/HostErrors.h"
#include "platform/processes/PacketSocket.h"

namespace kestrin {
namespace {

// Each kind of request begins with its own mark.
constexpr std::uint32_t kStartMark = 0x3153'574b;
constexpr std::uint32_t kKillMark = 0x314b'574b;
constexpr std::uint32_t kStopMark = 0x3154'574b;

/// Both requests to the parent: of KillWorker the number alone counts, the rest is 0.
struct RequestPacket {
    std::uint32_t mark = 0;
    std::uint32_t kind = 0;
    std::uint64_t number = 0;
    std::uint32_t user = 0;
    std::uint32_t reserved = 0;
};
static_assert(std::has_unique_object_representations_v<RequestPacket>);

HostError oddity() {
    return errorFromErrno(EPROTO, HostAccess::Read);
}

std::string_view bytesOf(const RequestPacket& packet) {
    return {reinterpret_cast<const char*>(&packet), sizeof packet};
}

}  // namespace

MaybeError sendStartWorker(int parent, const StartWorker& start, int list, int socket) {
    const RequestPacket packet{.mark = kStartMark,
                               .kind = static_cast<std::uint32_t>(start.kind),
                               .number = start.number,
                               .user = start.user};
    const std::array descriptors{list, socket};
    return sendPacket(parent, bytesOf(packet), descriptors);
}

MaybeError sendKillWorker(int parent, std::uint64_t number) {
    return sendPacket(parent, bytesOf({.mark = kKillMark, .number = number}));
}

Result<ParentRequest> receiveParentRequest(int service) {
    RequestPacket packet;
    auto received = receivePacket(service, {reinterpret_cast<char*>(&packet), sizeof packet});
    if (!received) return received.error();
    auto& descriptors = received->descriptors;
    if (received->size != sizeof packet || packet.reserved != 0) return oddity();
    if (packet.mark == kKillMark && descriptors.empty() && packet.kind == 0 && packet.user == 0) {
        return ParentRequest(KillWorker{packet.number});
    }
    if (packet.mark != kStartMark || descriptors.size() != 2 ||
        packet.kind > static_cast<std::uint32_t>(WorkerKind::PutBack)) {
        return oddity();
    }
    const StartWorker start{packet.number, packet.user, static_cast<WorkerKind>(packet.kind)};
    return ParentRequest(StartRequest{start, std::move(descriptors[0]), std::move(descriptors[1])});
}

Result<WorkerSockets> workerSockets() {
    auto ends = packetSockets();
    if (!ends) return ends.error();
    if (::fcntl(ends->one.get(), F_SETFL, O_NONBLOCK) != 0) {
        return errorFromErrno(errno, HostAccess::Read);
    }
    return WorkerSockets{std::move(ends->one), std::move(ends->other)};
}

MaybeError sendStop(int worker) {
    PacketWriter packet;
    packet.put(kStopMark);
    return sendPacket(worker, packet.bytes());
}

std::string unlockList(const std::vector<std::string>& texts) {
    std::string list;
    for (const std::string& text : texts)
        list.append(text.c_str()).push_back('\0');
    return list;
}

std::vector<std::string> fromUnlockList(std::string_view list) {
    std::vector<std::string> texts;
    while (!list.empty()) {
        texts.emplace_back(list.substr(0, list.find('\0')));
        list.remove_prefix(std::min(texts.back().size() + 1, list.size()));
    }
    return texts;
}

std::size_t memoryOf(const UnlockedItem& item) {
    return 200 + item.handle.bytes.size() + item.path.size();
}

std::string putBackList(const UnlockedItems& items) {
    PacketWriter list;
    for (const auto& [id, item] : items)
        list.putItem(id, item);
    return list.bytes();
}

Result<UnlockedItems> fromPutBackList(std::string_view list) {
    UnlockedItems items;
    for (PacketReader reader(list); !reader.isAtEnd();) {
        std::uint64_t id = 0;
        UnlockedItem item;
        if (!reader.takeItem(id, item) || !items.emplace(id, std::move(item)).second) {
            return oddity();
        }
    }
    return items;
}

}  // namespace kestrin
