// SPDX-License-Identifier: GPL-3.0-or-later
// The program's and the libraries' places in this process, asked of the kernel anew so that nothing
// has to be kept up to date. Does only what signal-safety(7) allows.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kestrin {

/// Copies this process's memory without the risk of a fault. False when not all of it is there.
bool readOwnMemory(std::uintptr_t address, void* to, std::size_t bytes);

/// A file that is mapped with its first byte, and is a program or a library.
struct MappedModule {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    std::array<unsigned char, 64> buildId{};
    std::size_t buildIdLength = 0;  ///< 0 when it has none
    std::string_view path;          ///< as /proc/self/maps spells it; valid during the call
};

/// Calls `take` once for every module.
void forEachModule(void (*take)(const MappedModule&));

}  // namespace kestrin
