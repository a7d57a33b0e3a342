// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/QVInterfaceUtilities.h"

#include <gtest/gtest.h>

namespace kestrin {
namespace {

using namespace Qt::StringLiterals;

TEST(QVInterfaceUtilities, FillsTheFirstPlaceholderLeft) {
    struct Row {
        QString text;
        QStringList strings;
        QString expected;
    };
    for (const Row& row : {
             Row{u"a %@ b %@"_s, {u"x"_s}, u"a x b %@"_s},
             Row{u"a %@ b %@"_s, {u"x"_s, u"y"_s, u"z"_s}, u"a x b y"_s},
             Row{u"a %@"_s, {}, u"a %@"_s},
             Row{u"no place"_s, {u"x"_s}, u"no place"_s},
             // A placeholder that came in with a string is filled before those behind it.
             Row{u"%@ and %@"_s, {u"<%@>"_s, u"in"_s, u"out"_s}, u"<in> and out"_s},
             Row{u"%%@@"_s, {u"%@"_s, u"x"_s}, u"%x@"_s},
             Row{u"%@"_s, {u"50%1\\0$&"_s}, u"50%1\\0$&"_s},
         }) {
        const auto& utilities = QVInterfaceUtilities::sharedControl();
        EXPECT_EQ(utilities.replaceContentOfString(row.text, row.strings), row.expected);
    }
}

}  // namespace
}  // namespace kestrin
