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
    EXPECT_EQ(accepted({"erase", "-", "a=b", "--", "--json", "-x", "--"}).operands,
              (Words{"-", "a=b", "--json", "-x", "--"}));
}

TEST(Arguments, MistakesAreNamed) {
    using Error = std::pair<std::string, std::string>;
    const std::vector<std::pair<Words, Error>> cases{
        {{}, {"cli_no_command", ""}},
        {{"empt"}, {"cli_unknown_command", "empt"}},
        {{"--quit"}, {"cli_needs_desktop", "--quit"}},
        {{"--empty-all", "x"}, {"cli_too_many_operands", "x"}},
        {{"help", "empt"}, {"cli_unknown_command", "empt"}},
        {{"help", "list", "show"}, {"cli_too_many_operands", "show"}},
        {{"erase"}, {"cli_too_few_operands", "erase"}},
        {{"erase", "--yes", "--"}, {"cli_too_few_operands", "erase"}},
        {{"erase", "a", ""}, {"cli_empty_operand", ""}},
        {{"list", "--yes"}, {"cli_unknown_option", "--yes"}},
        {{"empty", "--bogus=1"}, {"cli_unknown_option", "--bogus"}},
        {{"empty", "--yes=no"}, {"cli_option_takes_no_value", "--yes"}},
        {{"empty", "--locked"}, {"cli_option_needs_value", "--locked"}},
        {{"empty", "--locked="}, {"cli_unknown_option_value", ""}},
        {{"show", "--sort=kind"}, {"cli_unknown_option_value", "kind"}},
    };
    for (const auto& [words, error] : cases)
        EXPECT_EQ(refused(words), error);
}

}  // namespace
}  // namespace kestrin
