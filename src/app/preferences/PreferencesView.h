// SPDX-License-Identifier: GPL-3.0-or-later
// The window of the preferences. Main thread only.
#pragma once

#include <QDialog>
#include <string>
#include <vector>

#include "app/preferences/PreferencesServices.h"
#include "base/NotificationCenter.h"

class QCheckBox;
class QComboBox;
class QFrame;
class QGridLayout;
class QScrollArea;

namespace kestrin {

class Notice;
class ShortcutsSection;

/// One page with a group for each subject, as large as it needs to be; on a small screen it
/// scrolls. A change of a field is stored at once, and a change of a setting shows at once, whoever
/// made it. Object names of the fields: their settings.
class PreferencesView : public QDialog {
    Q_OBJECT

 public:
    /// The services must outlive it.
    explicit PreferencesView(const PreferencesServices& services);

    /// Shows the window in front: window-modal on `parent`, or on its own when that is nullptr.
    void showOn(QWidget* parent);

    ShortcutsSection& shortcuts() { return *m_shortcuts; }

    /// Closes the window, as Escape does.
    void reject() override { close(); }

 Q_SIGNALS:
    void restoreValuesClicked();
    void restoreWarningsClicked();
    void willClose();

 protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

 private:
    QWidget* makePage();
    QWidget* makeProblem();
    void addShortcuts(QGridLayout& grid);
    void addGeneral(QGridLayout& grid);
    void addLog(QGridLayout& grid);
    void addHelper(QGridLayout& grid);
    QLayout* makeButtons();
    QCheckBox* makeCheckBox(const std::string& key, std::string_view text);
    QComboBox* makeDays();
    void showDays();
    void follow(const std::string& key, std::function<void()> show);
    void followProblem();
    void showProblem();
    void showLogs();
    void colourBoxes();
    void fit();

    const PreferencesServices& m_services;
    QScrollArea* m_scrollArea = nullptr;
    QFrame* m_edge = nullptr;  ///< of what is scrolled
    QWidget* m_problemRow = nullptr;
    Notice* m_problem = nullptr;  ///< with the settings file
    ShortcutsSection* m_shortcuts = nullptr;
    QComboBox* m_days = nullptr;
    bool m_isPlaced = false;  ///< by the window manager
    std::vector<QCheckBox*> m_boxes;
    std::vector<Observation> m_observations;
};

}  // namespace kestrin
