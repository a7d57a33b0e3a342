// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/UserLocale.h"

#include <unicode/locid.h>

#include <cstdlib>

namespace kestrin {

namespace {

std::string environmentLocale(const char* category) {
    for (const char* name : {"LC_ALL", category, "LANG"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') return value;
    }
    return {};
}

bool hasNoLanguage(const std::string& posixName) {
    const std::string name = posixName.substr(0, posixName.find_first_of(".@"));
    return name.empty() || name == "C" || name == "POSIX";
}

}  // namespace

std::string userLocaleName(const char* category) {
    constexpr const char* english = "en_US";
    const std::string posixName = environmentLocale(category);
    if (hasNoLanguage(posixName)) return english;
    const icu::Locale locale = icu::Locale::createCanonical(posixName.c_str());
    return locale.isBogus() ? english : locale.getName();
}

}  // namespace kestrin
