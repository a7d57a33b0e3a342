// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/JsonWriter.h"

#include <gtest/gtest.h>

#include <QJsonDocument>

#include "cli/support/CapturedOutput.h"

namespace kestrin {
namespace {

std::string asJson(std::string_view bytes) {
    std::string json;
    appendJsonString(json, bytes);
    return json;
}

TEST(JsonWriter, NothingThatATerminalObeysIsWritten) {
    EXPECT_EQ(asJson("a\"b\\c/\n\r\t"), R"("a\"b\\c/\n\r\t")");
    EXPECT_EQ(asJson(std::string_view("\0\x1b\x7f", 3)), R"("\u0000\u001b\u007f")");
    EXPECT_EQ(asJson("\xC2\x9B"), R"("\u009b")");
}

TEST(JsonWriter, TextStaysAndBytesThatAreNoTextAreReplaced) {
    const std::string kReplaced = "\xEF\xBF\xBD";
    EXPECT_EQ(asJson("\xC3\xBC\xE6\x97\xA5\xF0\x9F\x97\x91"),
              "\"\xC3\xBC\xE6\x97\xA5\xF0\x9F\x97\x91\"");
    EXPECT_EQ(asJson("\xEF\xBB\xBFx"), "\"\xEF\xBB\xBFx\"");
    EXPECT_EQ(asJson("a\xFF"), "\"a" + kReplaced + "\"");
    EXPECT_EQ(asJson("\xC3"), "\"" + kReplaced + "\"");
    EXPECT_EQ(asJson("\xC3("), "\"" + kReplaced + "(\"");
    // Overlong, surrogate, above U+10FFFF, cut short.
    for (const std::string bytes : {"\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                                    "\xF0\x80\x80\x80", "\xE6\x97"}) {
        std::string expected = "\"";
        for (std::size_t count = 0; count < bytes.size(); ++count)
            expected += kReplaced;
        EXPECT_EQ(asJson(bytes), expected + "\"");
    }
}

TEST(JsonWriter, NestsValues) {
    const test::CapturedOutput captured;
    JsonWriter json(captured.output());
    json.beginArray();
    json.beginObject();
    json.key("size");
    json.number(18446744073709551615U);
    json.key("date");
    json.stringOrNull(std::nullopt);
    json.key("list");
    json.beginArray();
    json.boolean(true);
    json.string(std::string_view("x"));
    json.endArray();
    json.endObject();
    json.beginObject();
    json.endObject();
    json.endArray();
    EXPECT_EQ(
        captured.text(),
        "[\n{\"size\": 18446744073709551615, \"date\": null, \"list\": [true, \"x\"]},\n{}\n]\n");
    EXPECT_TRUE(QJsonDocument::fromJson(QByteArray::fromStdString(captured.text())).isArray());
}

TEST(JsonWriter, AnEmptyArrayIsOneLine) {
    const test::CapturedOutput captured;
    JsonWriter json(captured.output());
    json.beginArray();
    json.endArray();
    EXPECT_EQ(captured.text(), "[]\n");
}

}  // namespace
}  // namespace kestrin
