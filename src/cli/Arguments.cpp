// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Arguments.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/StringTable.h"

namespace kestrin {

namespace {

struct CommandTraits {
    std::string_view name;
    Command command;
    std::size_t fewestOperands;
    std::size_t mostOperands;
};

constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);

constexpr std::array<CommandTraits, 5> kCommands{{
    {"help", Command::Help, 0, 1},
    {"list", Command::List, 0, 0},
    {"show", Command::Show, 0, kAnyNumber},
    {"empty", Command::Empty, 0, kAnyNumber},
    {"erase", Command::Erase, 1, kAnyNumber},
}};

constexpr unsigned bit(Command command) {
    return 1U << static_cast<unsigned>(command);
}
constexpr unsigned kErasing = bit(Command::Empty) | bit(Command::Erase);
constexpr unsigned kEverything = ~0U;

/// The value of "--kind" that stands for entries of every kind.
constexpr std::string_view kAllKinds = "all";

/// Stores an option; `value` is empty for one that takes none. False when the value is not known.
using Store = bool (*)(Arguments& arguments, std::string_view value);

struct OptionTraits {
    std::string_view name;
    unsigned commands;  ///< those that know it, a bit each
    Store store;
    std::string (*values)() = nullptr;  ///< the values that are known; nullptr: it takes none
};

template <class Value>
struct Choice {
    std::string_view word;
    Value value;
};

constexpr std::array<Choice<RefusedEntries>, 3> kRefusedEntries{{
    {"ask", RefusedEntries::Ask},
    {"skip", RefusedEntries::Skip},
    {"erase", RefusedEntries::Erase},
}};

constexpr std::array<Choice<SortOrder>, 4> kSortOrders{{
    {"name", SortOrder::Name},
    {"size", SortOrder::Size},
    {"date", SortOrder::Date},
    {"kind", SortOrder::Kind},
}};

/// The words of the choices, as a list to be read.
template <const auto& kChoices>
std::string wordsOf() {
    std::string words;
    for (const auto& choice : kChoices)
        words.append(words.empty() ? "" : ", ").append(choice.word);
    return words;
}

template <const auto& kChoices, auto Member>
bool storeChoice(Arguments& arguments, std::string_view value) {
    const auto choice =
        std::ranges::find_if(kChoices, [value](const auto& known) { return known.word == value; });
    if (choice == kChoices.end()) return false;
    arguments.*Member = choice->value;
    return true;
}

std::string kindWords() {
    std::string words(kAllKinds);
    for (const EntryKind kind : kEntryKinds)
        words.append(", ").append(kindWord(kind));
    return words;
}

bool storeKind(Arguments& arguments, std::string_view value) {
    arguments.kind = kindWithWord(value);
    return arguments.kind || value == kAllKinds;
}

/// Turns the command into a request for its help page.
bool storeHelp(Arguments& arguments, std::string_view) {
    arguments.helpTopic = arguments.command;
    arguments.command = Command::Help;
    return true;
}

template <bool Arguments::*Flag>
bool storeFlag(Arguments& arguments, std::string_view) {
    return arguments.*Flag = true;
}

constexpr std::array<OptionTraits, 11> kOptions{{
    {"-h", kEverything, storeHelp},
    {"--help", kEverything, storeHelp},
    {"--json", kErasing | bit(Command::List) | bit(Command::Show), storeFlag<&Arguments::json>},
    {"--sort", bit(Command::Show), storeChoice<kSortOrders, &Arguments::sort>,
     wordsOf<kSortOrders>},
    {"--kind", bit(Command::Show) | bit(Command::Empty), storeKind, kindWords},
    {"--yes", kErasing, storeFlag<&Arguments::yes>},
    {"--dry-run", kErasing, storeFlag<&Arguments::dryRun>},
    {"--no-log", kErasing, storeFlag<&Arguments::noLog>},
    {"--quiet", kErasing, storeFlag<&Arguments::quiet>},
    {"--locked", kErasing, storeChoice<kRefusedEntries, &Arguments::locked>,
     wordsOf<kRefusedEntries>},
    {"--forbidden", kErasing, storeChoice<kRefusedEntries, &Arguments::forbidden>,
     wordsOf<kRefusedEntries>},
}};

const CommandTraits* findCommand(std::string_view name) {
    const auto* const found = std::ranges::find(kCommands, name, &CommandTraits::name);
    return found == kCommands.end() ? nullptr : found;
}

const OptionTraits* findOption(std::string_view name, Command command) {
    const auto* const found = std::ranges::find_if(kOptions, [&](const OptionTraits& option) {
        return option.name == name && (option.commands & bit(command)) != 0;
    });
    return found == kOptions.end() ? nullptr : found;
}

/// Reads the words behind a command, from left to right.
class WordReader {
 public:
    WordReader(const CommandTraits& traits, const std::vector<std::string>& words)
        : m_traits(traits), m_words(words) {
        m_arguments.command = traits.command;
    }

    ParsedArguments read();

 private:
    bool isOption(const std::string& word) const {
        return !m_optionsEnded && word.size() > 1 && word.front() == '-';
    }
    void readOperand(const std::string& word);
    void readOption(const std::string& word);
    std::optional<std::string> valueOf(const OptionTraits& option, const std::string& word);
    void checkOperands();
    void fail(std::string_view textKey, std::vector<std::string> names);

    const CommandTraits& m_traits;
    const std::vector<std::string>& m_words;
    std::size_t m_next = 1;
    bool m_optionsEnded = false;
    Arguments m_arguments;
    std::optional<UsageError> m_error;
};

ParsedArguments WordReader::read() {
    while (m_next < m_words.size() && !m_error) {
        const std::string& word = m_words[m_next++];
        if (!isOption(word)) {
            readOperand(word);
        } else if (word == "--") {
            m_optionsEnded = true;
        } else {
            readOption(word);
            if (!m_error && m_arguments.command != m_traits.command) return m_arguments;
        }
    }
    if (!m_error) checkOperands();
    if (m_error) return *m_error;
    return m_arguments;
}

void WordReader::readOperand(const std::string& word) {
    if (word.empty()) return fail("cli_empty_operand"_key, {});
    m_arguments.operands.push_back(word);
}

void WordReader::readOption(const std::string& word) {
    const std::string name = word.substr(0, word.find('='));
    const OptionTraits* const option = findOption(name, m_traits.command);
    if (option == nullptr) return fail("cli_unknown_option"_key, {name});
    const std::optional<std::string> value = valueOf(*option, word);
    if (value && !option->store(m_arguments, *value)) {
        fail("cli_unknown_option_value"_key, {*value, name, option->values()});
    }
}

/// The option's value, empty for an option that takes none; none after an error.
std::optional<std::string> WordReader::valueOf(const OptionTraits& option,
                                               const std::string& word) {
    const std::string name(option.name);
    const bool hasValue = word.size() > name.size();
    if (option.values == nullptr) {
        if (!hasValue) return std::string();
        fail("cli_option_takes_no_value"_key, {name});
        return std::nullopt;
    }
    if (hasValue) return word.substr(name.size() + 1);
    if (m_next < m_words.size()) return m_words[m_next++];
    fail("cli_option_needs_value"_key, {name, option.values()});
    return std::nullopt;
}

void WordReader::checkOperands() {
    const std::vector<std::string>& operands = m_arguments.operands;
    if (operands.size() < m_traits.fewestOperands) {
        fail("cli_too_few_operands"_key, {std::string(m_traits.name)});
    } else if (operands.size() > m_traits.mostOperands) {
        fail("cli_too_many_operands"_key, {operands[m_traits.mostOperands]});
    }
}

void WordReader::fail(std::string_view textKey, std::vector<std::string> names) {
    const bool hasPage = m_traits.command != Command::Help;
    m_error = UsageError{textKey, std::move(names),
                         hasPage ? std::optional(m_traits.command) : std::nullopt};
}

/// "help COMMAND", also written "--help COMMAND".
ParsedArguments readHelp(const std::vector<std::string>& words) {
    ParsedArguments parsed = WordReader(kCommands.front(), words).read();
    auto* const arguments = std::get_if<Arguments>(&parsed);
    if (arguments == nullptr) return parsed;
    arguments->helpTopic.reset();
    if (arguments->operands.empty()) return parsed;
    const CommandTraits* const topic = findCommand(arguments->operands.front());
    if (topic == nullptr) return UsageError{"cli_unknown_command"_key, arguments->operands, {}};
    if (topic->command != Command::Help) arguments->helpTopic = topic->command;
    return parsed;
}

/// Options of the program in the status area. They get here only where that cannot be shown.
UsageError refuseWithoutDesktop(const std::vector<std::string>& words) {
    if (words.size() > 1) return {"cli_too_many_operands"_key, {words[1]}, {}};
    return {"cli_needs_desktop"_key, {words[0]}, {}};
}

}  // namespace

ParsedArguments parseArguments(const std::vector<std::string>& words) {
    if (words.empty()) return UsageError{"cli_no_command"_key, {}, {}};
    const std::string& first = words.front();
    if (first == "help" || first == "-h" || first == "--help") return readHelp(words);
    if (first == "--version") return Arguments{.command = Command::Version};
    if (const CommandTraits* const traits = findCommand(first)) {
        return WordReader(*traits, words).read();
    }
    if (isDesktopOption(first)) return refuseWithoutDesktop(words);
    const bool isOption = first.size() > 1 && first.front() == '-';
    return UsageError{isOption ? "cli_unknown_option"_key : "cli_unknown_command"_key, {first}, {}};
}

bool isDesktopOption(std::string_view word) {
    constexpr std::array<std::string_view, 5> kOptions{"--empty-all", "--smart-window",
                                                       "--preferences", "--login", "--quit"};
    return std::ranges::find(kOptions, word) != kOptions.end();
}

std::string_view commandName(Command command) {
    const auto* const found = std::ranges::find(kCommands, command, &CommandTraits::command);
    return found == kCommands.end() ? std::string_view() : found->name;
}

}  // namespace kestrin
