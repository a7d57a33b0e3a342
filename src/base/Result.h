// SPDX-License-Identifier: GPL-3.0-or-later
// Failures as values: the error that the host gives, and a value that is either a result or that
// error.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace kestrin {

inline constexpr std::string_view kFileErrorDomain = "FileErrorDomain";
inline constexpr std::string_view kOSStatusErrorDomain = "OSStatusErrorDomain";
inline constexpr std::string_view kPOSIXErrorDomain = "POSIXErrorDomain";

/// Codes that the erase engine classifies.
inline constexpr int kFileReadNoPermission = 257;   ///< kFileErrorDomain
inline constexpr int kFileWriteNoPermission = 513;  ///< kFileErrorDomain
inline constexpr int kFileBusy = -47;               ///< kOSStatusErrorDomain

/// An operation of the host that failed.
struct HostError {
    std::string domain;
    int code = 0;
    /// The errno behind it; 0 when it did not come from the kernel.
    int systemError = 0;
    /// Further facts by name, such as "errorString" (the system's text for the errno).
    std::map<std::string, std::string> userInfo;

    /// One line for the user: the "errorString" of the user information, or the domain and the
    /// code when there is none.
    std::string localizedDescription() const;
};

/// Why an operation that has nothing to give failed; none when it succeeded.
using MaybeError = std::optional<HostError>;

/// A value of type T or the reason why there is none.
template <class T>
class [[nodiscard]] Result {
 public:
    Result(T value) : m_content(std::in_place_index<0>, std::move(value)) {}          // NOLINT
    Result(HostError error) : m_content(std::in_place_index<1>, std::move(error)) {}  // NOLINT

    bool hasValue() const { return m_content.index() == 0; }
    explicit operator bool() const { return hasValue(); }

    /// Requires: hasValue().
    T& operator*() { return std::get<0>(m_content); }
    const T& operator*() const { return std::get<0>(m_content); }
    T* operator->() { return &std::get<0>(m_content); }
    const T* operator->() const { return &std::get<0>(m_content); }
    /// Requires: !hasValue().
    const HostError& error() const { return std::get<1>(m_content); }

 private:
    std::variant<T, HostError> m_content;
};

}  // namespace kestrin
