// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/PropertyList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace kestrin {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;
using ::testing::HasSubstr;

std::string document(const std::string& value) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + value +
           "</plist>\n";
}

/// The value that stands in a document, which must be readable.
PropertyList read(const std::string& value) {
    const auto list = fromXml(document(value));
    EXPECT_TRUE(list) << value;
    return list ? *list : PropertyList();
}

TEST(PropertyList, EveryKindComesBack) {
    const PropertyList list(Dictionary{
        {"array", Array{"text", true, false, Array(), Dictionary()}},
        {"data", PropertyList::Data{std::string("\0\xff\n", 3)}},
        {"large", std::numeric_limits<std::uint64_t>::max()},
        {"negative", std::numeric_limits<std::int64_t>::min()},
        {"real", 0.1},
        {"", "<&>\"'\r\n\t ]]> ü 🗑"},
        {"<key>", " "},
    });
    const auto copy = fromXml(toXml(list));
    ASSERT_TRUE(copy) << copy.error().localizedDescription();
    EXPECT_EQ(*copy, list);
    EXPECT_EQ(copy->find("absent"), nullptr);
    EXPECT_EQ(copy->find("real")->find("x"), nullptr);
}

TEST(PropertyList, WritesWhatXmlCannotHoldAsReplacement) {
    for (const std::string& text : {std::string("a\0b", 3),
                                    std::string("a\x01"
                                                "b"),
                                    std::string("a\xff"
                                                "b"),
                                    std::string("a\xed\xa0\x80"
                                                "b")}) {
        const auto copy = fromXml(toXml(text));
        ASSERT_TRUE(copy);
        EXPECT_THAT(*copy->get<std::string>(), HasSubstr("\xEF\xBF\xBD"));
    }
}

TEST(PropertyList, ReadsWhatOtherWritersWrite) {
    EXPECT_EQ(read("<string>a\r\nb\rc&#x41;&#66;&amp;</string>"), PropertyList("a\nb\ncAB&"));
    EXPECT_EQ(read(" <!-- - --> <array >\n<string/><true></true></array>\n"),
              PropertyList(Array{"", true}));
    EXPECT_EQ(read("<data>\n\tAAEC\n</data>"), PropertyList(PropertyList::Data{{"\0\1\2", 3}}));
    EXPECT_EQ(read("<integer>-0</integer>"), PropertyList(std::uint64_t{0}));
    EXPECT_TRUE(fromXml("\xEF\xBB\xBF<plist><dict/></plist>"));
    EXPECT_TRUE(
        fromXml("<?xml version='1.0' encoding='utf-8' ?><!DOCTYPE plist SYSTEM 'x'>"
                "<plist version='1.0'><true/></plist><!-- end -->"));
}

TEST(PropertyList, RefusesBadValues) {
    for (const char* value : {"",
                              "text",
                              "<true/><true/>",
                              "<true/>text",
                              "<date>2001-01-01T00:00:00Z</date>",
                              "<string>a",
                              "<string>a</array>",
                              "<string><true/></string>",
                              "<string a='b'>x</string>",
                              "<string>&nbsp;</string>",
                              "<string>&#0;</string>",
                              "<string>&#xD800;</string>",
                              "<string>&#99999999999;</string>",
                              "<string>& </string>",
                              "<![CDATA[x]]>",
                              "<string><![CDATA[x]]></string>",
                              "<?php ?><true/>",
                              "<!-- a -- b --><true/>",
                              "<integer></integer>",
                              "<integer> 1</integer>",
                              "<integer>+1</integer>",
                              "<integer>0x10</integer>",
                              "<integer>18446744073709551616</integer>",
                              "<integer>-9223372036854775809</integer>",
                              "<real>nan</real>",
                              "<real>1e999</real>",
                              "<real>1,5</real>",
                              "<data>A</data>",
                              "<data>A*==</data>",
                              "<true>x</true>",
                              "<dict><key>a</key></dict>",
                              "<dict><true/></dict>",
                              "<dict>x</dict>",
                              "<array>x</array>",
                              "<dict><key>a</key><true/><key>a</key><true/></dict>",
                              "<dict><key>a</key>",
                              "</array>",
                              "<string>\xff</string>",
                              "<string>\xc0\x80</string>",
                              "<string>\x01</string>",
                              "<>",
                              "<",
                              "</plist><plist>",
                              "<plist><true/></plist>"}) {
        EXPECT_FALSE(fromXml(document(value))) << value;
    }
}

TEST(PropertyList, RefusesBadDocuments) {
    for (const char* xml :
         {"", "<", "<dict/>", "<plist>", "<plist><true/>", "<plist version=\"2.0\"><true/></plist>",
          "<plist a=\"b\"><true/></plist>", "<plist><true/></plist>x",
          "<?xml version=\"1.1\"?><plist><true/></plist>",
          "<?xml version=\"1.0\" encoding=\"UTF-16\"?><plist><true/></plist>",
          "<?xml version=\"1.0\" encoding=\"UTF-8\"<plist><true/></plist>",
          "<!DOCTYPE html><plist><true/></plist>",
          "<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><string>&a;</string></plist>",
          "<!DOCTYPE plist [<!ELEMENT plist ANY>]><plist><true/></plist>", "<!DOCTYPE plist",
          "bplist00"}) {
        const auto list = fromXml(xml);
        ASSERT_FALSE(list) << xml;
        EXPECT_EQ(list.error().domain, kFileErrorDomain);
        EXPECT_EQ(list.error().code, kPropertyListReadCorrupt);
    }
    EXPECT_THAT(fromXml(document("\n<true/>\n<x/>")).error().localizedDescription(),
                HasSubstr("line 4"));
}

TEST(PropertyList, EveryCutIsRefused) {
    const std::string whole = toXml(Dictionary{{"a", Array{"ü&", std::int64_t{-1}, 0.5}}});
    for (std::size_t length = 0; length + 1 < whole.size(); ++length) {
        EXPECT_FALSE(fromXml(whole.substr(0, length))) << length;
    }
}

TEST(PropertyList, KeepsToItsLimits) {
    const std::string three = document("<array><array><true/></array></array>");
    EXPECT_TRUE(fromXml(three, {.maximumDepth = 3}));
    EXPECT_FALSE(fromXml(three, {.maximumDepth = 2}));
    EXPECT_TRUE(fromXml(three, {.maximumValues = 3}));
    EXPECT_FALSE(fromXml(three, {.maximumValues = 2}));
    EXPECT_FALSE(fromXml(document("<dict><key>a</key><true/></dict>"), {.maximumValues = 2}));
    EXPECT_TRUE(fromXml(three, {.maximumBytes = three.size()}));
    EXPECT_FALSE(fromXml(three, {.maximumBytes = three.size() - 1}));
    std::string deep;
    for (int i = 0; i < 1'000'000; ++i)
        deep += "<array>";
    EXPECT_FALSE(fromXml(document(deep)));
}

}  // namespace
}  // namespace kestrin
