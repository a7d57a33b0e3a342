// SPDX-License-Identifier: GPL-3.0-or-later
// Names for the addresses of a process that is gone.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kestrin {

/// A program or library, and where it was in that process.
struct CodeModule {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::string buildId;  ///< hexadecimal
    std::string path;
};

/// What stands at each of `addresses`, in their order, as "function + 0x12 (File.cpp:34)"; the
/// second half only where debug information is installed. Empty where it is not known: the address
/// is in no module, or the module's file is not the one with that build id any more, or libdw is
/// not installed. Nothing is asked of a network. Takes up to a second, and reads the files of the
/// modules. Thread: any, one at a time.
std::vector<std::string> symbolsAt(const std::vector<std::uint64_t>& addresses,
                                   const std::vector<CodeModule>& modules);

/// The name of a function or type as it stands in a source, for the one that the compiler made of
/// it; that one itself when it is none. Thread: any.
std::string plainSymbol(const std::string& name);

}  // namespace kestrin
