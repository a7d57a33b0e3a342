// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/FileUrl.h"

#include <utility>

namespace kestrin {
namespace {

constexpr std::string_view kScheme = "file://";

std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

bool isUnreserved(unsigned char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_' || byte == '~';
}

int hexValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

}  // namespace

FileUrl FileUrl::fromPath(std::string path) {
    FileUrl url;
    url.m_path = withoutTrailingSlashes(std::move(path));
    url.m_hasScheme = !url.m_path.empty();
    return url;
}

FileUrl FileUrl::withoutScheme(std::string path) {
    FileUrl url;
    url.m_path = withoutTrailingSlashes(std::move(path));
    return url;
}

std::optional<FileUrl> FileUrl::fromString(std::string_view text) {
    if (!text.starts_with(kScheme)) return std::nullopt;
    text.remove_prefix(kScheme.size());
    constexpr std::string_view kLocalHost = "localhost/";
    if (text.starts_with(kLocalHost)) text.remove_prefix(kLocalHost.size() - 1);
    if (!text.starts_with('/')) return std::nullopt;
    auto path = percentDecode(text);
    if (!path || path->find('\0') != std::string::npos) return std::nullopt;
    return fromPath(*std::move(path));
}

std::string_view FileUrl::lastPathComponent() const {
    const std::string_view path = m_path;
    if (path == "/") return path;
    const auto slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string_view FileUrl::pathExtension() const {
    const std::string_view name = lastPathComponent();
    const auto stop = name.rfind('.');
    if (stop == std::string_view::npos || stop == 0) return {};
    return name.substr(stop + 1);
}

FileUrl FileUrl::parent() const {
    if (m_path.empty()) return {};
    FileUrl url = *this;
    const auto slash = m_path.rfind('/');
    if (slash == std::string::npos) {
        url.m_path.clear();
    } else {
        url.m_path.resize(slash == 0 ? 1 : slash);
    }
    return url;
}

FileUrl FileUrl::appending(std::string_view name) const {
    FileUrl url = *this;
    url.m_path.reserve(m_path.size() + 1 + name.size());
    if (!url.m_path.ends_with('/')) url.m_path += '/';
    url.m_path += name;
    url.m_path = withoutTrailingSlashes(std::move(url.m_path));
    url.m_hasScheme = m_hasScheme || m_path.empty();
    return url;
}

bool FileUrl::isBelow(const FileUrl& folder) const {
    if (folder.m_path.empty()) return false;
    if (folder.m_path == "/") return m_path.size() > 1 && m_path.front() == '/';
    return m_path.size() > folder.m_path.size() && m_path.starts_with(folder.m_path) &&
           m_path[folder.m_path.size()] == '/';
}

std::string FileUrl::toString() const {
    return (m_hasScheme ? std::string(kScheme) : std::string()) + percentEncode(m_path, true);
}

std::string percentEncode(std::string_view bytes, bool keepSlashes) {
    constexpr char kHex[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (isUnreserved(byte) || (keepSlashes && byte == '/')) {
            text += c;
        } else {
            text += '%';
            text += kHex[byte >> 4];
            text += kHex[byte & 15];
        }
    }
    return text;
}

std::optional<std::string> percentDecode(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            bytes += text[i];
            continue;
        }
        if (i + 2 >= text.size()) return std::nullopt;
        const int high = hexValue(text[i + 1]);
        const int low = hexValue(text[i + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        bytes += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return bytes;
}

}  // namespace kestrin
