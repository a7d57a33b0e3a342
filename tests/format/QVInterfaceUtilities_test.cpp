// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/QVInterfaceUtilities.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace kestrin {
namespace {

using namespace Qt::StringLiterals;

TEST(QVInterfaceUtilities, FillsTheFirstPlaceholderLeft) {
    const std::vector<std::tuple<QString, QStringList, QString>> rows = {
        {u"a %@ b %@"_s, {u"x"_s}, u"a x b %@"_s},
        {u"a %@ b %@"_s, {u"x"_s, u"y"_s, u"z"_s}, u"a x b y"_s},
        // A placeholder that came in with a string is filled before those behind it.
        {u"%@ and %@"_s, {u"<%@>"_s, u"in"_s, u"out"_s}, u"<in> and out"_s},
        {u"%%@@"_s, {u"%@"_s, u"x"_s}, u"%x@"_s},
        {u"%@"_s, {u"50%1\\0$&"_s}, u"50%1\\0$&"_s}};
    for (const auto& [text, strings, expected] : rows) {
        EXPECT_EQ(QVInterfaceUtilities::sharedControl().replaceContentOfString(text, strings),
                  expected);
    }
}

}  // namespace
}  // namespace kestrin
