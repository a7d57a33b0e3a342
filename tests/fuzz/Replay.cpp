// SPDX-License-Identifier: GPL-3.0-or-later
// Hands each file of the given folders to a fuzz target once: what was found stays found, with
// every compiler.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Qt keeps patterns of the fonts it looked for.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}

int main(int argc, char** argv) {
    int inputs = 0;
    for (int index = 1; index < argc; ++index) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[index])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes(std::istreambuf_iterator<char>(file), {});
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                   bytes.size());
            ++inputs;
        }
    }
    std::printf("%d inputs\n", inputs);
#ifdef __SANITIZE_THREAD__
    // It cannot see how Qt waits for the threads of its pool when that goes.
    std::fflush(stdout);
    std::_Exit(inputs == 0);
#endif
    return inputs == 0;
}
