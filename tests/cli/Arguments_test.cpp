// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Arguments.h"

#include <gtest/gtest.h>

namespace kestrin {
namespace {

using Words = std::vector<std::string>;

Arguments accepted(const Words& words) {
    const ParsedArguments parsed = parseArguments(words);
    const auto* const arguments = std::get_if<Arguments>(&parsed);
    EXPECT_NE(arguments, nullptr) << std::get<UsageError>(parsed).textKey;
    return arguments == nullptr ? Arguments{} : *arguments;
}

/// The key of the error and the first name that it tells.
std::pair<std::string, std::string> refused(const Words& words) {
    const ParsedArguments parsed = parseArguments(words);
    const auto* const error = std::get_if<UsageError>(&parsed);
    if (error == nullptr) return {"accepted", ""};
    return {std::string(error->textKey), error->names.empty() ? "" : error->names.front()};
}

TEST(Arguments, OptionsStandAnywhereAndTakeTheirValueEitherWay) {
    const Arguments before = accepted({"erase", "--locked", "erase", "--yes", "a", "b"});
    const Arguments after = accepted({"erase", "a", "--locked=erase", "b", "--yes"});
    for (const Arguments& arguments : {before, after}) {
        EXPECT_EQ(arguments.command, Command::Erase);
        EXPECT_EQ(arguments.operands, (Words{"a", "b"}));
        EXPECT_EQ(arguments.locked, RefusedEntries::Erase);
        EXPECT_EQ(arguments.forbidden, RefusedEntries::Ask);
        EXPECT_TRUE(arguments.yes);
        EXPECT_FALSE(arguments.dryRun);
    }
}

TEST(Arguments, EveryOptionReachesItsPlace) {
    const Arguments empty = accepted({"empty", "--dry-run", "--no-log", "--quiet", "--json",
                                      "--forbidden=erase", "--forbidden=skip"});
    EXPECT_TRUE(empty.dryRun && empty.noLog && empty.quiet && empty.json);
    EXPECT_EQ(empty.forbidden, RefusedEntries::Skip);
    EXPECT_EQ(empty.locked, RefusedEntries::Ask);
    EXPECT_TRUE(empty.operands.empty());
    EXPECT_EQ(accepted({"show", "--sort", "date"}).sort, SortOrder::Date);
    EXPECT_EQ(accepted({"show", "--sort=size"}).sort, SortOrder::Size);
}

TEST(Arguments, TwoHyphensEndTheOptions) {
    EXPECT_EQ(accepted({"erase", "--yes", "--", "--json", "-x", "--"}).operands,
              (Words{"--json", "-x", "--"}));
    EXPECT_EQ(accepted({"erase", "-"}).operands, Words{"-"});
    EXPECT_EQ(accepted({"erase", "a=b", "\xff\n"}).operands, (Words{"a=b", "\xff\n"}));
}

TEST(Arguments, HelpAndVersion) {
    for (const Words& words :
         {Words{"help"}, Words{"-h"}, Words{"--help"}, Words{"help", "help"}}) {
        EXPECT_EQ(accepted(words).command, Command::Help);
        EXPECT_FALSE(accepted(words).helpTopic);
    }
    for (const Words& words :
         {Words{"help", "erase"}, Words{"erase", "--help"}, Words{"erase", "-h"},
          Words{"erase", "--yes", "x", "--help", "--bogus"}}) {
        EXPECT_EQ(accepted(words).command, Command::Help);
        EXPECT_EQ(accepted(words).helpTopic, Command::Erase);
    }
    EXPECT_EQ(accepted({"--version"}).command, Command::Version);
}

TEST(Arguments, MistakesAreNamed) {
    using Error = std::pair<std::string, std::string>;
    const std::vector<std::pair<Words, Error>> cases{
        {{}, {"cli_no_command", ""}},
        {{"empt"}, {"cli_unknown_command", "empt"}},
        {{""}, {"cli_unknown_command", ""}},
        {{"--yes"}, {"cli_unknown_option", "--yes"}},
        {{"--quit"}, {"cli_needs_desktop", "--quit"}},
        {{"--empty-all", "x"}, {"cli_too_many_operands", "x"}},
        {{"help", "empt"}, {"cli_unknown_command", "empt"}},
        {{"help", "list", "show"}, {"cli_too_many_operands", "show"}},
        {{"list", "x"}, {"cli_too_many_operands", "x"}},
        {{"show", "x", "y"}, {"cli_too_many_operands", "y"}},
        {{"erase"}, {"cli_too_few_operands", "erase"}},
        {{"erase", "--yes", "--"}, {"cli_too_few_operands", "erase"}},
        {{"erase", "a", ""}, {"cli_empty_operand", ""}},
        {{"empty", "--", ""}, {"cli_empty_operand", ""}},
        {{"list", "--yes"}, {"cli_unknown_option", "--yes"}},
        {{"empty", "--bogus=1"}, {"cli_unknown_option", "--bogus"}},
        {{"empty", "-y"}, {"cli_unknown_option", "-y"}},
        {{"empty", "--ye"}, {"cli_unknown_option", "--ye"}},
        {{"empty", "--yes=no"}, {"cli_option_takes_no_value", "--yes"}},
        {{"empty", "--yes="}, {"cli_option_takes_no_value", "--yes"}},
        {{"empty", "--locked"}, {"cli_option_needs_value", "--locked"}},
        {{"empty", "--locked="}, {"cli_unknown_option_value", ""}},
        {{"empty", "--locked", "--yes"}, {"cli_unknown_option_value", "--yes"}},
        {{"empty", "--forbidden=Erase"}, {"cli_unknown_option_value", "Erase"}},
        {{"show", "--sort=kind"}, {"cli_unknown_option_value", "kind"}},
    };
    for (const auto& [words, error] : cases)
        EXPECT_EQ(refused(words), error);
}

TEST(Arguments, ErrorsPointAtTheHelpPageOfTheCommand) {
    EXPECT_EQ(std::get<UsageError>(parseArguments({"show", "--x"})).helpTopic, Command::Show);
    EXPECT_FALSE(std::get<UsageError>(parseArguments({"help", "--x"})).helpTopic);
}

}  // namespace
}  // namespace kestrin
