// SPDX-License-Identifier: GPL-3.0-or-later
// A stream in memory in the place of standard output.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "cli/Output.h"

namespace kestrin::test {

class CapturedOutput {
 public:
    CapturedOutput();
    ~CapturedOutput();
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    std::FILE* stream() const { return m_stream; }
    Output& output() const { return *m_output; }
    /// All that was written so far.
    std::string text() const;

 private:
    char* m_bytes = nullptr;
    std::size_t m_size = 0;
    std::FILE* m_stream;
    std::unique_ptr<Output> m_output;
};

}  // namespace kestrin::test
