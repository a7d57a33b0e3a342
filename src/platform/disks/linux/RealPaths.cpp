// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/disks/linux/RealPaths.h"

#include <cstdlib>
#include <memory>

#include "platform/items/ItemAttributes.h"

namespace kestrin {

std::optional<std::string> realPath(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                           &std::free);
    if (!real) return std::nullopt;
    return std::string(real.get());
}

std::optional<std::string> realPathOfItem(const FileUrl& item) {
    const auto attributes = itemAttributes(item);
    if (!attributes) return std::nullopt;
    if (!attributes->isSymbolicLink()) return realPath(item.path());
    const auto folder = realPath(item.parent().path());
    if (!folder) return std::nullopt;
    return FileUrl::fromPath(*folder).appending(item.lastPathComponent()).path();
}

std::string realPathOfNearestExisting(const std::string& path) {
    for (FileUrl folder = FileUrl::fromPath(path); folder.path().size() > 1;
         folder = folder.parent()) {
        if (auto real = realPath(folder.path())) return *std::move(real);
    }
    return "/";
}

}  // namespace kestrin
