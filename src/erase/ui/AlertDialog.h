// SPDX-License-Identifier: GPL-3.0-or-later
// The window of one alert. It shows a model and tells which button ended it. Main thread only.
#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <array>
#include <optional>

#include "erase/AlertPanel.h"

class QCheckBox;
class QDialogButtonBox;
class QLabel;
class QLayout;
class QPushButton;
class QTreeView;

namespace kestrin {

class SizeLineView;
class StringTable;

/// Shows an icon, a bold title, the text, the size line, a list that unfolds, a check box and
/// buttons: those of them that the model has. Object names: "title", "text", "size_line",
/// "details_button", "details", "suppression", "button_1" to "button_3".
///
/// Escape and closing mean the model's `notAnswered`. A button that destroys is marked; where there
/// is one, Return, Enter and Space do nothing in the first half second, and neither does a key that
/// is still held down from before.
class AlertDialog : public QDialog {
    Q_OBJECT

 public:
    AlertDialog(const AlertModel& model, const StringTable& texts);

    /// Whether the check box is ticked and the alert was not ended without an answer.
    bool suppressionIsOn() const;
    /// Does nothing when the model has no size line.
    void setSizeLine(const QString& text, bool spinning);
    /// Puts the window in front of the others and begins the half second.
    void bringToFront();

    /// Ends the alert as Escape does.
    void reject() override;

 protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;

 private:
    QLayout* makeTexts();
    QWidget* makeIcon();
    QWidget* makeTitle();
    QWidget* makeText();
    QWidget* makeDetails();
    QWidget* makeDetailsButton();
    QWidget* makeButtons();
    void addButton(int index, const QString& title);
    void markDestructive();
    bool isStray(const QKeyEvent& event) const;
    void showDetails(bool show);
    void fitDetails();
    void moveOntoScreen();

    const AlertModel m_model;
    const StringTable& m_texts;
    QElapsedTimer m_shown;
    QLabel* m_title = nullptr;
    SizeLineView* m_sizeLine = nullptr;
    QTreeView* m_details = nullptr;
    QCheckBox* m_suppression = nullptr;
    QDialogButtonBox* m_buttonBox = nullptr;
    QPushButton* m_first = nullptr;  ///< the first one drawn, which is the default
    QPushButton* m_destructive = nullptr;
    bool m_wasDismissed = false;
};

/// The result of the button that destroys something, which is the first button of a confirmation
/// and the second of a question about an entry; none for other alerts.
std::optional<int> destructiveResult(const AlertModel& model);

}  // namespace kestrin
