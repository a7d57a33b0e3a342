// SPDX-License-Identifier: GPL-3.0-or-later
// A terminal in the place of standard input, output and error.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace kestrin::test {

/// Standard streams are the terminal's while it lives.
class PseudoTerminal {
 public:
    explicit PseudoTerminal(unsigned short columns = 80);
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    void type(std::string_view keys) const;
    /// What has been printed since the last call, as the bytes that reached the terminal.
    std::string printed() const;

 private:
    int m_user = -1;  ///< the user's end
    std::array<int, 3> m_kept{};
};

}  // namespace kestrin::test
