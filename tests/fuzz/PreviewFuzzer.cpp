// SPDX-License-Identifier: GPL-3.0-or-later
// What a decoder answers, read by the program: a memory file that anybody may have made.
#include <fcntl.h>
#include <sys/mman.h>

#include "Require.h"
#include "base/WriteAll.h"
#include "viewer/ViewerProtocol.h"

using namespace kestrin;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const UniqueFd file(::memfd_create("preview", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    require(writeAll(file.get(), {reinterpret_cast<const char*>(data), size}));
    require(::fcntl(file.get(), F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK) == 0);
    const auto preview = readPreview(file.get());
    if (!preview) return 0;
    // What is taken can be shown: every pixel is there, and it is written as it was read.
    for (const QImage& frame : preview->frames)
        require(frame.convertToFormat(QImage::Format_RGB32).size() == frame.size());
    const auto again = writePreview(*preview);
    require(again && readPreview(again->get()));
    return 0;
}
