// SPDX-License-Identifier: GPL-3.0-or-later
// The window of the preferences. Main thread only.
#pragma once

#include <QWidget>
#include <string>
#include <vector>

#include "app/preferences/PreferencesServices.h"
#include "base/NotificationCenter.h"

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QPushButton;

namespace kestrin {

/// One page with a group for each subject. A change of a field is stored at once, and a change of a
/// setting shows at once, whoever made it. Object names of the fields: their settings.
class PreferencesView : public QWidget {
    Q_OBJECT

 public:
    /// The services must outlive it.
    explicit PreferencesView(const PreferencesServices& services);

    /// Shows the window in front: window-modal on `parent`, or on its own when that is nullptr.
    void showOn(QWidget* parent);

 Q_SIGNALS:
    void restoreValuesClicked();
    void restoreWarningsClicked();
    void willClose();

 protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

 private:
    QLayout* makeGroups();
    void addGeneral(QGridLayout& grid);
    void addLog(QGridLayout& grid);
    void addHelper(QGridLayout& grid);
    QLayout* makeRestoreButtons();
    QCheckBox* makeCheckBox(const std::string& key, std::string_view text);
    QComboBox* makeDays();
    void showDays();
    void follow(const std::string& key, std::function<void()> show);
    void showLogs();
    void colourBoxes();

    const PreferencesServices& m_services;
    QComboBox* m_days = nullptr;
    std::vector<QCheckBox*> m_boxes;
    std::vector<Observation> m_observations;
};

}  // namespace kestrin
