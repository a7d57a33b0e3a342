// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/FinderInformation.h"

#include <array>
#include <cerrno>
#include <cstddef>

#include "platform/items/ItemAttributes.h"

namespace kestrin {
namespace {

constexpr std::size_t kSize = 32;
constexpr std::array kAttributes{"user.com.apple.FinderInfo", "osx.com.apple.FinderInfo"};

std::uint16_t take16(std::string_view& bytes) {
    const auto high = static_cast<unsigned char>(bytes[0]);
    const auto low = static_cast<unsigned char>(bytes[1]);
    bytes.remove_prefix(2);
    return static_cast<std::uint16_t>(high << 8 | low);
}

OSType takeCode(std::string_view& bytes) {
    const OSType code = typeCodeOf(bytes.substr(0, sizeof(OSType)));
    bytes.remove_prefix(sizeof(OSType));
    return code;
}

}  // namespace

std::optional<FinderInformation> finderInformationOf(const FileUrl& item) {
    for (const char* const name : kAttributes) {
        const auto bytes = extendedAttribute(item, name);
        if (bytes && !bytes->empty()) return finderInformationFrom(*bytes);
        if (!bytes && errno != ENODATA && errno != ENOTSUP) return std::nullopt;
    }
    return FinderInformation{};
}

std::optional<FinderInformation> finderInformationFrom(std::string_view bytes) {
    if (bytes.size() != kSize) return std::nullopt;
    FinderInformation information;
    information.fileType = takeCode(bytes);
    information.fileCreator = takeCode(bytes);
    information.finderFlags = take16(bytes);
    information.verticalLocation = static_cast<std::int16_t>(take16(bytes));
    information.horizontalLocation = static_cast<std::int16_t>(take16(bytes));
    information.reserved = take16(bytes);
    return information;
}

}  // namespace kestrin
