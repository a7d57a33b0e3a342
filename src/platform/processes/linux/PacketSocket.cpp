// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/PacketSocket.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/items/HostErrors.h"

namespace kestrin {
namespace {

constexpr std::size_t kControlBytes = CMSG_SPACE(kMaximumPacketDescriptors * sizeof(int));

HostError failure(int systemError) {
    return errorFromErrno(systemError, HostAccess::Read);
}

/// Takes every descriptor that came along, so that none stays open unowned.
std::vector<UniqueFd> takeDescriptors(msghdr& message) {
    std::vector<UniqueFd> files;
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) continue;
        const std::size_t count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t index = 0; index < count; ++index) {
            int file = -1;
            std::memcpy(&file, CMSG_DATA(header) + index * sizeof(int), sizeof file);
            files.emplace_back(file);
        }
    }
    return files;
}

void addDescriptors(msghdr& message, std::span<const int> descriptors, char* control) {
    if (descriptors.empty()) return;
    message.msg_control = control;
    message.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(descriptors.size_bytes());
    std::memcpy(CMSG_DATA(header), descriptors.data(), descriptors.size_bytes());
}

}  // namespace

Result<PacketSockets> packetSockets() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return failure(errno);
    return PacketSockets{UniqueFd(ends[0]), UniqueFd(ends[1])};
}

MaybeError sendPacket(int socket, std::string_view bytes, std::span<const int> descriptors) {
    iovec part{const_cast<char*>(bytes.data()), bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) char control[kControlBytes]{};
    addDescriptors(message, descriptors, control);
    ssize_t length = 0;
    do {
        length = ::sendmsg(socket, &message, MSG_NOSIGNAL);
    } while (length < 0 && errno == EINTR);
    if (length < 0) return errorFromErrno(errno, HostAccess::Write);
    return std::nullopt;
}

Result<ReceivedPacket> receivePacket(int socket, std::span<char> room) {
    iovec part{room.data(), room.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) char control[kControlBytes]{};
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    ssize_t length = 0;
    do {
        length = ::recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
        // ECONNRESET only says, once, that the other side has gone without reading everything. What
        // it sent before is still to come.
    } while (length < 0 && (errno == EINTR || errno == ECONNRESET));
    if (length < 0) return failure(errno);
    ReceivedPacket packet{static_cast<std::size_t>(length), takeDescriptors(message)};
    if (length == 0 && packet.descriptors.empty()) return failure(ECONNRESET);
    if ((message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0) return failure(EPROTO);
    return packet;
}

}  // namespace kestrin
