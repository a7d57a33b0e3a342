// SPDX-License-Identifier: GPL-3.0-or-later
// Packets with descriptors between two processes (AF_UNIX, SOCK_SEQPACKET). Neither believes what
// the other sends.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "base/Result.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// The two ends of a new socket, which wait and are closed on exec.
struct PacketSockets {
    UniqueFd one;
    UniqueFd other;
};
/// Errors: those of socketpair(2), by errorFromErrno.
Result<PacketSockets> packetSockets();

/// The most descriptors that go with one packet.
inline constexpr std::size_t kMaximumPacketDescriptors = 4;

struct ReceivedPacket {
    std::size_t size = 0;  ///< bytes
    std::vector<UniqueFd> descriptors;
};

// Each of these sends or takes one packet; whether it waits is as the socket is set. A descriptor
// that is sent stays the sender's own, one that comes is closed when its owner goes, and on exec.
// Thread: any, one at a time a socket and direction.

/// Requires: at most kMaximumPacketDescriptors descriptors. Errors: those of sendmsg(2), such as
/// EPIPE when the other side has gone, EAGAIN when there is no room and the socket does not wait.
MaybeError sendPacket(int socket, std::string_view bytes, std::span<const int> descriptors = {});

/// Fills `room` with the next packet. Errors: EAGAIN when nothing is there and the socket does not
/// wait; ECONNRESET when the other side has gone; EPROTO for a packet longer than `room` or with
/// too many descriptors, which are closed.
Result<ReceivedPacket> receivePacket(int socket, std::span<char> room);

}  // namespace kestrin
