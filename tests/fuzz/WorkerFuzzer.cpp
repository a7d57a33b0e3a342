// SPDX-License-Identifier: GPL-3.0-or-later
// What the helper's processes tell each other: a worker that was taken over to the service, the
// service to the parent, and the lists that workers get. The first byte says who hears the packets
// that follow, each behind two bytes of its length.
#include <cerrno>
#include <string_view>
#include <utility>
#include <vector>

#include "Require.h"
#include "helper/WorkerProtocol.h"
#include "platform/processes/PacketSocket.h"

using namespace kestrin;

namespace {

std::string_view takePacket(std::string_view& input) {
    if (input.size() < 2) return std::exchange(input, {});
    const std::size_t length = static_cast<unsigned char>(input[0]) |
                               std::size_t{static_cast<unsigned char>(input[1])} << 8;
    const std::string_view packet = input.substr(2, length);
    input.remove_prefix(2 + packet.size());
    return packet;
}

/// Takes what there is; false when the worker is no longer believed, and so not heard.
bool hear(WorkerMessages& messages, std::vector<WorkerMessage>& heard, bool isBelieved = true) {
    for (;;) {
        auto message = messages.receive();
        if (!message && message.error().systemError == EAGAIN) return isBelieved;
        if (!message) isBelieved = false;
        if (message) heard.push_back(std::move(*message));
        require(isBelieved || !message);
    }
}

/// What one worker may tell another may tell as well, and the same is left to be put back.
void checkAgain(WorkerKind kind, const std::vector<WorkerMessage>& heard,
                const UnlockedItems& outstanding) {
    auto sockets = workerSockets();
    require(sockets.hasValue());
    WorkerMessages again(kind, std::move(sockets->service));
    std::vector<WorkerMessage> heardAgain;
    for (const WorkerMessage& message : heard) {
        require(!sendMessage(sockets->worker.get(), message));
        require(hear(again, heardAgain));
    }
    const std::string list = putBackList(outstanding);
    require(list == putBackList(again.outstanding()));
    const auto items = fromPutBackList(list);
    require(items && putBackList(*items) == list);
}

void hearWorker(WorkerKind kind, std::string_view input) {
    auto sockets = workerSockets();
    require(sockets.hasValue());
    WorkerMessages messages(kind, std::move(sockets->service));
    std::vector<WorkerMessage> heard;
    bool isBelieved = true;
    while (!input.empty()) {
        const std::string_view packet = takePacket(input);
        if (packet.empty()) break;  // which is heard as the end of the worker
        require(!sendPacket(sockets->worker.get(), packet));
        isBelieved = hear(messages, heard, isBelieved);
    }
    if (isBelieved) checkAgain(kind, heard, messages.outstanding());
}

void hearService(std::string_view input) {
    const auto sockets = packetSockets();
    require(sockets.hasValue());
    while (!input.empty()) {
        const std::string_view packet = takePacket(input);
        const std::vector<int> descriptors(packet.size() % (kMaximumPacketDescriptors + 1), 0);
        require(!sendPacket(sockets->one.get(), packet, descriptors));
        const auto request = receiveParentRequest(sockets->other.get());
        const auto* const start = request ? std::get_if<StartRequest>(&*request) : nullptr;
        require(!start ||
                (start->list && start->socket && start->start.kind <= WorkerKind::PutBack));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0] % 5) {
        case 3:
            hearService(input);
            break;
        case 4: {
            const auto items = fromPutBackList(input);
            require(!items || fromPutBackList(putBackList(*items))->size() == items->size());
            require(fromUnlockList(unlockList(fromUnlockList(input))) == fromUnlockList(input));
            break;
        }
        default:
            hearWorker(static_cast<WorkerKind>(data[0] % 5), input);
    }
    return 0;
}
