// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/TrashPath.h"

#include <algorithm>

namespace kestrin {
namespace {

bool isName(std::string_view component) {
    constexpr std::size_t kLongestName = 255;
    return !component.empty() && component.size() <= kLongestName && component != "." &&
           component != "..";
}

}  // namespace

bool isPlainPath(std::string_view path) {
    if (!path.starts_with('/') || path.find('\0') != path.npos) return false;
    std::size_t begin = 1;
    for (std::size_t at = 1; at < path.size(); ++at) {
        if (path[at] != '/') continue;
        if (!isName(path.substr(begin, at - begin))) return false;
        begin = at + 1;
    }
    return isName(path.substr(begin));
}

std::string_view partBelow(std::string_view path, std::string_view folder) {
    if (!path.starts_with(folder)) return {};
    path.remove_prefix(folder.size());
    if (!path.starts_with('/')) return {};
    return path.substr(1);
}

std::string_view takeComponent(std::string_view& part) {
    const auto end = std::min(part.find('/'), part.size());
    const std::string_view component = part.substr(0, end);
    part.remove_prefix(std::min(end + 1, part.size()));
    return component;
}

SplitPath splitPath(std::string_view path) {
    const auto slash = path.rfind('/');
    if (slash == path.npos) return {{}, path};
    return {path.substr(0, slash), path.substr(slash + 1)};
}

std::size_t depthOf(std::string_view path) {
    return static_cast<std::size_t>(std::count(path.begin(), path.end(), '/'));
}

}  // namespace kestrin
