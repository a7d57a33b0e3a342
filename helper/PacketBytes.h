// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers and texts as bytes of a packet between processes of one program on one machine.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/items/LockAttributes.h"

namespace kestrin {

/// Puts what it is given at the end of its bytes.
class PacketWriter {
 public:
    template <class Number>
    void put(Number number) {
        static_assert(std::is_integral_v<Number> || std::is_enum_v<Number>);
        m_bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
    }
    void putText(std::string_view text) {
        put(static_cast<std::uint32_t>(text.size()));
        m_bytes.append(text);
    }
    void putItem(std::uint64_t id, const UnlockedItem& item);

    const std::string& bytes() const { return m_bytes; }
    void clear() { m_bytes.clear(); }

 private:
    std::string m_bytes;
};

/// Takes from the beginning of bytes that may be anything. Each operation is false, and takes what
/// it likes, when the bytes do not hold that.
class PacketReader {
 public:
    explicit PacketReader(std::string_view bytes) : m_bytes(bytes) {}

    template <class Number>
    bool take(Number& number) {
        static_assert(std::is_integral_v<Number> || std::is_enum_v<Number>);
        if (m_bytes.size() < sizeof number) return false;
        std::memcpy(&number, m_bytes.data(), sizeof number);
        m_bytes.remove_prefix(sizeof number);
        return true;
    }
    /// A text without NUL of at most `maximum` bytes.
    bool takeText(std::string& text, std::size_t maximum);
    /// An item that can be put back: with an id, a handle and a path within their bounds.
    bool takeItem(std::uint64_t& id, UnlockedItem& item);

    bool isAtEnd() const { return m_bytes.empty(); }
    std::string_view rest() const { return m_bytes; }

 private:
    bool takeBytes(std::string& bytes, std::size_t maximum);
    std::string_view m_bytes;
};

}  // namespace kestrin
