// SPDX-License-Identifier: GPL-3.0-or-later
// The lists that programs send to the helper: the property-list reader and the items dictionary.
#include <string_view>

#include "Require.h"
#include "base/PropertyList.h"
#include "helper/HelperProtocol.h"

using namespace kestrin;

namespace {

/// What was read is written and read again as the same.
void checkList(std::string_view xml) {
    const auto list =
        fromXml(xml, {.maximumBytes = 1 << 20, .maximumDepth = 16, .maximumValues = 10'000});
    if (!list) return;
    const auto again = fromXml(toXml(*list));
    require(again && *again == *list);
}

void checkItems(std::string_view xml) {
    const auto items = EraseItems::fromXml(xml);
    if (!items) return;
    for (const auto* paths : {&items->unlockItems, &items->permissionsItems}) {
        for (const std::string& path : *paths)
            require(!path.empty() && path.find('\0') == path.npos);
    }
    const auto again = EraseItems::fromXml(items->toXml());
    require(again && *again == *items);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    checkList(bytes);
    checkItems(bytes);
    (void)AuthorizationForm::fromBytes(bytes);
    return 0;
}
