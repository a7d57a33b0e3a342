// SPDX-License-Identifier: GPL-3.0-or-later
// Alerts as windows. Main thread only.
#pragma once

#include <memory>

#include "erase/AlertPanel.h"

namespace kestrin {

class AlertDialog;
class StringTable;

/// A window handle of this panel is a QWidget*.
class WidgetAlertPanel : public AlertPanel {
 public:
    /// `texts` must outlive the panel.
    explicit WidgetAlertPanel(const StringTable& texts);
    /// Closes an open sheet without an answer.
    ~WidgetAlertPanel() override;

    /// Runs a nested event loop until the alert is answered. An alert that is open when the program
    /// ends counts as not answered.
    int runModal(const AlertModel& model) override;
    /// Shows the alert window-modal on the window of `parent`. When that window goes, or has
    /// gone, the alert counts as not answered. `answered` may destroy this panel.
    void beginSheet(const AlertModel& model, WindowHandle parent,
                    std::function<void(int)> answered) override;
    bool suppressionIsOn() const override;
    void setSizeLine(const QString& text, bool spinning) override;

    /// Ends all open alerts as Escape does, for a program that has to end.
    static void dismissAll();

 private:
    AlertDialog& makeDialog(const AlertModel& model);

    const StringTable& m_texts;
    QString m_sizeLine;
    bool m_isSpinning = false;
    std::unique_ptr<AlertDialog> m_dialog;
};

}  // namespace kestrin
