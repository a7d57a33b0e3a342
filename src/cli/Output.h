// SPDX-License-Identifier: GPL-3.0-or-later
// The program's standard output. It takes bytes, and tells in the end whether all of them went out.
#pragma once

#include <QString>
#include <cstdio>
#include <string_view>

namespace kestrin {

/// Writes to a stream that it does not own. The first failure is kept; what comes after it is
/// dropped, so that a reader who has gone costs no time. One thread.
class Output {
 public:
    explicit Output(std::FILE* stream) : m_stream(stream) {}
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void write(std::string_view bytes);
    /// Writes the text in UTF-8 and a line feed.
    void line(const QString& text);
    /// Hands on what is buffered.
    void flush();
    /// The errno of the first failure; 0 when there was none. EPIPE: nobody reads any more.
    int failure() const { return m_failure; }

 private:
    std::FILE* const m_stream;
    int m_failure = 0;
};

}  // namespace kestrin
