// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "cli/Answers.h"
#include "cli/Arguments.h"
#include "cli/Paths.h"
#include "cli/VolumeChoice.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using Words = std::vector<std::string>;

Arguments accepted(const Words& words) {
    const ParsedArguments parsed = parseArguments(words);
    const auto* const arguments = std::get_if<Arguments>(&parsed);
    EXPECT_NE(arguments, nullptr) << std::get<UsageError>(parsed).textKey;
    return arguments == nullptr ? Arguments{} : *arguments;
}

/// The key of the error and the names that it tells.
std::pair<std::string, Words> refused(const Words& words) {
    const ParsedArguments parsed = parseArguments(words);
    const auto* const error = std::get_if<UsageError>(&parsed);
    if (error == nullptr) return {"accepted", {}};
    return {std::string(error->textKey), error->names};
}

TEST(Arguments, OptionsStandAnywhereAndTakeTheirValueEitherWay) {
    for (const Words& words : {Words{"erase", "--locked", "erase", "--yes", "a", "b"},
                               Words{"erase", "a", "--locked=erase", "b", "--yes"}}) {
        const Arguments arguments = accepted(words);
        EXPECT_EQ(arguments.command, Command::Erase);
        EXPECT_EQ(arguments.operands, (Words{"a", "b"}));
        EXPECT_EQ(arguments.locked, RefusedEntries::Erase);
        EXPECT_EQ(arguments.forbidden, RefusedEntries::Ask);
        EXPECT_TRUE(arguments.yes);
        EXPECT_FALSE(arguments.dryRun);
    }
    EXPECT_EQ(accepted({"empty", "--forbidden=erase", "--forbidden=skip"}).forbidden,
              RefusedEntries::Skip);
    EXPECT_EQ(accepted({"empty", "A", "--kind=sounds", "B"}).kind, EntryKind::Sounds);
    EXPECT_EQ(accepted({"show", "--kind=sounds", "--kind", "all"}).kind, std::nullopt);
    EXPECT_EQ(accepted({"erase", "-", "a=b", "--", "--json", "-x", "--"}).operands,
              (Words{"-", "a=b", "--json", "-x", "--"}));
}

TEST(Arguments, MistakesAreNamed) {
    using Error = std::pair<std::string, Words>;
    const std::string kinds =
        "all, images, sounds, movies, archives, documents, text, fonts, folders, other";
    const std::vector<std::pair<Words, Error>> cases{
        {{}, {"cli_no_command", {}}},
        {{"empt"}, {"cli_unknown_command", {"empt"}}},
        {{"--quit"}, {"cli_needs_desktop", {"--quit"}}},
        {{"--login"}, {"cli_needs_desktop", {"--login"}}},
        {{"--empty-all", "x"}, {"cli_too_many_operands", {"x"}}},
        {{"help", "empt"}, {"cli_unknown_command", {"empt"}}},
        {{"help", "list", "show"}, {"cli_too_many_operands", {"show"}}},
        {{"erase"}, {"cli_too_few_operands", {"erase"}}},
        {{"erase", "--yes", "--"}, {"cli_too_few_operands", {"erase"}}},
        {{"erase", "a", ""}, {"cli_empty_operand", {}}},
        {{"list", "--yes"}, {"cli_unknown_option", {"--yes"}}},
        {{"empty", "--bogus=1"}, {"cli_unknown_option", {"--bogus"}}},
        {{"erase", "--kind=images", "a"}, {"cli_unknown_option", {"--kind"}}},
        {{"empty", "--yes", "--kind", "Images"},
         {"cli_unknown_option_value", {"Images", "--kind", kinds}}},
        {{"show", "--kind"}, {"cli_option_needs_value", {"--kind", kinds}}},
        {{"empty", "--yes=no"}, {"cli_option_takes_no_value", {"--yes"}}},
        {{"empty", "--locked"}, {"cli_option_needs_value", {"--locked", "ask, skip, erase"}}},
        {{"empty", "--locked="},
         {"cli_unknown_option_value", {"", "--locked", "ask, skip, erase"}}},
        {{"show", "--sort", "Size"},
         {"cli_unknown_option_value", {"Size", "--sort", "name, size, date, kind"}}},
    };
    for (const auto& [words, error] : cases)
        EXPECT_EQ(refused(words), error);
}

TEST(Answers, RefusedEntriesAreSkippedOrErasedOnceOrForAllAndAnythingElseIsNoAnswer) {
    for (const char* line : {"s", " Skip "})
        EXPECT_EQ(refusedAnswer(line), (RefusedAnswer{false, false}));
    for (const char* line : {"s all", "SKIPALL"})
        EXPECT_EQ(refusedAnswer(line), (RefusedAnswer{false, true}));
    EXPECT_EQ(refusedAnswer("E"), (RefusedAnswer{true, false}));
    EXPECT_EQ(refusedAnswer("erase\tall"), (RefusedAnswer{true, true}));
    for (const char* line : {"", "all", "y", "se", "eraser", "all e", "e all all", "sal"})
        EXPECT_FALSE(refusedAnswer(line)) << line;
}

TEST(Paths, OperandsBecomeLocationsByteForByte) {
    const test::ScratchFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    EXPECT_EQ(locationOfOperand("a/b/"), FileUrl::fromPath(folder / "a/b"));
    EXPECT_EQ(locationOfOperand("-\xff%41"), FileUrl::fromPath(folder / "-\xff%41"));
    std::filesystem::current_path("/");
    EXPECT_EQ(locationOfOperand("a"), FileUrl::fromPath("/a"));
    std::filesystem::current_path(before);
    EXPECT_EQ(locationOfOperand("/x//"), FileUrl::fromPath("/x"));
    EXPECT_EQ(locationOfOperand("file:///a%0A%FF"), FileUrl::fromPath("/a\n\xff"));
    EXPECT_FALSE(locationOfOperand("file:///a%0"));
    EXPECT_FALSE(locationOfOperand("file://elsewhere/a"));
}

using Indexes = std::vector<std::size_t>;

ListedVolume volume(const FileUrl& url, const QString& name) {
    return {.url = url, .name = name, .problem = {}};
}

TEST(VolumeChoice, APathNamesItsVolumeHoweverItIsSpelledAndANameWhenItIsTheOnlyOne) {
    const test::ScratchFolder folder;
    test::makeFolder(folder / "one/inside");
    ASSERT_EQ(::symlink("one", (folder / "link").c_str()), 0);
    const FileUrl one = *resolved(FileUrl::fromPath(folder / "one"));
    // A path never means another volume's name.
    const std::vector<ListedVolume> volumes = {
        volume(one, QStringLiteral("Backup")),
        volume(FileUrl::fromPath("/two"), QStringLiteral("Same")),
        volume(FileUrl::fromPath("/three"), QStringLiteral("Same")),
        volume(FileUrl::fromPath("/four"), QString::fromStdString(one.path()))};
    for (const std::string& operand : {one.path(), one.path() + "//", one.path() + "/inside/..",
                                       folder / "link", std::string("Backup")})
        EXPECT_EQ(volumesMeantBy(operand, volumes), Indexes{0}) << operand;
    for (const std::string& operand :
         {std::string("backup"), folder / "one/inside", folder.path(), folder / "nothing"})
        EXPECT_EQ(volumesMeantBy(operand, volumes), Indexes{}) << operand;
    EXPECT_EQ(volumesMeantBy("Same", volumes), (Indexes{1, 2}));
}

}  // namespace
}  // namespace kestrin
