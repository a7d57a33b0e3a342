// SPDX-License-Identifier: GPL-3.0-or-later
// A preview decoder: is handed one file after the other over the socket that is its standard input,
// and answers each with what the file looks like. It ends when the other side has gone.
#include <fcntl.h>
#include <malloc.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QGuiApplication>
#include <QThreadPool>
#include <algorithm>
#include <barrier>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>

#include "base/SanitizedBuild.h"
#include "viewer/Decoders.h"
#include "viewer/LoadEverything.h"
#include "viewer/MediaDecoder.h"
#include "viewer/Sandbox.h"

namespace {

using namespace kestrin;

constexpr int kSocket = STDIN_FILENO;

/// Whoever starts a decoder decides nothing of what libraries do and where they look.
bool prepareProcess() {
    // Nobody else would end one that reads from a disk that hangs, or that a file has taken over,
    // when the program was killed. A program that is gone already hands over no file.
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) != 0 || ::clearenv() != 0) return false;
    ::setenv("LC_ALL", "C.UTF-8", 1);
    // Fonts and settings of the system alone; not even root can make a folder there.
    ::setenv("HOME", "/dev/null", 1);
    ::setenv("XDG_RUNTIME_DIR", "/dev/null", 1);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("QT_NO_GLIB", "1", 1);
    ::umask(077);
    // A heap for each thread would take 64 MB of the address space.
    ::mallopt(M_ARENA_MAX, 1);
    ::closefrom(STDERR_FILENO + 1);
    int type = 0;
    socklen_t length = sizeof type;
    const int flags = ::fcntl(kSocket, F_GETFL);
    return ::getsockopt(kSocket, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && flags >= 0 &&
           ::fcntl(kSocket, F_SETFL, flags & ~O_NONBLOCK) == 0 && ::chdir("/") == 0;
}

/// Qt shares the work on large pictures among the threads of its pool, and waits for ever for one
/// that could not be made. So they are made at once, and stay.
void startThreads() {
    QThreadPool& pool = *QThreadPool::globalInstance();
    const int count = std::clamp(pool.maxThreadCount(), 1, 4);
    pool.setMaxThreadCount(count);
    pool.setStackSize(1 << 20);
    pool.setExpiryTimeout(-1);
    const auto together = std::make_shared<std::barrier<>>(count + 1);
    for (int index = 0; index < count; ++index)
        pool.start([together] { together->arrive_and_wait(); });
    together->arrive_and_wait();
}

Preview decodeWithinMemory(InputFile& file, const DecodeRequest& request) {
    try {
#ifdef KESTRIN_DECODES_MEDIA
        if (request.purpose != DecodePurpose::CachedThumbnail) {
            if (auto preview = decodeMedia(file, request)) return *std::move(preview);
        }
#endif
        return decode(file, request);
    } catch (const std::exception&) {  // std::bad_alloc for the most part
        return {.fault = PreviewFault::TooLarge};
    }
}

/// Whether what libraries kept of the files so far may be missing for the next one: an exception
/// that comes out of a library leaves behind what that had in its hands.
bool isWorn() {
    constexpr std::size_t kKept = 128 << 20;
    const struct mallinfo2 heap = ::mallinfo2();
    return heap.arena + heap.hblkhd > kKept;
}

/// The file is closed before the answer: where the disk hangs at that, the time is this file's, not
/// the next one's.
Result<UniqueFd> previewOf(ReceivedRequest& received) {
    InputFile file(std::move(received.file));
    auto preview = writePreview(decodeWithinMemory(file, received.request));
    return preview ? std::move(preview) : writePreview({.fault = PreviewFault::TooLarge});
}

/// True when there is no other to come.
Result<bool> answer(ReceivedRequest received) {
    const auto preview = previewOf(received);
    if (!preview) return preview.error();
    const bool isLast = isWorn();
    if (auto error = sendAnswer(kSocket, received.request.number, preview->get(), isLast))
        return *error;
    return isLast;
}

int serve(const ViewerProtections& protections) {
    if (sendGreeting(kSocket, {.protections = protections})) return 1;
    while (true) {
        auto received = receiveRequest(kSocket);
        if (!received) return received.error().systemError == ECONNRESET ? 0 : 1;
        const auto isLast = answer(std::move(*received));
        if (!isLast) return 1;
        if (*isLast) return 0;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (!prepareProcess()) {
        std::perror("Kestrin starts this program by itself, with a socket as its standard input");
        return 1;
    }
    QGuiApplication application(argc, argv);
    loadEverything();
    const SandboxPlan plan = planSandbox(askKernel(), kIsSanitizedBuild);
    if (kIsSanitizedBuild) {
        std::fputs("This build of a sanitizer decodes WITHOUT memory limit and call filter.\n",
                   stderr);
    }
    const auto protections = enterSandbox(kSocket, readableFolders(), plan, startThreads);
    // What libraries do at the end is not foreseen by the sandbox.
    std::_Exit(protections ? serve(*protections) : 1);
}
