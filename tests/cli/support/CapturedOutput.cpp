// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/support/CapturedOutput.h"

#include <cstdlib>

namespace kestrin::test {

CapturedOutput::CapturedOutput()
    : m_stream(::open_memstream(&m_bytes, &m_size)), m_output(new Output(m_stream)) {}

CapturedOutput::~CapturedOutput() {
    std::fclose(m_stream);
    std::free(m_bytes);
}

std::string CapturedOutput::text() const {
    std::fflush(m_stream);
    return {m_bytes, m_size};
}

}  // namespace kestrin::test
