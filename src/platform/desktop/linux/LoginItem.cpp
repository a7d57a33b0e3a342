// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/LoginItem.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QUtf8StringView>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "base/ReplacementFile.h"
#include "platform/desktop/Places.h"
#include "platform/items/HostErrors.h"
#include "platform/items/KeyFile.h"

namespace kestrin {
namespace {

constexpr std::string_view kGroup = "Desktop Entry";
constexpr std::string_view kHidden = "Hidden";
constexpr std::string_view kSwitch = "X-GNOME-Autostart-enabled";
/// The command as this program wrote it last: another one in "Exec" is the user's.
constexpr std::string_view kOwnCommand = "X-Kestrin-Exec";
constexpr std::size_t kLongestEntry = std::size_t{1} << 20;
constexpr mode_t kEntryMode = 0644;

bool isFolder(const FileUrl& url) {
    struct stat status;
    return ::stat(url.path().c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

HostError noPlace() {
    const std::string reason = "SMLoginItemSetEnabled failed";
    return {.domain = std::string(kPOSIXErrorDomain),
            .code = EINVAL,
            .systemError = EINVAL,
            .userInfo = {{"failureReason", reason},
                         {"errorString", std::strerror(EINVAL) + (": " + reason)}}};
}

HostError writeError(int reason) {
    return errorFromErrno(reason, HostAccess::Write);
}

// --- What an entry says ---

std::vector<std::string> listOf(std::string_view text, char separator) {
    std::vector<std::string> parts;
    while (!text.empty()) {
        const auto end = std::min(text.find(separator), text.size());
        if (end > 0) parts.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

std::vector<std::string> currentDesktops() {
    const char* names = std::getenv("XDG_CURRENT_DESKTOP");
    return listOf(names ? names : "", ':');
}

bool namesAny(std::string_view list, const std::vector<std::string>& desktops) {
    const auto names = listOf(list, ';');
    return std::ranges::any_of(names, [&](const std::string& name) {
        return std::ranges::find(desktops, name) != desktops.end();
    });
}

bool isForThisDesktop(const KeyFile& entry) {
    const auto desktops = currentDesktops();
    if (desktops.empty()) return true;  // a session that does not say what it is
    const auto only = entry.rawValue(kGroup, "OnlyShowIn");
    const auto never = entry.rawValue(kGroup, "NotShowIn");
    return (!only || namesAny(*only, desktops)) && (!never || !namesAny(*never, desktops));
}

bool isEnabled(const KeyFile& entry) {
    return !entry.flag(kGroup, kHidden) && entry.rawValue(kGroup, kSwitch) != "false" &&
           isForThisDesktop(entry);
}

/// Whether this is an entry for this program, or was one before the user changed its command.
bool isOwn(const KeyFile& entry) {
    if (entry.rawValue(kGroup, kOwnCommand)) return true;
    const auto command = entry.rawValue(kGroup, "Exec");
    return command && command->find(ownProgram().lastPathComponent()) != std::string_view::npos;
}

// --- What an entry is to say ---

/// The text of an entry, changed a line at a time.
class EntryText {
 public:
    explicit EntryText(std::string_view text) {
        while (!text.empty()) {
            const auto end = std::min(text.find('\n'), text.size());
            m_lines.emplace_back(text.substr(0, end));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
    }

    void set(std::string_view key, std::string_view value) {
        const std::string line = std::string(key) + "=" + std::string(value);
        if (const auto found = find(key); found != m_lines.end()) {
            *found = line;
        } else {
            m_lines.insert(end(), line);
        }
    }
    void remove(std::string_view key) {
        for (auto found = find(key); found != m_lines.end(); found = find(key))
            m_lines.erase(found);
    }
    std::string text() const {
        std::string text;
        for (const std::string& line : m_lines)
            text += line + "\n";
        return text;
    }

 private:
    using Line = std::vector<std::string>::iterator;

    static std::string_view content(std::string_view line) {
        return line.substr(std::min(line.find_first_not_of(" \t\r"), line.size()));
    }
    static bool opensGroup(std::string_view line) { return content(line).starts_with('['); }

    /// The first line of the group; one is made where there is none.
    Line begin() {
        const std::string header = "[" + std::string(kGroup) + "]";
        auto found = std::ranges::find_if(
            m_lines, [&](const std::string& line) { return content(line).starts_with(header); });
        if (found == m_lines.end()) found = m_lines.insert(m_lines.begin(), header);
        return found + 1;
    }
    /// Behind the last line of the group that is not blank.
    Line end() {
        const Line first = begin();
        auto last = std::find_if(first, m_lines.end(), opensGroup);
        while (last != first && content(*(last - 1)).empty())
            --last;
        return last;
    }
    Line find(std::string_view key) {
        const Line first = begin();
        const auto last = std::find_if(first, m_lines.end(), opensGroup);
        const auto found = std::find_if(first, last, [&](std::string_view line) {
            line = content(line);
            return line.starts_with(key) && content(line.substr(key.size())).starts_with('=');
        });
        return found == last ? m_lines.end() : found;
    }

    std::vector<std::string> m_lines;
};

/// The value of "Exec", quoted for the command line and then escaped for the file.
/// Source: FreeDesktop.org desktop entry specification, "The Exec key".
std::string command(const std::string& program) {
    std::string quoted = "\"";
    for (const char letter : program) {
        if (std::strchr("\"`$\\", letter)) quoted += '\\';
        quoted += letter;
        if (letter == '%') quoted += '%';
    }
    std::string escaped;
    for (const char letter : quoted + "\" --login") {
        constexpr std::string_view kEscaped = "\\\n\t\r";
        constexpr std::string_view kEscapes = "\\ntr";
        const auto escape = kEscaped.find(letter);
        if (escape != std::string_view::npos) escaped += '\\';
        escaped += escape == std::string_view::npos ? letter : kEscapes[escape];
    }
    return escaped;
}

/// Takes back what keeps the entry from being started on this desktop.
void switchOn(EntryText& text, const KeyFile& entry) {
    text.remove(kHidden);
    text.set(kSwitch, "true");
    if (isForThisDesktop(entry)) return;
    const auto desktops = currentDesktops();
    const auto only = entry.rawValue(kGroup, "OnlyShowIn");
    if (only && !namesAny(*only, desktops)) {
        const std::string separator = only->empty() || only->ends_with(';') ? "" : ";";
        text.set("OnlyShowIn", std::string(*only) + separator + desktops.front() + ";");
    }
    std::string never;
    for (const auto& name : listOf(entry.rawValue(kGroup, "NotShowIn").value_or(""), ';'))
        if (std::ranges::find(desktops, name) == desktops.end()) never += name + ";";
    text.remove("NotShowIn");
    if (!never.empty()) text.set("NotShowIn", never);
}

/// The text of the entry with all that it needs.
std::string enabledEntry(const std::string& before) {
    const KeyFile entry = KeyFile::parse(before);
    EntryText text(before);
    const auto setIfMissing = [&](std::string_view key, std::string_view value) {
        if (!entry.rawValue(kGroup, key)) text.set(key, value);
    };
    setIfMissing("Type", "Application");
    setIfMissing("Name", "Kestrin");
    const auto present = entry.rawValue(kGroup, "Exec");
    if (!present || present == entry.rawValue(kGroup, kOwnCommand)) {
        text.set("Exec", command(ownProgram().path()));
        text.set(kOwnCommand, command(ownProgram().path()));
    }
    setIfMissing("Icon", "kestrin");
    setIfMissing("Terminal", "false");
    if (!isEnabled(entry) || !entry.rawValue(kGroup, kSwitch)) switchOn(text, entry);
    return text.text();
}

bool isUtf8(const std::string& text) {
    return QUtf8StringView(text.data(), static_cast<qsizetype>(text.size())).isValidUtf8();
}

MaybeError addEntry(const FileUrl& file) {
    const std::string text = enabledEntry({});
    if (!isUtf8(text)) return writeError(EILSEQ);  // no desktop reads such an entry
    if (!makeFolders(file.parent().path())) return writeError(errno);
    ReplacementFile entry(file.path(), text, kEntryMode);
    if (!entry.isComplete() || !entry.appear()) return writeError(errno);
    return std::nullopt;
}

MaybeError changeEntry(const FileUrl& file, mode_t mode) {
    const auto before = readSmallFile(file, kLongestEntry, LastLink::Refuse);
    if (!before) return writeError(EACCES);
    if (!before->empty() && !isOwn(KeyFile::parse(*before))) return writeError(EEXIST);
    const std::string text = enabledEntry(*before);
    if (text == *before) return std::nullopt;
    if (!isUtf8(text)) return writeError(EILSEQ);
    if (::access(file.path().c_str(), W_OK) != 0) {
        const int reason = errno;
        // Somebody else keeps it so, and what it lacks is not needed for it to be in force.
        return isEnabled(KeyFile::parse(*before)) ? MaybeError() : writeError(reason);
    }
    ReplacementFile entry(file.path(), text, mode & 0777);
    if (!entry.isComplete() || !entry.replace()) return writeError(errno);
    return std::nullopt;
}

}  // namespace

FileUrl loginItemFile() {
    const FileUrl configuration = location(Place::PreferencesFile).parent();
    const FileUrl above = configuration.parent();
    // The home of a user without one is the root.
    const bool canBeMade = above.path() != "/" && isFolder(above);
    if (!isFolder(configuration) && !canBeMade) return {};
    return configuration.appending("autostart/com.quorvane.Kestrin3.desktop");
}

MaybeError setLoginItemEnabled(bool isEnabled) {
    const FileUrl file = loginItemFile();
    if (file.isEmpty() && !isEnabled) return std::nullopt;
    if (file.isEmpty()) return noPlace();
    struct stat status;
    if (::lstat(file.path().c_str(), &status) != 0) {
        if (errno == ENOENT) return isEnabled ? addEntry(file) : std::nullopt;
        return errno == ENOTDIR && !isEnabled ? std::nullopt : MaybeError(writeError(errno));
    }
    const bool isSo = loginItemIsEnabled() == isEnabled;
    if (isSo && (!isEnabled || S_ISLNK(status.st_mode))) return std::nullopt;
    if (S_ISLNK(status.st_mode)) return writeError(ELOOP);
    if (!S_ISREG(status.st_mode)) return writeError(S_ISDIR(status.st_mode) ? EISDIR : EEXIST);
    return isEnabled ? changeEntry(file, status.st_mode) : removeLoginItem();
}

MaybeError removeLoginItem() {
    const FileUrl file = loginItemFile();
    const auto entry = KeyFile::read(file, LastLink::Refuse);
    if (!entry || !isOwn(*entry) || ::unlink(file.path().c_str()) == 0) return std::nullopt;
    return writeError(errno);
}

std::optional<bool> loginItemIsEnabled() {
    const FileUrl file = loginItemFile();
    if (file.isEmpty()) return std::nullopt;
    const auto entry = KeyFile::read(file, LastLink::Follow);
    if (!entry || !entry->rawValue(kGroup, "Exec")) return std::nullopt;
    return isEnabled(*entry);
}

bool loginItemGoesByDesktop() {
    const auto entry = KeyFile::read(loginItemFile(), LastLink::Follow);
    return entry && (entry->rawValue(kGroup, "OnlyShowIn") || entry->rawValue(kGroup, "NotShowIn"));
}

}  // namespace kestrin
