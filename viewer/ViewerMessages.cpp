// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cerrno>
#include <type_traits>
#include <utility>

#include "platform/items/HostErrors.h"
#include "platform/processes/PacketSocket.h"
#include "viewer/ViewerProtocol.h"

namespace kestrin {
namespace {

// Both sides are built together and run on one machine: packets are plain structures without
// padding.
constexpr std::uint32_t kGreetingMark = 0x3147'564b;  // each kind of message begins with its own
constexpr std::uint32_t kRequestMark = 0x3152'564b;
constexpr std::uint32_t kAnswerMark = 0x3141'564b;

constexpr std::uint32_t kCallFilterBit = 1, kFileRulesBit = 2, kMemoryLimitBit = 4;

struct GreetingPacket {
    std::uint32_t mark = kGreetingMark;
    std::uint32_t version = 0;
    std::uint32_t protections = 0;
};

struct RequestPacket {
    std::uint32_t mark = kRequestMark;
    std::uint32_t purpose = 0;
    std::uint64_t number = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t page = 0;
    std::uint32_t typeLength = 0;
    std::array<char, 128> type{};
};

struct AnswerPacket {
    std::uint32_t mark = kAnswerMark;
    std::uint32_t isLast = 0;  // or 1
    std::uint64_t number = 0;
};

HostError failure(int systemError) {
    return errorFromErrno(systemError, HostAccess::Read);
}

/// `file` -1: none goes along.
template <class Packet>
MaybeError send(int socket, Packet packet, int file) {
    static_assert(std::has_unique_object_representations_v<Packet>);
    return sendPacket(socket, {reinterpret_cast<const char*>(&packet), sizeof packet},
                      {&file, file >= 0 ? 1U : 0U});
}

template <class Packet>
struct Received {
    Packet packet;
    UniqueFd file;
};

template <class Packet>
Result<Received<Packet>> receive(int socket, std::size_t descriptors) {
    Received<Packet> received;
    const std::uint32_t mark = received.packet.mark;
    auto packet =
        receivePacket(socket, {reinterpret_cast<char*>(&received.packet), sizeof received.packet});
    if (!packet) return packet.error();
    if (packet->size != sizeof(Packet) || received.packet.mark != mark ||
        packet->descriptors.size() != descriptors) {
        return failure(EPROTO);
    }
    if (descriptors > 0) received.file = std::move(packet->descriptors.front());
    return received;
}

bool isWithinBounds(const RequestPacket& packet) {
    const auto isSide = [](std::uint32_t side) { return side >= 1 && side <= kLargestPreviewSide; };
    return packet.purpose <= static_cast<std::uint32_t>(DecodePurpose::CachedThumbnail) &&
           isSide(packet.width) && isSide(packet.height) &&
           packet.typeLength < packet.type.size() &&
           std::find(packet.type.begin(), packet.type.begin() + packet.typeLength, '\0') ==
               packet.type.begin() + packet.typeLength;
}

}  // namespace

MaybeError sendGreeting(int socket, const ViewerGreeting& greeting) {
    const ViewerProtections& holds = greeting.protections;
    return send(socket,
                GreetingPacket{.version = greeting.version,
                               .protections = (holds.callFilter ? kCallFilterBit : 0) |
                                              (holds.fileRules ? kFileRulesBit : 0) |
                                              (holds.memoryLimit ? kMemoryLimitBit : 0)},
                -1);
}

Result<ViewerGreeting> receiveGreeting(int socket) {
    const auto received = receive<GreetingPacket>(socket, 0);
    if (!received) return received.error();
    const std::uint32_t holds = received->packet.protections;
    return ViewerGreeting{received->packet.version,
                          {.callFilter = (holds & kCallFilterBit) != 0,
                           .fileRules = (holds & kFileRulesBit) != 0,
                           .memoryLimit = (holds & kMemoryLimitBit) != 0}};
}

MaybeError sendRequest(int socket, const DecodeRequest& request, int file) {
    RequestPacket packet{.purpose = static_cast<std::uint32_t>(request.purpose),
                         .number = request.number,
                         .width = request.width,
                         .height = request.height,
                         .page = request.page,
                         .typeLength = static_cast<std::uint32_t>(
                             std::min(request.type.size(), packet.type.size()))};
    std::copy_n(request.type.begin(), packet.typeLength, packet.type.begin());
    if (file < 0 || !isWithinBounds(packet)) return errorFromErrno(EINVAL, HostAccess::Write);
    return send(socket, packet, file);
}

Result<ReceivedRequest> receiveRequest(int socket) {
    auto received = receive<RequestPacket>(socket, 1);
    if (!received) return received.error();
    const RequestPacket& packet = received->packet;
    if (!isWithinBounds(packet)) return failure(EPROTO);
    return ReceivedRequest{{.number = packet.number,
                            .purpose = static_cast<DecodePurpose>(packet.purpose),
                            .width = packet.width,
                            .height = packet.height,
                            .page = packet.page,
                            .type = std::string(packet.type.data(), packet.typeLength)},
                           std::move(received->file)};
}

MaybeError sendAnswer(int socket, std::uint64_t number, int preview, bool isLast) {
    if (preview < 0) return errorFromErrno(EINVAL, HostAccess::Write);
    return send(socket, AnswerPacket{.isLast = isLast, .number = number}, preview);
}

Result<DecodeAnswer> receiveAnswer(int socket) {
    auto received = receive<AnswerPacket>(socket, 1);
    if (!received) return received.error();
    if (received->packet.isLast > 1) return failure(EPROTO);
    return DecodeAnswer{received->packet.number, std::move(received->file),
                        received->packet.isLast == 1};
}

}  // namespace kestrin
