// SPDX-License-Identifier: GPL-3.0-or-later
// A file, given to the decoder KESTRIN_DECODER as a hostile trash would.
#include <sys/mman.h>

#include <QGuiApplication>
#include <cstdlib>

#include "Require.h"
#include "base/WriteAll.h"
#include "viewer/MediaDecoder.h"

using namespace kestrin;

namespace {

/// Texts are drawn with the fonts of the system, on no screen.
bool prepare() {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("QT_LOGGING_RULES", "*=false", 1);
    static int count = 1;
    static char name[] = "fuzz";
    static char* arguments[] = {name, nullptr};
    static const QGuiApplication application(count, arguments);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool isReady = prepare();
    require(isReady);
    UniqueFd bytes(::memfd_create("file", MFD_CLOEXEC));
    require(writeAll(bytes.get(), {reinterpret_cast<const char*>(data), size}));
    InputFile file(std::move(bytes));
    const auto preview = KESTRIN_DECODER(file, {.width = 96, .height = 64});
    if (!preview) return 0;
    // Whatever a decoder makes of it can be sent, and is taken.
    const auto written = writePreview(*preview);
    require(written && readPreview(written->get()));
    return 0;
}
