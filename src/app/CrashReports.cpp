// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CrashReports.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <QDateTime>
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <iomanip>
#include <sstream>
#include <utility>
#include <vector>

#include "base/LastLogLines.h"
#include "base/MainThread.h"
#include "base/WriteAll.h"
#include "format/DisplayName.h"
#include "platform/items/FolderListing.h"
#include "platform/items/SmallFile.h"
#include "platform/items/UniqueFd.h"
#include "platform/processes/AnswerWithin.h"
#include "platform/processes/BackgroundPriority.h"
#include "platform/processes/CrashHandler.h"
#include "platform/processes/Symbols.h"

namespace kestrin {
namespace {

constexpr std::size_t kLongestRawReport = std::size_t{1} << 20;
constexpr std::time_t kLongestWriting = 60;  // seconds; the handler gives up long before
constexpr std::string_view kReportName = "Report ";
constexpr std::string_view kEnd = "end\n";

// --- Reading ---

/// Takes the next word, up to `end`, off the text; all that is left when there is no `end`.
std::string_view take(std::string_view& text, char end = ' ') {
    const std::string_view word = text.substr(0, text.find(end));
    text.remove_prefix(std::min(word.size() + 1, text.size()));
    return word;
}

std::uint64_t takeNumber(std::string_view& text) {
    const std::string_view word = take(text);
    std::uint64_t number = 0;
    std::from_chars(word.data(), word.data() + word.size(), number, 16);
    return number;
}

/// Whatever the file holds, this is one line.
std::string shown(std::string_view text) {
    return displayName(text).toStdString();
}

struct RawReport {
    std::string version;
    std::uint64_t time = 0;
    std::uint64_t signal = 0;
    std::uint64_t code = 0;
    std::uint64_t address = 0;
    std::string thread;
    std::string exception;
    std::string what;
    std::vector<std::pair<std::string, std::uint64_t>> registers;
    std::vector<CodeModule> modules;
    std::vector<std::string> log;
    std::vector<std::uint64_t> frames;
    bool isWhole = false;
};

void readLine(std::string_view line, RawReport& report) {
    const std::string_view key = take(line);
    if (key == "version") report.version = shown(line);
    if (key == "time") report.time = takeNumber(line);
    if (key == "thread") report.thread = shown(line);
    if (key == "exception") report.exception = line;
    if (key == "what") report.what = shown(withoutNames(line));
    if (key == "log") report.log.push_back(shown(withoutNames(line)));
    if (key == "frame") report.frames.push_back(takeNumber(line));
    if (key == "end") report.isWhole = true;
    if (key == "signal") {
        report.signal = takeNumber(line);
        report.code = takeNumber(line);
        report.address = takeNumber(line);
    }
    if (key == "register") {
        const std::string_view name = take(line);
        report.registers.emplace_back(shown(name), takeNumber(line));
    }
    if (key == "module") {
        CodeModule module;
        module.begin = takeNumber(line);
        module.end = takeNumber(line);
        module.buildId = shown(take(line));
        module.path = line;
        report.modules.push_back(std::move(module));
    }
}

RawReport rawReport(std::string_view bytes) {
    RawReport report;
    while (!bytes.empty())
        readLine(take(bytes, '\n'), report);
    return report;
}

// --- Writing ---

std::string hexadecimal(std::uint64_t number) {
    std::ostringstream text;
    text << "0x" << std::hex << number;
    return text.str();
}

QDateTime dateOf(const RawReport& report) {
    return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(report.time), Qt::UTC);
}

/// The file's name alone: its folder may be a user's.
std::string nameOf(const CodeModule& module) {
    return shown(std::string_view(module.path).substr(module.path.rfind('/') + 1));
}

void writeHead(std::ostream& text, const RawReport& report) {
    const int signal = static_cast<int>(report.signal);
    text << "Kestrin " << report.version << " crashed.\n\n"
         << "Date: " << dateOf(report).toString(Qt::ISODate).toStdString() << '\n'
         << "Signal: " << signal << " (" << ::strsignal(signal) << "), code "
         << static_cast<int>(report.code) << ", address " << hexadecimal(report.address) << '\n'
         << "Thread: " << report.thread << '\n';
    if (!report.exception.empty()) {
        text << "Exception: " << shown(plainSymbol(report.exception)) << '\n';
        text << "Says: " << report.what << '\n';
    }
}

/// A return address stands behind its call, which may be the last thing in its function: what is
/// looked up is the byte before.
std::vector<std::uint64_t> placesOf(const RawReport& report) {
    std::vector<std::uint64_t> places = report.frames;
    for (std::size_t at = 1; at < places.size(); ++at)
        --places[at];
    return places;
}

void writeCalls(std::ostream& text, const RawReport& report) {
    const std::vector<std::string> symbols = symbolsAt(placesOf(report), report.modules);
    text << "\nCalls, the last one first:\n";
    for (std::size_t at = 0; at < report.frames.size(); ++at) {
        const std::uint64_t address = report.frames[at];
        text << std::setw(4) << at << "  ";
        const auto module = std::find_if(
            report.modules.begin(), report.modules.end(),
            [address](const auto& each) { return address >= each.begin && address < each.end; });
        if (module == report.modules.end()) {
            text << hexadecimal(address) << '\n';
            continue;
        }
        text << nameOf(*module) << " + " << hexadecimal(address - module->begin);
        text << (symbols[at].empty() ? "" : "  ") << shown(symbols[at]) << '\n';
    }
    if (!report.isWhole) text << "      (the rest is unknown: the process ended here)\n";
}

// --- Files ---

/// A new report in the folder. Empty when it cannot be written.
std::string writeReport(int folder, const RawReport& report, const std::string& text) {
    const std::string date =
        dateOf(report).toString(QStringLiteral("yyyy-MM-dd HH.mm.ss")).toStdString();
    for (int number = 1; number <= kRawCrashReports; ++number) {
        const std::string name = std::string(kReportName) + date +
                                 (number > 1 ? " " + std::to_string(number) : "") + ".txt";
        const UniqueFd file(::openat(folder, name.c_str(),
                                     O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!file && errno == EEXIST) continue;
        if (!file) return {};
        if (writeAll(file.get(), text)) return name;
        ::unlinkat(folder, name.c_str(), 0);
        return {};
    }
    return {};
}

bool isBeingWritten(int folder, const std::string& name) {
    struct stat status {};
    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           status.st_mtime + kLongestWriting > std::time(nullptr);
}

/// The names in the folder that begin so, in their order: that of their dates, where they have one.
std::vector<std::string> namesBeginningWith(int folder, std::string_view beginning) {
    constexpr std::size_t kMostNames = 1000;
    std::vector<std::string> names;
    for (ListedName& entry : FolderListing(folder).next(kMostNames)) {
        if (!S_ISDIR(entry.mode) && entry.name.starts_with(beginning))
            names.push_back(std::move(entry.name));
    }
    std::sort(names.begin(), names.end());
    return names;
}

void removeOldReports(int folder) {
    const std::vector<std::string> names = namesBeginningWith(folder, kReportName);
    for (std::size_t at = 0; at + kKeptCrashReports < names.size(); ++at)
        ::unlinkat(folder, names[at].c_str(), 0);
}

}  // namespace

std::string crashReportText(std::string_view raw) {
    const RawReport report = rawReport(raw);
    std::ostringstream text;
    writeHead(text, report);
    writeCalls(text, report);
    text << "\nRegisters:\n";
    for (const auto& [name, value] : report.registers)
        text << "  " << std::left << std::setw(6) << name << hexadecimal(value) << '\n';
    text << "\nPrograms and libraries, with their build ids:\n";
    for (const CodeModule& module : report.modules) {
        text << "  " << hexadecimal(module.begin) << "  " << module.buildId << "  "
             << nameOf(module) << '\n';
    }
    text << "\nLast lines of the log, without names:\n";
    for (const std::string& line : report.log)
        text << "  " << line << '\n';
    return text.str();
}

std::optional<FileUrl> finishCrashReports(const FileUrl& folder) {
    const UniqueFd opened(
        ::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened) return std::nullopt;  // as ever, when there never was a crash
    std::string newest;
    for (const std::string& name : namesBeginningWith(opened.get(), kRawCrashReportName)) {
        const auto raw = readSmallFile(folder.appending(name), kLongestRawReport, LastLink::Refuse);
        if (!raw || (!raw->ends_with(kEnd) && isBeingWritten(opened.get(), name))) continue;
        const std::string report =
            writeReport(opened.get(), rawReport(*raw), crashReportText(*raw));
        if (report.empty()) continue;
        ::unlinkat(opened.get(), name.c_str(), 0);
        newest = std::max(newest, report);
    }
    if (newest.empty()) return std::nullopt;
    removeOldReports(opened.get());
    return folder.appending(newest);
}

void findCrashReport(const FileUrl& folder, std::function<void(const FileUrl& report)> found) {
    // The home folder may lie on a server that does not answer.
    runAbandoned([folder, found = std::move(found)] {
        std::optional<FileUrl> report;
        runAtBackgroundPriority([&] { report = finishCrashReports(folder); });
        if (report) MainThread::post([found, report = *report] { found(report); });
    });
}

}  // namespace kestrin
