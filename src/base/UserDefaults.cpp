// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/UserDefaults.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <set>
#include <utility>

#include "base/FileUrl.h"
#include "base/IniFile.h"
#include "base/SystemLog.h"
#include "base/WriteAll.h"

namespace kestrin {
namespace {

constexpr std::string_view kKeyPathPrefix = "values.";
constexpr std::string_view kDomainFile = "com.quorvane.kestrin-3.conf";
constexpr std::size_t kLongestFile = std::size_t{1} << 20;

/// Closes on every way out.
class Descriptor {
 public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0) ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }

 private:
    int m_fd;
};

/// The bytes of a regular file; none, with errno, when there is no such file or it cannot be read.
std::optional<std::string> readWhole(const std::string& path) {
    // Non-blocking: a FIFO in the file's place must not hold the program up.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (file.get() < 0) return std::nullopt;
    struct stat status;
    if (::fstat(file.get(), &status) != 0) return std::nullopt;
    if (!S_ISREG(status.st_mode) || status.st_size > static_cast<off_t>(kLongestFile)) {
        errno = EFBIG;
        return std::nullopt;
    }
    std::string bytes(kLongestFile, '\0');
    std::size_t length = 0;
    while (length < bytes.size()) {
        const auto count = ::read(file.get(), bytes.data() + length, bytes.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
    }
    bytes.resize(length);
    return bytes;
}

bool makeFolder(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) == 0 || errno == EEXIST) return true;
    const std::string parent = FileUrl::withoutScheme(path).parent().path();
    return errno == ENOENT && !parent.empty() && parent != path && makeFolder(parent) &&
           ::mkdir(path.c_str(), 0700) == 0;
}

/// Replaces the file in one step, so that a full disk or a crash leaves the old one whole.
bool writeWhole(const std::string& path, std::string_view bytes) {
    if (!makeFolder(FileUrl::withoutScheme(path).parent().path())) return false;
    // A person may keep the file elsewhere and link to it.
    std::error_code error;
    const auto target = std::filesystem::canonical(path, error);
    const std::string destination = error ? path : target.string();
    std::string temporary = destination + ".XXXXXX";
    const Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (file.get() < 0) return false;
    if (writeAll(file.get(), bytes) && ::fsync(file.get()) == 0 &&
        ::rename(temporary.c_str(), destination.c_str()) == 0) {
        return true;
    }
    const int reason = errno;
    ::unlink(temporary.c_str());
    errno = reason;
    return false;
}

std::string textOf(const QVariant& value) {
    return value.toString().toStdString();
}

QVariant readText(const std::string& text) {
    return QString::fromStdString(text);
}

bool isDictionary(const QVariant& value) {
    return value.metaType() == QMetaType::fromType<QVariantMap>();
}

/// The values as they come back from the file: texts and dictionaries of texts.
SettingsMap valuesOf(const IniFile& file) {
    SettingsMap values;
    for (const auto& [name, section] : file.sections()) {
        QVariantMap dictionary;
        for (const auto& [key, text] : section) {
            if (name == IniFile::kGeneral) {
                values[key] = readText(text);
            } else {
                dictionary[QString::fromStdString(key)] = readText(text);
            }
        }
        if (name != IniFile::kGeneral) values[name] = dictionary;
    }
    return values;
}

void removeFrom(IniFile& file, std::string_view key) {
    file.remove(IniFile::kGeneral, key);
    if (key != IniFile::kGeneral) file.removeSection(key);
}

void setDictionary(IniFile& file, std::string_view key, const QVariantMap& dictionary) {
    const auto sections = file.sections();
    if (const auto section = sections.find(key); section != sections.end()) {
        for (const auto& [name, text] : section->second) {
            if (!dictionary.contains(QString::fromStdString(name))) file.remove(key, name);
        }
    }
    file.remove(IniFile::kGeneral, key);
    file.addSection(key);
    for (auto entry = dictionary.begin(); entry != dictionary.end(); ++entry) {
        file.set(key, entry.key().toStdString(), textOf(entry.value()));
    }
}

void setIn(IniFile& file, std::string_view key, const QVariant& value) {
    if (isDictionary(value)) {
        setDictionary(file, key, value.toMap());
    } else {
        file.removeSection(key);
        file.set(IniFile::kGeneral, key, textOf(value));
    }
}

std::optional<bool> readBool(const QVariant& value) {
    if (value.metaType() == QMetaType::fromType<bool>()) return value.toBool();
    const QString text = value.toString().trimmed().toLower();
    if (text == QLatin1String("true") || text == QLatin1String("yes") ||
        text == QLatin1String("on")) {
        return true;
    }
    bool isNumber = false;
    const long long number = text.toLongLong(&isNumber);
    if (isNumber) return number != 0;
    return std::nullopt;
}

/// $XDG_CONFIG_HOME when it is absolute, else ~/.config; empty without a home.
std::string configurationFolder() {
    const char* folder = std::getenv("XDG_CONFIG_HOME");
    if (folder && *folder == '/') return folder;
    const char* home = std::getenv("HOME");
    return home && *home == '/' ? std::string(home) + "/.config" : std::string();
}

QVariantMap shortcut(int keyCode, int modifierFlags) {
    return {{QStringLiteral("keyCode"), keyCode}, {QStringLiteral("modifierFlags"), modifierFlags}};
}

}  // namespace

struct UserDefaults::State {
    /// What could not be written yet, by key; none for a removal.
    using Pending = std::map<std::string, std::optional<QVariant>, std::less<>>;

    const std::string filePath;
    NotificationCenter changes;

    std::mutex mutex;
    // Guarded by `mutex`:
    SettingsMap registered;
    SettingsMap initial;
    Pending pending;

    explicit State(std::string path) : filePath(std::move(path)) {}

    std::optional<SettingsMap> persistent() const;
    std::optional<QVariant> find(std::string_view key) const;
    SettingsMap all() const;
    void change(Pending changes);
    bool write(const Pending& changes) const;
};

/// The values of the file with what could not be written yet; none without either.
std::optional<SettingsMap> UserDefaults::State::persistent() const {
    const auto bytes = readWhole(filePath);
    if (!bytes && errno == ENOENT && pending.empty()) return std::nullopt;
    if (!bytes && errno != ENOENT) {
        qCWarning(lcBase, "The settings %s cannot be read: %s", filePath.c_str(),
                  std::strerror(errno));
    }
    SettingsMap values = bytes ? valuesOf(IniFile(*bytes)) : SettingsMap();
    for (const auto& [key, value] : pending) {
        if (value) {
            values[key] = *value;
        } else {
            values.erase(key);
        }
    }
    return values;
}

std::optional<QVariant> UserDefaults::State::find(std::string_view key) const {
    if (const auto values = persistent()) {
        if (const auto found = values->find(key); found != values->end()) return found->second;
    }
    const auto found = registered.find(key);
    return found == registered.end() ? std::nullopt : std::optional(found->second);
}

/// Every key with the value behind it.
SettingsMap UserDefaults::State::all() const {
    SettingsMap values = persistent().value_or(SettingsMap());
    values.insert(registered.begin(), registered.end());
    return values;
}

/// What fails is kept, and tried again with the next change.
void UserDefaults::State::change(Pending changed) {
    for (auto& [key, value] : changed)
        pending[key] = std::move(value);
    if (write(pending)) {
        pending.clear();
    } else {
        qCWarning(lcBase, "The settings %s cannot be written: %s", filePath.c_str(),
                  std::strerror(errno));
    }
}

bool UserDefaults::State::write(const Pending& changed) const {
    const auto bytes = readWhole(filePath);
    // What cannot be read is somebody's all the same: it is not replaced.
    if (!bytes && errno != ENOENT) return false;
    IniFile file(bytes.value_or(std::string()));
    const std::string before = file.text();
    for (const auto& [key, value] : changed) {
        if (value) {
            setIn(file, key, *value);
        } else {
            removeFrom(file, key);
        }
    }
    const std::string after = file.text();
    return after == before || writeWhole(filePath, after);
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
    const std::lock_guard lock(m_state->mutex);
    return m_state->find(key);
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
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->change({{std::string(key), value}});
    }
    tellObservers(key);
}

void UserDefaults::remove(std::string_view key) {
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->change({{std::string(key), std::nullopt}});
    }
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
    return m_state->persistent();
}

void UserDefaults::setPersistentDomain(const SettingsMap& values) {
    changeMany([&](State& state) {
        State::Pending changes;
        for (const auto& [key, value] : state.persistent().value_or(SettingsMap())) {
            changes[key] = std::nullopt;
        }
        for (const auto& [key, value] : values)
            changes[key] = value;
        state.change(std::move(changes));
    });
}

void UserDefaults::setInitialValues(const SettingsMap& values) {
    const std::lock_guard lock(m_state->mutex);
    m_state->initial = values;
}

void UserDefaults::revertToInitialValues() {
    changeMany([](State& state) {
        State::Pending changes;
        for (const auto& [key, value] : state.initial) {
            // Where the default says the same, nothing needs to stand in the file.
            const auto found = state.registered.find(key);
            const bool isDefault = found != state.registered.end() && found->second == value;
            changes[key] = isDefault ? std::nullopt : std::optional(value);
        }
        state.change(std::move(changes));
    });
}

Observation UserDefaults::observe(std::string_view keyPath, Notify when,
                                  std::function<void(const std::optional<QVariant>&)> callback) {
    auto observation =
        m_state->changes.observe(keyPath, [callback](const Notification& notification) {
            callback(notification.userInfo.value<std::optional<QVariant>>("value"));
        });
    if (when == Notify::NowAndOnChange && keyPath.starts_with(kKeyPathPrefix)) {
        callback(object(keyPath.substr(kKeyPathPrefix.size())));
    }
    return observation;
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
    UserInfo info;
    info.set("value", object(key));
    m_state->changes.post(std::string(kKeyPathPrefix) + std::string(key), this, std::move(info));
}

SettingsMap defaultSettings() {
    constexpr int kBackspaceKey = 51;
    constexpr int kSKey = 1;
    constexpr int kControlCommand = 0x140000;
    constexpr int kShiftCommand = 0x120000;
    return {{"show_install_helper_tool", false},
            {"newsletter_subscribed", false},
            {"is_first_run", true},
            {"ask_unistall_old_kestrin", true},
            {"empty_trash", shortcut(kBackspaceKey, kControlCommand)},
            {"smart_delete", shortcut(kSKey, kShiftCommand)},
            {"launch_at_login", false},
            {"write_log", true},
            {"how_many_days_for_new_log_file", 7},
            {"show_alert", true},
            {"delete_locked", false},
            {"smart_delete_window", QString()}};
}

}  // namespace kestrin
