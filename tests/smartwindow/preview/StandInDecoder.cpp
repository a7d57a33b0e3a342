// SPDX-License-Identifier: GPL-3.0-or-later
// A decoder without a sandbox that does what the file it was handed says, which may be anything
// that one does whom a file has taken over. The first word is what it does, the rest is the
// preview, a text. The title of the preview is the decoder's process id.
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "platform/items/SealedFile.h"
#include "viewer/ViewerProtocol.h"

using namespace kestrin;
using namespace std::chrono_literals;

namespace {

constexpr int kSocket = STDIN_FILENO;

void sendTwoDescriptors(int file) {
    struct {
        std::uint32_t mark = 0x3141'564b;
        std::uint32_t isLast = 0;
        std::uint64_t number = 1;
    } packet;
    iovec part{&packet, sizeof packet};
    alignas(cmsghdr) char control[CMSG_SPACE(2 * sizeof(int))]{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(2 * sizeof(int));
    const std::array<int, 2> files{file, file};
    std::memcpy(CMSG_DATA(header), files.data(), sizeof files);
    ::sendmsg(kSocket, &message, MSG_NOSIGNAL);
}

void answer(const std::string& deed, const ReceivedRequest& received, const std::string& text) {
    Preview preview{.kind = PreviewKind::Text};
    preview.text = text;
    preview.facts.title = std::to_string(::getpid());
    preview.facts.page = static_cast<std::uint32_t>(received.request.purpose);
    if (deed == "large") {
        preview.kind = PreviewKind::Image;
        preview.frames.emplace_back(int(received.request.width) + 1, 1,
                                    QImage::Format_ARGB32_Premultiplied);
        preview.frames.back().fill(0);
    }
    UniqueFd file = std::move(*writePreview(preview));
    const std::string bytes = *readSealedFile(file.get(), kLargestPreviewBytes);
    std::uint64_t number = received.request.number;
    if (deed == "short") file = std::move(*sealedFile(bytes.substr(0, bytes.size() - 1)));
    if (deed == "long") file = std::move(*sealedFile(bytes + "x"));
    if (deed == "lie") --number;
    if (deed == "unsealed") {
        file.reset(::memfd_create("unsealed", MFD_CLOEXEC));
        ::write(file.get(), bytes.data(), bytes.size());
    }
    if (deed == "two") return sendTwoDescriptors(file.get());
    if (deed == "half") {
        ::send(kSocket, &number, sizeof number, MSG_NOSIGNAL);
        std::_Exit(1);
    }
    sendAnswer(kSocket, number, file.get(), deed == "worn");
    if (deed == "worn") std::this_thread::sleep_for(1h);
    if (deed == "twice") sendAnswer(kSocket, number, file.get());
    if (deed == "last") std::_Exit(1);
}

}  // namespace

int main() {
    const char* variable = std::getenv("STAND_IN");
    const std::string start = variable ? variable : "";
    if (start == "dies") return 1;
    if (start == "silent") std::this_thread::sleep_for(1h);
    sendGreeting(kSocket, {start == "old" ? 0 : kViewerProtocolVersion, {}});
    while (const auto received = receiveRequest(kSocket)) {
        std::array<char, 4096> buffer{};
        ::pread(received->file.get(), buffer.data(), buffer.size() - 1, 0);
        const std::string content(buffer.data());
        const std::string deed = content.substr(0, content.find(' '));
        if (deed == "dies") return 1;
        if (deed == "hangs") std::this_thread::sleep_for(1h);
        if (deed == "slow") std::this_thread::sleep_for(50ms);
        answer(deed, *received, content.substr(std::min(content.size(), deed.size() + 1)));
    }
    return 0;
}
