// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/UserDefaults.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "base/HomeFolder.h"
#include "base/IniFile.h"
#include "base/SettingValues.h"
#include "base/SettingsFile.h"
#include "base/SystemLog.h"

namespace kestrin {
namespace {

constexpr std::string_view kKeyPathPrefix = "values.";
constexpr std::string_view kDomainFile = "com.quorvane.kestrin-3.conf";
constexpr std::string_view kIsFirstRun = "is_first_run";
constexpr int kFormat = 1;

/// What a file that this program makes begins with.
IniFile newSettings() {
    IniFile settings;
    settings.set(IniFile::kGeneral, kSettingsFormat, std::to_string(kFormat));
    return settings;
}

bool isOfNewerFormat(const IniFile& settings) {
    const auto sections = settings.sections();
    const auto general = sections.find(IniFile::kGeneral);
    if (general == sections.end()) return false;
    const auto format = general->second.find(kSettingsFormat);
    return format != general->second.end() &&
           readInteger(QString::fromStdString(format->second)).value_or(kFormat) > kFormat;
}

std::string systemText(int reason) {
    return reason == 0 ? std::string() : std::strerror(reason);
}

std::string logText(const SettingsProblem& problem) {
    using Kind = SettingsProblem::Kind;
    switch (problem.kind) {
        case Kind::Unusable:
            return "cannot be used: " + (problem.reason.empty() ? "no settings" : problem.reason);
        case Kind::MovedAside:
            return "could not be used and is now " + problem.movedTo;
        case Kind::NotWritten:
            return "cannot be written: " + problem.reason;
        case Kind::NewerFormat:
            return "were written by a newer version";
    }
    return {};
}

/// $XDG_CONFIG_HOME when it is absolute, else ~/.config; empty for a user without a home.
std::string configurationFolder() {
    const char* folder = std::getenv("XDG_CONFIG_HOME");
    if (folder && *folder == '/') return folder;
    const std::string home = homeFolder();
    return home == "/" ? std::string() : home + "/.config";
}

QVariantMap shortcut(int keyCode, int modifierFlags) {
    return {{QStringLiteral("keyCode"), keyCode}, {QStringLiteral("modifierFlags"), modifierFlags}};
}

}  // namespace

struct UserDefaults::State {
    using Kind = SettingsProblem::Kind;
    using Content = SettingsFile::Content;
    /// By key; none for a removal, or where there is no value.
    using Values = std::map<std::string, std::optional<QVariant>, std::less<>>;
    struct Change {
        std::optional<QVariant> value;  ///< none for a removal
        bool isByUser = false;
    };

    const SettingsFile file;
    NotificationCenter changes;

    std::mutex mutex;
    // Guarded by `mutex`:
    SettingsMap registered;
    SettingsMap initial;
    std::map<std::string, Change, std::less<>> pending;  ///< what could not be written yet
    Values known;                                        ///< what the observers of a key last knew
    std::optional<SettingsProblem> changeProblem;        ///< of the last change by the user
    std::set<Kind> met;
    std::vector<SettingsProblem> untold;
    std::function<void(const SettingsProblem&)> problemHandler;

    explicit State(std::string path) : file(std::move(path)) {}

    Content read();
    SettingsMap stored(const Content& content) const;
    std::optional<QVariant> find(std::string_view key) { return find(key, stored(read())); }
    std::optional<QVariant> find(std::string_view key, const SettingsMap& values) const;
    SettingsMap all();
    void change(Values changed, bool isByUser);
    bool write();
    bool userSetSomething() const;
    std::optional<SettingsProblem> problemOf(const Content& content) const;
    void meet(const SettingsProblem& problem);
};

UserDefaults::State::Content UserDefaults::State::read() {
    Content content = file.read();
    if (const auto problem = problemOf(content)) meet(*problem);
    return content;
}

std::optional<SettingsProblem> UserDefaults::State::problemOf(const Content& content) const {
    if (content.state == SettingsFile::State::Unusable) {
        return SettingsProblem{Kind::Unusable, file.path(), {}, systemText(content.reason)};
    }
    if (isOfNewerFormat(content.settings)) {
        return SettingsProblem{Kind::NewerFormat, file.path(), {}, {}};
    }
    return std::nullopt;
}

void UserDefaults::State::meet(const SettingsProblem& problem) {
    if (!met.insert(problem.kind).second && problem.kind != Kind::MovedAside) return;
    // Whoever speaks to the user tells it; on a terminal, too.
    qCInfo(lcBase, "The settings %s %s", file.path().c_str(), logText(problem).c_str());
    untold.push_back(problem);
}

/// The values of the file with what could not be written yet.
SettingsMap UserDefaults::State::stored(const Content& content) const {
    SettingsMap values = settingsOf(content.settings);
    // Who has a settings file, whatever became of it, was greeted.
    const bool isReadable = content.state == SettingsFile::State::Absent ||
                            content.state == SettingsFile::State::Usable;
    if (!isReadable) values[std::string(kIsFirstRun)] = false;
    for (const auto& [key, change] : pending) {
        if (change.value) {
            values[key] = *change.value;
        } else {
            values.erase(key);
        }
    }
    return values;
}

std::optional<QVariant> UserDefaults::State::find(std::string_view key,
                                                  const SettingsMap& values) const {
    const auto byDefault = registered.find(key);
    const auto found = values.find(key);
    if (byDefault == registered.end()) {
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }
    const auto value =
        found == values.end() ? std::nullopt : typed(found->second, byDefault->second);
    return value ? value : byDefault->second;
}

/// Every key with the value behind it.
SettingsMap UserDefaults::State::all() {
    const SettingsMap values = stored(read());
    SettingsMap result = registered;
    for (const auto& [key, value] : values)
        result[key] = *find(key, values);
    return result;
}

/// What fails is kept, and tried again with the next change.
void UserDefaults::State::change(Values changed, bool isByUser) {
    for (auto& [key, value] : changed) {
        Change& change = pending[key];
        change = {std::move(value), change.isByUser || isByUser};
    }
    if (write()) {
        pending.clear();
        if (changeProblem && changeProblem->kind == Kind::NotWritten) changeProblem.reset();
    } else if (isByUser && errno != 0) {
        changeProblem = {Kind::NotWritten, file.path(), {}, systemText(errno)};
        meet(*changeProblem);
    }
}

bool UserDefaults::State::userSetSomething() const {
    return std::any_of(pending.begin(), pending.end(), [](const auto& entry) {
        return entry.second.isByUser && entry.second.value;
    });
}

/// False when the changes must wait: with errno, or with 0 when the user set none of them.
bool UserDefaults::State::write() {
    using FileState = SettingsFile::State;
    const Content content = read();
    const bool isUnusable = content.state == FileState::Unusable;
    errno = content.reason;
    if (content.state == FileState::Unreachable) return false;
    if (isUnusable && !userSetSomething()) {
        errno = 0;
        return false;
    }
    IniFile settings = content.state == FileState::Usable ? content.settings : newSettings();
    if (isUnusable) settings.set(IniFile::kGeneral, kIsFirstRun, "false");
    const std::string before = settings.text();
    for (const auto& [key, change] : pending) {
        if (change.value) {
            setSetting(settings, key, *change.value);
        } else {
            removeSetting(settings, key);
        }
    }
    const std::string after = settings.text();
    if (after == before) return true;
    if (!isUnusable) return file.write(after);
    const std::string aside = file.moveAsideAndWrite(after);
    if (aside.empty()) return false;
    changeProblem = {Kind::MovedAside, file.path(), aside, {}};
    meet(*changeProblem);
    return true;
}

UserDefaults::UserDefaults(std::string filePath)
    : m_state(std::make_unique<State>(std::move(filePath))) {}

UserDefaults::~UserDefaults() = default;

UserDefaults& UserDefaults::standardUserDefaults() {
    // Never destroyed: a worker that is still busy when the process ends may ask.
    static auto& defaults = *new UserDefaults([] {
        const std::string folder = configurationFolder();
        return folder.empty() ? folder : folder + "/" + std::string(kDomainFile);
    }());
    return defaults;
}

std::optional<QVariant> UserDefaults::object(std::string_view key) const {
    std::optional<QVariant> value;
    {
        const std::lock_guard lock(m_state->mutex);
        value = m_state->find(key);
    }
    tellProblems();
    return value;
}

bool UserDefaults::boolForKey(std::string_view key) const {
    return readBool(object(key).value_or(QVariant())).value_or(false);
}

long long UserDefaults::integerForKey(std::string_view key) const {
    return object(key).value_or(QVariant()).toLongLong();
}

QString UserDefaults::stringForKey(std::string_view key) const {
    return object(key).value_or(QVariant()).toString();
}

QVariantMap UserDefaults::dictionaryForKey(std::string_view key) const {
    return object(key).value_or(QVariant()).toMap();
}

void UserDefaults::set(std::string_view key, const QVariant& value) {
    change(key, value, true);
}

void UserDefaults::remove(std::string_view key) {
    change(key, std::nullopt, true);
}

void UserDefaults::setQuietly(std::string_view key, const QVariant& value) {
    change(key, value, false);
}

void UserDefaults::change(std::string_view key, const std::optional<QVariant>& value,
                          bool isByUser) {
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->change({{std::string(key), value}}, isByUser);
    }
    tellProblems();
    tellObservers(key);
}

void UserDefaults::registerDefaults(const SettingsMap& defaults) {
    changeMany([&](State& state) {
        for (const auto& [key, value] : defaults)
            state.registered[key] = value;
    });
}

SettingsMap UserDefaults::registrationDomain() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->registered;
}

void UserDefaults::setRegistrationDomain(const SettingsMap& values) {
    changeMany([&](State& state) { state.registered = values; });
}

std::optional<SettingsMap> UserDefaults::persistentDomain() const {
    const std::lock_guard lock(m_state->mutex);
    const auto content = m_state->read();
    const bool isUsable = content.state == SettingsFile::State::Usable;
    if (!isUsable && m_state->pending.empty()) return std::nullopt;
    return m_state->stored(content);
}

void UserDefaults::setPersistentDomain(const SettingsMap& values) {
    changeMany([&](State& state) {
        State::Values changes;
        for (const auto& [key, value] : state.stored(state.read()))
            changes[key] = std::nullopt;
        for (const auto& [key, value] : values)
            changes[key] = value;
        state.change(std::move(changes), true);
    });
}

void UserDefaults::setInitialValues(const SettingsMap& values) {
    const std::lock_guard lock(m_state->mutex);
    m_state->initial = values;
}

void UserDefaults::revertToInitialValues() {
    changeMany([](State& state) {
        State::Values changes;
        for (const auto& [key, value] : state.initial) {
            // Where the default says the same, nothing needs to stand in the file.
            const auto found = state.registered.find(key);
            const bool isDefault = found != state.registered.end() && found->second == value;
            changes[key] = isDefault ? std::nullopt : std::optional(value);
        }
        state.change(std::move(changes), true);
    });
}

Observation UserDefaults::observe(std::string_view keyPath, Notify when,
                                  std::function<void(const std::optional<QVariant>&)> callback) {
    auto observation =
        m_state->changes.observe(keyPath, [callback](const Notification& notification) {
            callback(notification.userInfo.value<std::optional<QVariant>>("value"));
        });
    if (!keyPath.starts_with(kKeyPathPrefix)) return observation;
    const std::string key(keyPath.substr(kKeyPathPrefix.size()));
    const std::optional<QVariant> value = object(key);
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->known.try_emplace(key, value);
    }
    if (when == Notify::NowAndOnChange) callback(value);
    return observation;
}

void UserDefaults::fileDidChange() {
    std::vector<std::string> changed;
    {
        const std::lock_guard lock(m_state->mutex);
        const auto content = m_state->read();
        if (content.state == SettingsFile::State::Unreachable) return;
        const SettingsMap values = m_state->stored(content);
        for (const auto& [key, value] : m_state->known) {
            if (m_state->find(key, values) != value) changed.push_back(key);
        }
    }
    tellProblems();
    for (const std::string& key : changed)
        tellObservers(key);
}

/// Makes a change that may touch any number of keys, then tells of those with another value.
void UserDefaults::changeMany(const std::function<void(State&)>& change) {
    SettingsMap before;
    SettingsMap after;
    {
        const std::lock_guard lock(m_state->mutex);
        before = m_state->all();
        change(*m_state);
        after = m_state->all();
    }
    tellProblems();
    std::set<std::string> keys;
    for (const auto& [key, value] : before)
        keys.insert(key);
    for (const auto& [key, value] : after)
        keys.insert(key);
    for (const auto& key : keys) {
        const auto old = before.find(key);
        const auto now = after.find(key);
        const bool isSame = old != before.end() && now != after.end() && old->second == now->second;
        if (!isSame) tellObservers(key);
    }
}

void UserDefaults::tellObservers(std::string_view key) {
    const std::optional<QVariant> value = object(key);
    {
        const std::lock_guard lock(m_state->mutex);
        const auto known = m_state->known.find(key);
        if (known != m_state->known.end()) known->second = value;
    }
    UserInfo info;
    info.set("value", value);
    m_state->changes.post(std::string(kKeyPathPrefix) + std::string(key), this, std::move(info));
}

std::optional<SettingsProblem> UserDefaults::problem() const {
    const std::lock_guard lock(m_state->mutex);
    using Kind = SettingsProblem::Kind;
    const auto ofFile = m_state->problemOf(m_state->read());
    const auto& ofChange = m_state->changeProblem;
    const bool isUnusable = ofFile && ofFile->kind == Kind::Unusable;
    return ofChange && (ofChange->kind == Kind::NotWritten || !isUnusable) ? ofChange : ofFile;
}

void UserDefaults::setProblemHandler(std::function<void(const SettingsProblem&)> handler) {
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->problemHandler = std::move(handler);
        m_state->read();
    }
    tellProblems();
}

void UserDefaults::tellProblems() const {
    std::vector<SettingsProblem> problems;
    std::function<void(const SettingsProblem&)> handler;
    {
        const std::lock_guard lock(m_state->mutex);
        if (!m_state->problemHandler) return;
        problems.swap(m_state->untold);
        handler = m_state->problemHandler;
    }
    for (const SettingsProblem& problem : problems)
        handler(problem);
}

SettingsMap generalDefaultSettings() {
    constexpr int kBackspaceKey = 51;
    constexpr int kSKey = 1;
    constexpr int kControlCommand = 0x140000;
    constexpr int kShiftCommand = 0x120000;
    return {{"empty_trash", shortcut(kBackspaceKey, kControlCommand)},
            {"smart_delete", shortcut(kSKey, kShiftCommand)},
            {"launch_at_login", false},
            {"write_log", true},
            {"how_many_days_for_new_log_file", 7},
            {"show_alert", true},
            {"delete_locked", false},
            {"smart_delete_window", QString()}};
}

SettingsMap defaultSettings() {
    SettingsMap settings = generalDefaultSettings();
    settings.insert({{"show_install_helper_tool", false},
                     {"newsletter_subscribed", false},
                     {std::string(kIsFirstRun), true},
                     {"ask_unistall_old_kestrin", true}});
    return settings;
}

}  // namespace kestrin
