// SPDX-License-Identifier: GPL-3.0-or-later
// Bytes as a decoder is handed them: a descriptor of a file that has no name.
#pragma once

#include <sys/mman.h>

#include <string>
#include <string_view>

#include "base/WriteAll.h"
#include "viewer/Decoders.h"

namespace kestrin::test {

inline InputFile fileOf(std::string_view bytes) {
    UniqueFd file(::memfd_create("file", MFD_CLOEXEC));
    writeAll(file.get(), bytes);
    return InputFile(std::move(file));
}

inline Preview decodedBytes(std::string_view bytes, std::string type = {},
                            std::uint32_t side = 200) {
    InputFile file = fileOf(bytes);
    return decode(file, {.width = side, .height = side, .type = std::move(type)});
}

}  // namespace kestrin::test
