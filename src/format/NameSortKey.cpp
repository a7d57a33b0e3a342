// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/NameSortKey.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <array>
#include <memory>
#include <vector>

#include "format/UserLocale.h"

namespace kestrin {

namespace {

std::unique_ptr<icu::Collator> makeCollator() {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale locale(userLocaleName("LC_COLLATE").c_str());
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(locale, status));
    if (U_FAILURE(status)) return nullptr;
    collator->setStrength(icu::Collator::SECONDARY);
    return collator;
}

/// A key without the NUL that ends it.
std::string bytesOf(const std::uint8_t* key, std::int32_t length) {
    return {reinterpret_cast<const char*>(key), static_cast<std::size_t>(length - 1)};
}

}  // namespace

std::string nameSortKey(std::string_view name) {
    // A collator is not for several threads at once, and making one costs a thousand keys.
    thread_local const std::unique_ptr<icu::Collator> collator = makeCollator();
    if (!collator) return std::string(name);  // ICU's data is missing
    const auto text =
        icu::UnicodeString::fromUTF8({name.data(), static_cast<std::int32_t>(name.size())});
    std::array<std::uint8_t, 256> usual;
    const std::int32_t length = collator->getSortKey(text, usual.data(), usual.size());
    if (length <= 0) return {};
    if (static_cast<std::size_t>(length) <= usual.size()) return bytesOf(usual.data(), length);
    std::vector<std::uint8_t> whole(static_cast<std::size_t>(length));
    return bytesOf(whole.data(), collator->getSortKey(text, whole.data(), length));
}

}  // namespace kestrin
