// SPDX-License-Identifier: GPL-3.0-or-later
// The order of names in the user's language.
#pragma once

#include <string>
#include <string_view>

namespace kestrin {

/// Bytes by which names compare ("<" on std::string) as the user's language orders them, without
/// regard to case and with digits taken one by one. Names that the language does not tell apart
/// have the same key. The locale is that of LC_COLLATE when the thread first asks. Costs a
/// microsecond or two: a list makes a name's key once. Thread: any.
/// Source: Unicode Technical Standard 10, secondary strength.
std::string nameSortKey(std::string_view name);

}  // namespace kestrin
