// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Paths.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>

namespace kestrin {

std::optional<FileUrl> locationOfPath(const std::string& path) {
    if (path.starts_with('/')) return FileUrl::fromPath(path);
    std::error_code error;
    const std::string folder = std::filesystem::current_path(error).native();
    if (error) return std::nullopt;
    return FileUrl::fromPath(folder).appending(path);
}

std::optional<FileUrl> locationOfOperand(const std::string& operand) {
    if (operand.starts_with("file://")) return FileUrl::fromString(operand);
    return locationOfPath(operand);
}

std::optional<FileUrl> resolved(const FileUrl& location) {
    const std::unique_ptr<char, decltype(&std::free)> path(
        ::realpath(location.path().c_str(), nullptr), &std::free);
    if (!path) return std::nullopt;
    return FileUrl::fromPath(path.get());
}

}  // namespace kestrin
