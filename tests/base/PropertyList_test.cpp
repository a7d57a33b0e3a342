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
    ASSERT_TRUE(copy);
    EXPECT_EQ(*copy, list);
    EXPECT_EQ(copy->find("absent"), nullptr);
}

TEST(PropertyList, WritesWhatXmlCannotHoldAsReplacement) {
    for (const char* text : {"a\x01", "a\xff", "a\xed\xa0\x80"}) {
        EXPECT_THAT(*fromXml(toXml(text))->get<std::string>(), HasSubstr("\xEF\xBF\xBD"));
    }
}

TEST(PropertyList, ReadsWhatOtherWritersWrite) {
    for (const auto& [text, value] :
         {std::pair("<string>a\r\nb\rc&#x41;&#66;&amp;</string>", PropertyList("a\nb\ncAB&")),
          {" <!-- - --> <array >\n<string/><true></true></array>\n", Array{"", true}},
          {"<data>\n\tAAEC\n</data>", PropertyList::Data{{"\0\1\2", 3}}},
          {"<integer>-0</integer>", std::uint64_t{0}}}) {
        EXPECT_EQ(*fromXml(document(text)), value) << text;
    }
    EXPECT_TRUE(fromXml("\xEF\xBB\xBF<plist><dict/></plist>"));
    EXPECT_TRUE(
        fromXml("<?xml version='1.0' encoding='utf-8' ?><!DOCTYPE plist SYSTEM 'x'>"
                "<plist version='1.0'><true/></plist><!-- end -->"));
}

TEST(PropertyList, RefusesBadValues) {
    const auto refuses = [](const std::string& begin, std::initializer_list<const char*> contents,
                            const std::string& end) {
        for (const char* content : contents)
            EXPECT_FALSE(fromXml(document(begin + content + end))) << begin << content;
    };
    refuses("", {"", "text", "<", "<>", "<true>x</true>", "</array>", "<string>a"}, "");
    refuses("<true/>", {"<true/>", "text"}, "");
    refuses("", {"<![CDATA[x]]>", "<?php ?>", "<!-- a -- b -->", "</plist><plist>"}, "<true/>");
    refuses("<plist>", {"<true/>"}, "</plist>");
    refuses("<array>", {"x", "<true/></dict>", "<array>"}, "</array>");
    refuses("<dict>", {"x", "<true/>", "<key>a</key>"}, "</dict>");
    refuses("<dict><key>a</key><true/>", {"<key>b</key>", "<key>a</key><true/>"}, "</dict>");
    refuses("<dict><key>a</key>", {"", "<true/>"}, "");
    refuses("<date>", {"2001-01-01T00:00:00Z"}, "</date>");
    refuses("<string", {" a='b'>", "><true/>", "><![CDATA[x]]>", ">&nbsp;", ">& "}, "</string>");
    refuses("<string>", {"&#0;", "&#xD800;", "&#99999999999;"}, "</string>");
    refuses("<string>", {"\xff", "\xc0\x80", "\x01"}, "</string>");
    refuses("<integer>", {"", " 1", "+1", "0x10"}, "</integer>");
    refuses("<integer>", {"18446744073709551616", "-9223372036854775809"}, "</integer>");
    refuses("<real>", {"nan", "1e999", "1,5"}, "</real>");
    refuses("<data>", {"A", "A*=="}, "</data>");
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
        EXPECT_EQ(list.error().code, kPropertyListReadCorrupt);
    }
    EXPECT_THAT(fromXml(document("\n<true/>\n<x/>")).error().localizedDescription(),
                HasSubstr("line 4"));
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
    const std::string text((std::size_t{2} << 20) + 1, '-');
    const std::string commented = document("<!--" + std::string(text.size(), 'x') + "--><true/>");
    EXPECT_EQ(*fromXml(document("<string>" + text + "</string>")), PropertyList(text));
    EXPECT_TRUE(fromXml(commented));
    EXPECT_FALSE(fromXml(commented, {.maximumText = text.size()}));
    EXPECT_FALSE(fromXml(document("<!--x" + text + "--><true/>")));
    const std::atomic<bool> stop = true;
    EXPECT_FALSE(fromXml(three, {.stop = &stop}));
    std::string deep;
    for (int i = 0; i < 1'000'000; ++i)
        deep += "<array>";
    EXPECT_FALSE(fromXml(document(deep)));
}

}  // namespace
}  // namespace kestrin
