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

/// What the user is to be told of the settings file.
struct SettingsProblem {
    enum class Kind {
        Unusable,    ///< it cannot be read, or holds something else: the defaults hold, it stays
        MovedAside,  ///< it was unusable; a change by the user moved it and wrote a new one
        NotWritten,  ///< the changes hold until the process ends
        NewerFormat  ///< a newer version wrote it; what this one knows is read
    };
    Kind kind = Kind::Unusable;
    std::string path;     ///< of the settings file; empty where there is no place for one
    std::string movedTo;  ///< where the old file is now, for MovedAside
    std::string reason;   ///< the system's text, in UTF-8; empty when the file holds something else
};

/// Settings of one domain. A value is looked up in the persistent domain (one INI file, re-read
/// each time, so that an edit by hand takes effect), then in the registration domain (the defaults
/// of this process). Nothing is cached. Thread: any; observers are called on the thread that
/// changed the value. The file keeps plain values under [General], as "write_log=true", and a
/// dictionary as a section of its own, as "[empty_trash]" with "keyCode=51": a person can edit it.
/// A value of the file comes in the type of its default, in whatever form it was written: booleans
/// as true, yes, on, 1 and their opposites in any case, integers as decimal or 0x hexadecimal
/// numbers, each bare or quoted. What cannot be that type counts as absent, and so does a
/// dictionary that lacks an entry of the default. Without a default it is text, or a dictionary of
/// texts. Lines that a person added stay.
///
/// Failures: a file that cannot be read, or that holds no settings, is told once and never
/// destroyed. The defaults hold, but for "is_first_run", which is false. What the program changes
/// by itself then stays in memory; the first change by the user moves the file aside and writes a
/// new one. What cannot be written stays in memory for this process, and is tried again with the
/// next change. Two processes that change settings at the same moment: the later one wins.
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

    /// A change that the user made.
    void set(std::string_view key, const QVariant& value);
    void remove(std::string_view key);
    /// A change that the program makes by itself, such as the place of a window: no reason to
    /// replace a file that is unusable, or to tell that it could not be written.
    void setQuietly(std::string_view key, const QVariant& value);

    /// Adds defaults to the registration domain; an earlier default of the same key is replaced.
    void registerDefaults(const SettingsMap& defaults);
    SettingsMap registrationDomain() const;
    void setRegistrationDomain(const SettingsMap& values);
    /// What the file holds, as texts. None when there is no file, or an unusable one.
    std::optional<SettingsMap> persistentDomain() const;
    /// Replaces all that the file holds. A change by the user.
    void setPersistentDomain(const SettingsMap& values);

    /// The values that `revertToInitialValues` sets again.
    void setInitialValues(const SettingsMap& values);
    /// A change by the user.
    void revertToInitialValues();

    enum class Notify {
        OnChange,        ///< at every later change
        NowAndOnChange,  ///< once at once, then at every change
    };
    /// Calls `callback` with the new value (none when it was removed and has no default) whenever
    /// the value behind `keyPath`, "values." followed by a key, is set or removed through this
    /// object, or becomes another one because a whole domain or the file changed. No lock is held
    /// meanwhile.
    [[nodiscard]] Observation observe(std::string_view keyPath, Notify when,
                                      std::function<void(const std::optional<QVariant>&)> callback);
    /// To be called when somebody else may have changed the file: tells observers of each value
    /// that is not the one they last knew. They are called on this thread.
    void fileDidChange();

    /// What is wrong with the file now; none when nothing is.
    std::optional<SettingsProblem> problem() const;
    /// Looks at the file, and calls `handler` with each problem when it is first met, with those
    /// met before, too; each kind once in the life of this object, MovedAside each time. The
    /// handler is called on the thread that asks or changes; no lock is held meanwhile.
    void setProblemHandler(std::function<void(const SettingsProblem&)> handler);

 private:
    struct State;

    void change(std::string_view key, const std::optional<QVariant>& value, bool isByUser);
    void changeMany(const std::function<void(State&)>& change);
    void tellObservers(std::string_view key);
    void tellProblems() const;

    std::unique_ptr<State> m_state;
};

/// Every setting of the program with its default: what `registerDefaults` is given at start-up.
SettingsMap defaultSettings();
/// Those of them that restoring the settings puts back: all but the states of questions and
/// windows that are shown once.
SettingsMap generalDefaultSettings();

}  // namespace kestrin
