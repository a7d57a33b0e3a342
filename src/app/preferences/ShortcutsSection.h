// SPDX-License-Identifier: GPL-3.0-or-later
// The part of the preferences that sets the hot keys. Main thread only.
#pragma once

#include <QObject>
#include <QString>
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "app/preferences/PreferencesServices.h"
#include "platform/desktop/Shortcut.h"

class QGridLayout;
class QLabel;
class QLineEdit;
class QPushButton;

namespace kestrin {

class Notice;
class ShortcutRecorder;

/// A row with a recorder for each hot key, in the grid that it is given, and below it what is to be
/// said about the keys. Where the desktop decides on the keys, it shows the desktop's and opens the
/// desktop's dialog for them; where there are no hot keys at all, it shows the commands that the
/// user can bind instead. Object names: the settings of the recorders.
class ShortcutsSection : public QObject {
    Q_OBJECT

 public:
    /// The services must outlive it.
    ShortcutsSection(const PreferencesServices& services, QGridLayout& grid, QObject* parent);

    /// Shows the shortcuts of the settings, but for those that the user has cleared.
    void setupHotKeys();
    /// To be called when that setting has changed: it is not cleared any more.
    void settingDidChange(std::string_view setting);
    /// Gives each shortcut that was cleared its default.
    void saveHotKey();

 private:
    struct Row {
        std::string setting;
        QString what;     ///< what the keys do
        QString command;  ///< does the same
        QLabel* label = nullptr;
        ShortcutRecorder* recorder = nullptr;
        QLineEdit* field = nullptr;  ///< in the recorder's place where that cannot be used
        Notice* notice = nullptr;
        QString refusal{};  ///< why the keys that were pressed last cannot be taken
        bool isCleared = false;

        std::string identifier() const { return "values." + setting; }
    };

    void addRow(Row& row, QGridLayout& grid, std::string_view title);
    void addFoot(QGridLayout& grid);
    void showAll();
    void show(const Row& row);
    void showFoot();
    QString shownText(const Row& row) const;
    QString note(const Row& row) const;
    QString noteOfState(const Row& row) const;
    std::optional<Shortcut> stored(const Row& row) const;
    Shortcut defaultOf(const Row& row) const;
    bool judge(Row& row, const std::optional<Shortcut>& keys);
    QString refusalOf(const Row& row, const std::optional<Shortcut>& keys) const;
    QString holder(const Row& row, const Shortcut& keys) const;
    void clear(Row& row);
    bool isManagedByDesktop() const;
    bool canConfigure() const;
    bool isUnanswered() const;
    bool hasNoHotKeys() const;

    const PreferencesServices& m_services;
    std::array<Row, 2> m_rows;
    Notice* m_foot = nullptr;
    QPushButton* m_configure = nullptr;
};

}  // namespace kestrin
