// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/JsonWriter.h"

#include <gtest/gtest.h>

namespace kestrin {
namespace {

std::string asJson(std::string_view bytes) {
    std::string json;
    appendJsonString(json, bytes);
    return json;
}

TEST(JsonWriter, NothingThatATerminalObeysIsWrittenAndBytesThatAreNoTextAreReplaced) {
    EXPECT_EQ(asJson("a\"b\\c/\n\r\t"), R"("a\"b\\c/\n\r\t")");
    EXPECT_EQ(asJson(std::string_view("\0\x1b\x7f\xC2\x9B", 5)), R"("\u0000\u001b\u007f\u009b")");
    EXPECT_EQ(asJson("\uFEFF\u00FC\u65E5\U0001F5D1"), "\"\uFEFF\u00FC\u65E5\U0001F5D1\"");
    // Cut short, overlong, surrogate, above U+10FFFF.
    for (const std::string bytes : {"\xFF", "\xC3", "\xE6\x97", "\xC0\xAF", "\xE0\x80\xAF",
                                    "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF0\x80\x80\x80"}) {
        std::string expected;
        for (std::size_t count = 0; count < bytes.size(); ++count)
            expected += "\uFFFD";
        EXPECT_EQ(asJson("a" + bytes + "("), "\"a" + expected + "(\"");
    }
}

}  // namespace
}  // namespace kestrin
