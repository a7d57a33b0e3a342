// SPDX-License-Identifier: GPL-3.0-or-later
// An environment variable for the length of a test.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace kestrin::test {

/// Sets the variable; puts back what was there before. One thread.
class ScopedVariable {
 public:
    ScopedVariable(const char* name, const std::string& value) : m_name(name) {
        if (const char* earlier = std::getenv(name)) m_earlier = earlier;
        setenv(name, value.c_str(), 1);
    }
    ~ScopedVariable() {
        if (m_earlier) {
            setenv(m_name, m_earlier->c_str(), 1);
        } else {
            unsetenv(m_name);
        }
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
    const char* m_name;
    std::optional<std::string> m_earlier;
};

}  // namespace kestrin::test
