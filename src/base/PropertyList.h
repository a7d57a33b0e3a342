// SPDX-License-Identifier: GPL-3.0-or-later
// Property lists in their XML form. The reader is strict and bounded: it is also given, as root,
// what unprivileged programs wrote.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/Result.h"

namespace kestrin {

/// A value of a property list. Texts are UTF-8; locations travel in them percent-encoded, since XML
/// cannot hold every file name.
class PropertyList {
 public:
    using Array = std::vector<PropertyList>;
    using Dictionary = std::map<std::string, PropertyList, std::less<>>;
    struct Data {
        std::string bytes;
        friend bool operator==(const Data&, const Data&) = default;
    };

    PropertyList() : m_value(Dictionary{}) {}
    PropertyList(bool value) : m_value(value) {}                      // NOLINT
    PropertyList(std::int64_t value) : m_value(value) {}              // NOLINT
    PropertyList(std::uint64_t value) : m_value(value) {}             // NOLINT
    PropertyList(double value) : m_value(value) {}                    // NOLINT
    PropertyList(std::string value) : m_value(std::move(value)) {}    // NOLINT
    PropertyList(const char* value) : m_value(std::string(value)) {}  // NOLINT
    PropertyList(Data value) : m_value(std::move(value)) {}           // NOLINT
    PropertyList(Array value) : m_value(std::move(value)) {}          // NOLINT
    PropertyList(Dictionary value) : m_value(std::move(value)) {}     // NOLINT

    /// The value when it is of type T; nullptr otherwise. Numbers: non-negative integers are read
    /// as uint64, negative ones as int64.
    template <class T>
    const T* get() const {
        return std::get_if<T>(&m_value);
    }
    /// The entry of a dictionary; nullptr when it is absent or this is no dictionary.
    const PropertyList* find(std::string_view key) const;

    friend bool operator==(const PropertyList&, const PropertyList&) = default;

    /// Calls `visitor` with the value in its own type.
    template <class Visitor>
    void visit(Visitor&& visitor) const {
        std::visit(std::forward<Visitor>(visitor), m_value);
    }

 private:
    std::variant<Dictionary, Array, std::string, Data, bool, std::int64_t, std::uint64_t, double>
        m_value;
};

/// What the reader puts up with.
struct PropertyListLimits {
    std::size_t maximumBytes = std::size_t{256} << 20;
    std::size_t maximumDepth = 16;
    std::size_t maximumValues = 4'000'000;
    std::size_t maximumText = std::size_t{32} << 20;  ///< bytes from one "<" to the next
    /// Looked at all the while, unless it is nullptr: once true, the reading fails.
    const std::atomic<bool>* stop = nullptr;
};

/// The XML form, version 1.0: declaration, document type, one value. What XML cannot hold in a text
/// (most control characters, bytes that are not UTF-8) becomes U+FFFD.
std::string toXml(const PropertyList& value);

/// Reads the XML form: elements dict, array, key, string, data, true, false, integer and real, the
/// five predefined entities, character references and comments. Errors: kFileErrorDomain, code
/// 3840, "errorString" saying what is wrong and where: bytes that are not UTF-8 XML, an internal
/// document type subset or entity declaration, an unknown element or attribute, a CDATA section, a
/// number out of range, a key without value, a repeated key, text outside values, anything after
/// the list, more than the limits allow, or a stop.
Result<PropertyList> fromXml(std::string_view xml, const PropertyListLimits& limits = {});

inline constexpr int kPropertyListReadCorrupt = 3840;

}  // namespace kestrin
