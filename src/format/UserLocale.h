// SPDX-License-Identifier: GPL-3.0-or-later
// Which locale the user's numbers and dates are written in.
#pragma once

#include <string>

namespace kestrin {

/// The ICU name ("de_DE") of the user's locale for a category, "LC_NUMERIC" or "LC_TIME": the first
/// of LC_ALL, the category and LANG that is set and not empty. A locale without a language ("C",
/// "POSIX", "C.UTF-8", nothing set) means "en_US": the texts are English then, and ICU's own choice
/// for it, en_US_POSIX, writes numbers without grouping. Thread: any, while nobody changes the
/// environment.
std::string userLocaleName(const char* category);

}  // namespace kestrin
