// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/LivingBus.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>

#include "platform/items/UniqueFd.h"

namespace kestrin {
namespace {

using Clock = std::chrono::steady_clock;

struct SocketAddress {
    sockaddr_un address{};
    socklen_t length = 0;
};

/// The value of `key` in a bus address such as "unix:path=/run/bus,guid=12".
std::optional<std::string_view> addressValue(std::string_view address, std::string_view key) {
    constexpr std::string_view kUnix = "unix:";
    if (!address.starts_with(kUnix)) return std::nullopt;
    address.remove_prefix(kUnix.size());
    while (!address.empty()) {
        const std::string_view pair = address.substr(0, address.find(','));
        address.remove_prefix(std::min(address.size(), pair.size() + 1));
        if (pair.starts_with(key) && pair.substr(key.size()).starts_with('=')) {
            return pair.substr(key.size() + 1);
        }
    }
    return std::nullopt;
}

/// None for what only the bus library understands: several addresses, escapes, other transports.
std::optional<SocketAddress> socketAddress(std::string_view address) {
    if (address.find_first_of(";%") != std::string_view::npos) return std::nullopt;
    const auto path = addressValue(address, "path");
    const auto abstractName = path ? std::nullopt : addressValue(address, "abstract");
    if (!path && !abstractName) return std::nullopt;
    const std::string name = path ? std::string(*path) : std::string(1, '\0').append(*abstractName);
    SocketAddress result;
    if (name.size() >= sizeof result.address.sun_path) return std::nullopt;
    result.address.sun_family = AF_UNIX;
    std::memcpy(result.address.sun_path, name.data(), name.size());
    result.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    return result;
}

/// The first line of the protocol: who is calling, in hexadecimal digits of decimal ones.
std::string greeting() {
    std::string line(1, '\0');
    line += "AUTH EXTERNAL ";
    for (const char digit : std::to_string(::geteuid()))
        (line += '3') += digit;
    return line += "\r\n";
}

bool becomesReady(int descriptor, short events, Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd wanted{descriptor, events, 0};
    const int ready = ::poll(&wanted, 1, static_cast<int>(std::max<long long>(0, left.count())));
    if (ready < 0 && errno == EINTR) return becomesReady(descriptor, events, deadline);
    return ready > 0;
}

/// Any answer will do: a refusal comes from a bus that lives, too.
bool answers(const SocketAddress& bus, std::chrono::milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    const UniqueFd descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (::connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&bus.address), bus.length) !=
        0) {
        return false;
    }
    const std::string line = greeting();
    if (::send(descriptor.get(), line.data(), line.size(), MSG_NOSIGNAL) < 0) return false;
    char answer = 0;
    return becomesReady(descriptor.get(), POLLIN, deadline) &&
           ::recv(descriptor.get(), &answer, 1, 0) == 1;
}

}  // namespace

bool busAnswers(std::string_view address, std::chrono::milliseconds timeout) {
    const auto bus = socketAddress(address);
    return !bus || answers(*bus, timeout);
}

}  // namespace kestrin
