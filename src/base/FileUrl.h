// SPDX-License-Identifier: GPL-3.0-or-later
// Locations of files as exact bytes. This is no path library: nothing here asks the disk. Thread:
// any.
#pragma once

#include <compare>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace kestrin {

/// Where an item is: the exact bytes of its path, which need not be UTF-8, and whether the location
/// has a scheme. A value with neither is "none". A path keeps no trailing slash, except "/" itself.
class FileUrl {
 public:
    /// The value that is no location.
    FileUrl() = default;

    /// The file location of an absolute path, without its trailing slashes. An empty path gives no
    /// location.
    static FileUrl fromPath(std::string path);

    /// A location without a scheme, such as a text that was never made a file location.
    static FileUrl withoutScheme(std::string path);

    /// Reads what `toString` writes: "file:///…" (also "file://localhost/…") with percent-encoded
    /// bytes. Empty when the text is anything else, holds a bad escape or an encoded NUL.
    static std::optional<FileUrl> fromString(std::string_view text);

    bool isEmpty() const { return m_path.empty() && !m_hasScheme; }
    bool hasScheme() const { return m_hasScheme; }
    const std::string& path() const { return m_path; }

    /// The bytes after the last slash; "/" for the root.
    std::string_view lastPathComponent() const;
    /// The bytes after the last full stop of the last component; empty when there are none, or when
    /// the only full stop begins the name.
    std::string_view pathExtension() const;
    /// The folder that holds the item. The root is its own parent; no location has none.
    FileUrl parent() const;
    /// The item `name` (one component, or several joined by slashes) in this folder.
    FileUrl appending(std::string_view name) const;
    /// True when this location lies somewhere below `folder`, compared by components. A folder does
    /// not lie below itself.
    bool isBelow(const FileUrl& folder) const;

    /// "file://" and the path with every byte outside the unreserved set and "/" percent-encoded
    /// (RFC 3986, RFC 8089), so that every name survives. A location without a scheme gives the
    /// encoded path alone.
    std::string toString() const;

    friend bool operator==(const FileUrl&, const FileUrl&) = default;
    friend std::strong_ordering operator<=>(const FileUrl&, const FileUrl&) = default;

 private:
    std::string m_path;
    bool m_hasScheme = false;
};

/// Percent-encodes every byte outside RFC 3986's unreserved set, and "/" too unless `keepSlashes`.
std::string percentEncode(std::string_view bytes, bool keepSlashes);
/// The bytes behind percent escapes; empty when an escape is cut short or not hexadecimal.
std::optional<std::string> percentDecode(std::string_view text);

}  // namespace kestrin

template <>
struct std::hash<kestrin::FileUrl> {
    size_t operator()(const kestrin::FileUrl& url) const noexcept {
        return std::hash<std::string>{}(url.path()) * 2 + (url.hasScheme() ? 1 : 0);
    }
};
