// SPDX-License-Identifier: GPL-3.0-or-later
// The window of an erase in progress. Main thread only.
#pragma once

#include <QWidget>
#include <functional>
#include <optional>

#include "erase/ProgressView.h"

class QLabel;
class QPushButton;

namespace kestrin {

class AnimatedProgressBar;
class ElidedLabel;
class QVNumberUtilities;
class StringTable;

/// Shows the main line, the info line, the bar, "Items: x of y", "Size: …" and Stop. It is 420
/// points wide, and wider where the figures need it. It is moved by its background, and no field of
/// it has the focus at first. Closing the window and Escape mean Stop, and the window stays until
/// its owner hides it. A program that wants to quit is therefore refused once, and may try again
/// when the erase is over. Object names: "main_line", "info_line", "bar", "count_label", "count",
/// "size_label", "size", "stop".
class QVProgressWindow : public QWidget {
    Q_OBJECT

 public:
    /// `stop` is called once, when Stop is pressed for the first time. `texts` and `numbers` must
    /// outlive the window.
    QVProgressWindow(const StringTable& texts, const QVNumberUtilities& numbers,
                     std::function<void()> stop);

    /// The one that can be seen at the moment; nullptr when none can.
    static QVProgressWindow* shown();

    /// Shows `state`. After Stop the main line goes on saying that the erase is stopping.
    void setState(const ProgressState& state);
    /// Presses Stop. Does nothing when Stop was pressed before, or when the erase is over.
    void stop();
    /// Shows the window: window-modal on `parent`, or on its own when that is nullptr. The window
    /// may outlive the parent.
    void showOn(QWidget* parent);

 protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

 private:
    QWidget* makeFigures();
    void showMainText(const QString& text);
    void showFigures(const std::optional<ProgressFigures>& figures);

    const StringTable& m_texts;
    const QVNumberUtilities& m_numbers;
    std::function<void()> m_stop;
    ElidedLabel* m_mainLine;
    ElidedLabel* m_infoLine;
    AnimatedProgressBar* m_bar;
    QLabel* m_countLabel = nullptr;
    QLabel* m_count = nullptr;
    QLabel* m_sizeLabel = nullptr;
    QLabel* m_size = nullptr;
    QPushButton* m_stopButton = nullptr;
    bool m_wasStopped = false;
    bool m_isOver = false;
};

}  // namespace kestrin
