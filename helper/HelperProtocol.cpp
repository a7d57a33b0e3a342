// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/HelperProtocol.h"

#include <sys/random.h>
#include <unistd.h>

#include <QDBusMetaType>
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>
#include <utility>

#include "base/FileUrl.h"
#include "base/PropertyList.h"

namespace kestrin {
namespace {

template <class Integer>
void putLittleEndian(std::string& bytes, Integer value) {
    for (std::size_t i = 0; i < sizeof value; ++i)
        bytes.push_back(static_cast<char>(value >> (8 * i) & 0xff));
}

template <class Integer>
Integer takeLittleEndian(std::string_view& bytes) {
    Integer value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i)
        value |= static_cast<Integer>(static_cast<unsigned char>(bytes[i])) << (8 * i);
    bytes.remove_prefix(sizeof value);
    return value;
}

HostError systemError(const char* what) {
    const int code = errno;
    return {std::string(kPOSIXErrorDomain),
            code,
            code,
            {{"errorString", std::string(what) + ": " + std::strerror(code)}}};
}

HostError invalid(const std::string& why) {
    return {std::string(kFileErrorDomain), kPropertyListReadCorrupt, 0, {{"errorString", why}}};
}

PropertyList::Array encoded(const std::vector<std::string>& paths) {
    PropertyList::Array list;
    list.reserve(paths.size());
    for (const std::string& path : paths)
        list.emplace_back(percentEncode(path, true));
    return list;
}

using Stop = const std::atomic<bool>*;

/// Takes an array of percent-encoded paths out of the dictionary.
MaybeError takePaths(const PropertyList& value, std::vector<std::string>& paths, Stop stop) {
    const auto* const list = value.get<PropertyList::Array>();
    if (!list) return invalid("a list of paths is no array");
    paths.reserve(list->size());
    for (const PropertyList& element : *list) {
        if (stop && *stop) return invalid("stopped");
        const auto* const text = element.get<std::string>();
        auto path = text ? percentDecode(*text) : std::nullopt;
        if (!path || path->empty() || path->find('\0') != std::string::npos) {
            return invalid("an item is no percent-encoded path");
        }
        paths.push_back(std::move(*path));
    }
    return {};
}

/// "DEVICE INODE BIRTH" in decimal digits; empty when the identity is not known.
std::string textOf(const ItemIdentity& identity) {
    if (!identity.isKnown()) return {};
    return std::to_string(identity.deviceId) + ' ' + std::to_string(identity.inode) + ' ' +
           std::to_string(identity.birthTime);
}

/// Takes a number, and a blank behind it, off the text. False when there is no number.
template <class Integer>
bool takeInteger(std::string_view& text, Integer& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (text.starts_with(' ') && text.size() > 1) text.remove_prefix(1);
    return true;
}

std::optional<ItemIdentity> identityOf(std::string_view text) {
    ItemIdentity identity;
    if (text.empty()) return identity;
    const bool isComplete = takeInteger(text, identity.deviceId) &&
                            takeInteger(text, identity.inode) &&
                            takeInteger(text, identity.birthTime);
    if (!isComplete || !text.empty() || !identity.isKnown()) return {};
    return identity;
}

MaybeError takeIdentities(const PropertyList& value, std::vector<ItemIdentity>& identities,
                          Stop stop) {
    const auto* const list = value.get<PropertyList::Array>();
    if (!list) return invalid("the identities are no array");
    identities.reserve(list->size());
    for (const PropertyList& element : *list) {
        if (stop && *stop) return invalid("stopped");
        const auto* const text = element.get<std::string>();
        const auto identity = text ? identityOf(*text) : std::nullopt;
        if (!identity) return invalid("an item is no identity");
        identities.push_back(*identity);
    }
    return {};
}

std::size_t countOfPaths(const EraseItems& items) {
    const auto& folders = items.notTrashedBecauseFolderNotEmpty;
    return items.unlockItems.size() + items.permissionsItems.size() +
           (folders ? folders->size() : 0);
}

MaybeError takeNumber(const PropertyList& value, std::uint64_t& number) {
    const auto* const found = value.get<std::uint64_t>();
    if (!found) return invalid("a figure is no unsigned integer");
    number = *found;
    return {};
}

MaybeError takeBool(const PropertyList& value, bool& isTrue) {
    const auto* const found = value.get<bool>();
    if (!found) return invalid("a flag is neither true nor false");
    isTrue = *found;
    return {};
}

MaybeError takeEntry(const std::string& key, const PropertyList& value, EraseItems& items,
                     Stop stop) {
    if (key == "unlockItems") return takePaths(value, items.unlockItems, stop);
    if (key == "permissionsItems") return takePaths(value, items.permissionsItems, stop);
    if (key == "erasedSize") return takeNumber(value, items.erasedSize);
    if (key == "erasedCount") return takeNumber(value, items.erasedCount);
    if (key == "notTrashedBecauseFolderNotEmpty") {
        return takePaths(value, items.notTrashedBecauseFolderNotEmpty.emplace(), stop);
    }
    if (key == "keepsLocked") return takeBool(value, items.keepsLocked);
    if (key == "identities") return takeIdentities(value, items.identities, stop);
    return invalid("an unknown key");
}

}  // namespace

Result<AuthorizationForm> AuthorizationForm::ofThisProcess() {
    AuthorizationForm form{.processId = static_cast<std::uint32_t>(::getpid()),
                           .userId = ::getuid()};
    const auto startTime = processStartTime(form.processId);
    if (!startTime) return systemError("/proc/self/stat");
    form.startTime = *startTime;
    if (::getrandom(form.random.data(), form.random.size(), 0) !=
        static_cast<ssize_t>(form.random.size())) {
        return systemError("getrandom");
    }
    return form;
}

std::optional<AuthorizationForm> AuthorizationForm::fromBytes(std::string_view bytes) {
    if (bytes.size() != kSize || bytes.find_first_not_of('\0') == bytes.npos) return {};
    AuthorizationForm form;
    form.processId = takeLittleEndian<std::uint32_t>(bytes);
    form.userId = takeLittleEndian<std::uint32_t>(bytes);
    form.startTime = takeLittleEndian<std::uint64_t>(bytes);
    std::copy(bytes.begin(), bytes.end(), form.random.begin());
    return form;
}

std::string AuthorizationForm::toBytes() const {
    std::string bytes;
    bytes.reserve(kSize);
    putLittleEndian(bytes, processId);
    putLittleEndian(bytes, userId);
    putLittleEndian(bytes, startTime);
    bytes.append(random.begin(), random.end());
    return bytes;
}

std::optional<std::uint64_t> processStartTime(std::uint32_t processId) {
    std::ifstream file("/proc/" + std::to_string(processId) + "/stat");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    // The second field is the program's name in parentheses, which may hold anything.
    const auto nameEnd = text.rfind(')');
    if (nameEnd == text.npos) return {};
    std::string_view rest = std::string_view(text).substr(nameEnd + 1);
    constexpr int kFieldsBetween = 22 - 2;
    for (int field = 0; field < kFieldsBetween; ++field) {
        const auto blank = rest.find(' ');
        if (blank == rest.npos) return {};
        rest.remove_prefix(blank + 1);
    }
    std::uint64_t ticks = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), ticks);
    if (error != std::errc() || end == rest.data()) return {};
    return ticks;
}

std::string EraseItems::toXml() const {
    PropertyList::Dictionary dictionary{{"unlockItems", encoded(unlockItems)},
                                        {"permissionsItems", encoded(permissionsItems)},
                                        {"erasedSize", erasedSize},
                                        {"erasedCount", erasedCount}};
    if (notTrashedBecauseFolderNotEmpty) {
        dictionary.emplace("notTrashedBecauseFolderNotEmpty",
                           encoded(*notTrashedBecauseFolderNotEmpty));
    }
    if (keepsLocked) dictionary.emplace("keepsLocked", true);
    if (!identities.empty()) {
        PropertyList::Array list;
        list.reserve(identities.size());
        for (const ItemIdentity& identity : identities)
            list.emplace_back(textOf(identity));
        dictionary.emplace("identities", std::move(list));
    }
    return kestrin::toXml(std::move(dictionary));
}

Result<EraseItems> EraseItems::fromXml(std::string_view xml, const std::atomic<bool>* stop) {
    const auto list =
        kestrin::fromXml(xml, {.maximumBytes = kMaximumList, .maximumDepth = 3, .stop = stop});
    if (!list) return list.error();
    const auto* const dictionary = list->get<PropertyList::Dictionary>();
    if (!dictionary) return invalid("the list is no dictionary");
    EraseItems items;
    for (const auto& [key, value] : *dictionary) {
        if (const MaybeError error = takeEntry(key, value, items, stop)) return *error;
    }
    if (!items.identities.empty() && items.identities.size() != countOfPaths(items)) {
        return invalid("there are not as many identities as paths");
    }
    return items;
}

QDBusArgument& operator<<(QDBusArgument& argument, const ErasedItem& item) {
    argument.beginStructure();
    argument << item.count << item.totalSize << item.itemSize << item.itemPath;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ErasedItem& item) {
    argument.beginStructure();
    argument >> item.count >> item.totalSize >> item.itemSize >> item.itemPath;
    argument.endStructure();
    return argument;
}

void registerHelperTypes() {
    qDBusRegisterMetaType<ErasedItem>();
    qDBusRegisterMetaType<ErasedItems>();
    // A receiving slot is looked up by the name that the interface description uses.
    qRegisterMetaType<ErasedItems>("kestrin::ErasedItems");
}

}  // namespace kestrin
