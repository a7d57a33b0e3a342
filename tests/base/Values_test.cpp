// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QStringList>
#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "base/FileUrl.h"
#include "base/NotificationCenter.h"
#include "base/StringTable.h"

namespace kestrin {
namespace {

FileUrl at(const char* path) {
    return FileUrl::fromPath(path);
}

TEST(FileUrl, EveryNameSurvivesTheTextFormAndNothingElseIsALocation) {
    for (const char* name : {"a b", "100%", "%41", "line\nfeed", "\xff\xfe", "ä", "semi;#?&"}) {
        const FileUrl url = at("/tmp").appending(name);
        EXPECT_EQ(FileUrl::fromString(url.toString()), url) << name;
    }
    EXPECT_EQ(at("/a b/\xff").toString(), "file:///a%20b/%FF");
    EXPECT_EQ(FileUrl::fromString("file://localhost/x"), at("/x"));
    for (const char* text : {"", "/x", "http://x/", "file://host/x", "file://x", "file:///%4",
                             "file:///%zz", "file:///a%00b"}) {
        EXPECT_EQ(FileUrl::fromString(text), std::nullopt) << text;
    }
    EXPECT_NE(FileUrl::withoutScheme("/a"), at("/a"));
    EXPECT_EQ(FileUrl::withoutScheme("/a").toString(), "/a");
}

TEST(FileUrl, TakesPathsApart) {
    for (const auto& [path, normal, parent, extension] :
         {std::array{"/a.d/b.tar.gz///", "/a.d/b.tar.gz", "/a.d", "gz"},
          {"/a.d/b", "/a.d/b", "/a.d", ""},
          {"/.hidden", "/.hidden", "/", ""},
          {"///", "/", "/", ""},
          {"", "", "", ""}}) {
        EXPECT_EQ(at(path).path(), normal);
        EXPECT_EQ(at(path).parent(), at(parent));
        EXPECT_EQ(at(path).pathExtension(), extension);
    }
    EXPECT_EQ(at("/").appending("a/b"), at("/a/b"));
}

TEST(FileUrl, BelowGoesByComponents) {
    EXPECT_TRUE(at("/a/b/c").isBelow(at("/a/b")));
    EXPECT_TRUE(at("/a/b").isBelow(at("/")));
    for (const char* path : {"/a/bc", "/a/b", "/a", "/", ""})
        EXPECT_FALSE(at(path).isBelow(at("/a/b"))) << path;
    EXPECT_FALSE(at("/").isBelow(at("/")));
    EXPECT_FALSE(at("/a/b").isBelow(FileUrl()));
}

TEST(NotificationCenter, DeliversByNameAndSenderInOrderOfRegistration) {
    NotificationCenter center;
    std::vector<std::string> heard;
    const auto note = [&](std::string who) {
        return [&heard, who](const Notification& notification) {
            const auto& info = notification.userInfo;
            heard.push_back(who + notification.name + std::to_string(info.value<int>("count", 7)));
            EXPECT_EQ(info.find<std::uint64_t>("count"), nullptr) << "of another type";
        };
    };
    const auto any = center.observe("a", note("any:"));
    const auto mine = center.observe("a", note("mine:"), &heard);
    const auto other = center.observe("b", note("other:"));
    center.post("a", &heard, UserInfo().set("count", 1));
    center.post("a", &center);
    EXPECT_THAT(heard, ::testing::ElementsAre("any:a1", "mine:a1", "any:a7"));
}

TEST(NotificationCenter, AnObserverMayDropItselfAndOthersWhileCalledAndOutliveTheCentre) {
    int calls = 0;
    Observation first, second, third;
    {
        NotificationCenter center;
        first = center.observe("a", [&](const Notification&) {
            ++calls;
            first.reset();
            second.reset();
            center.post("a");
        });
        second = center.observe("a", [&](const Notification&) { ++calls; });
        third = center.observe("b", [&](const Notification&) { ++calls; });
        center.post("a");
    }
    third.reset();
    EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, AfterTheTokenIsGoneNoOtherThreadCallsBack) {
    NotificationCenter center;
    std::atomic<bool> stop = false, isObserved = false;
    std::jthread poster([&] {
        while (!stop)
            center.post("a");
    });
    for (int i = 0; i < 500; ++i) {
        isObserved = true;
        auto observation = center.observe("a", [&](const Notification&) {
            std::this_thread::yield();
            EXPECT_TRUE(isObserved);
        });
        std::this_thread::yield();
        observation.reset();
        isObserved = false;
    }
    stop = true;
}

using Table = StringTable::Table;

TEST(StringTable, LooksUpEachTableOnItsOwnWithEnglishBehindEveryLanguage) {
    for (const char* language : {"en", "de", "C", ""}) {
        const StringTable table(QString::fromLatin1(language));
        EXPECT_EQ(table.text("skip"_key), QStringLiteral("Skip")) << language;
        EXPECT_EQ(table.text("skip"_key, Table::Errors), QStringLiteral("skip"));
        EXPECT_EQ(table.text("no such key ü"), QStringLiteral("no such key ü"));
        EXPECT_EQ(table.text("log_name"_key), QStringLiteral(" %@.log")) << "with its blank";
        EXPECT_TRUE(table.text("items_erased"_key).endsWith(QLatin1Char('\n')));
    }
}

TEST(StringTable, FillsPlaceholdersInOrderAndLiterally) {
    const auto filled = [](const char* format, const QStringList& arguments) {
        return StringTable::filled(QString::fromUtf8(format), arguments).toStdString();
    };
    const QString x = QStringLiteral("x"), sly = QStringLiteral("%@%1\\");
    EXPECT_EQ(filled("%@ of %@", {sly, x}), "%@%1\\ of x");
    EXPECT_EQ(filled("%@ of %@", {x}), "x of %@");
    EXPECT_EQ(filled("100 %", {x}), "100 %");
}

}  // namespace
}  // namespace kestrin
