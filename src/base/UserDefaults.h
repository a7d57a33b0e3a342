// SPDX-License-Identifier: GPL-3.0-or-later
// The program's settings.
#pragma once

#include <QString>
#include <QVariant>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/NotificationCenter.h"

namespace kestrin {

/// Settings by key. A value is a bool, an integer, a text, or a dictionary of those (one level).
using SettingsMap = std::map<std::string, QVariant, std::less<>>;

/// Settings of one domain. A value is looked up in the persistent domain (one INI file, re-read
/// when it changed on disk, so that an edit by hand takes effect), then in the registration domain
/// (the defaults of this process). Nothing is cached. Thread: any; observers are called on the
/// thread that changed the value. The file keeps plain values under [General], as "write_log=true",
/// and a dictionary as a section of its own, as "[empty_trash]" with "keyCode=51": a person can
/// edit it. Booleans are read as true, yes, on, 1 and their opposites in any case. What comes from
/// the file is text ("7", "true") or a dictionary of texts; the typed queries below convert. Lines
/// that a person added stay. Failures: an unreadable or damaged file reads as empty, and an
/// unreadable one is not replaced; what cannot be written stays in memory for this process, is
/// logged, and is tried again with the next change. Two processes that change settings at the same
/// moment: the later one wins.
class UserDefaults {
 public:
    /// The settings file `filePath`. It is created by the first `set`, with its folder.
    explicit UserDefaults(std::string filePath);
    ~UserDefaults();
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    /// The settings of the domain "com.quorvane.kestrin-3": $XDG_CONFIG_HOME (else ~/.config),
    /// "com.quorvane.kestrin-3.conf".
    static UserDefaults& standardUserDefaults();

    std::optional<QVariant> object(std::string_view key) const;
    /// False when the value is absent, or is neither a boolean text nor a number.
    bool boolForKey(std::string_view key) const;
    /// 0 when the value is absent or is not a number.
    long long integerForKey(std::string_view key) const;
    QString stringForKey(std::string_view key) const;
    /// Empty when the value is absent or is not a dictionary.
    QVariantMap dictionaryForKey(std::string_view key) const;

    void set(std::string_view key, const QVariant& value);
    void remove(std::string_view key);

    /// Adds defaults to the registration domain; an earlier default of the same key is replaced.
    void registerDefaults(const SettingsMap& defaults);
    SettingsMap registrationDomain() const;
    void setRegistrationDomain(const SettingsMap& values);
    /// What the file holds. None when there is no file.
    std::optional<SettingsMap> persistentDomain() const;
    /// Replaces all that the file holds.
    void setPersistentDomain(const SettingsMap& values);

    /// The values that `revertToInitialValues` sets again.
    void setInitialValues(const SettingsMap& values);
    void revertToInitialValues();

    enum class Notify {
        OnChange,        ///< at every later change
        NowAndOnChange,  ///< once at once, then at every change
    };
    /// Calls `callback` with the new value (none when it was removed and has no default) whenever
    /// the value behind `keyPath`, "values." followed by a key, is set or removed through this
    /// object, or becomes another one because a whole domain changed. No lock is held meanwhile.
    [[nodiscard]] Observation observe(std::string_view keyPath, Notify when,
                                      std::function<void(const std::optional<QVariant>&)> callback);

 private:
    struct State;

    void changeMany(const std::function<void(State&)>& change);
    void tellObservers(std::string_view key);

    std::unique_ptr<State> m_state;
};

/// Every setting of the program with its default: what `registerDefaults` is given at start-up.
SettingsMap defaultSettings();

}  // namespace kestrin
