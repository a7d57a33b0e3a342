// SPDX-License-Identifier: GPL-3.0-or-later
// The progress of an erase as the terminal's status line; nothing where there is none.
#pragma once

#include <QTimer>
#include <atomic>
#include <functional>

#include "cli/ProgressLine.h"
#include "erase/ProgressView.h"

namespace kestrin {

class Console;

/// Main thread, but for isIndeterminate.
class TerminalProgressView : public ProgressView, private ProgressSpinner {
 public:
    /// `bytesErased` tells the bytes erased so far, for the rate; `isVisible` false keeps the line
    /// away altogether.
    TerminalProgressView(Console& console, std::function<std::uint64_t()> bytesErased,
                         bool isVisible);

    ProgressSpinner& spinner() override { return *this; }
    void setMainText(const QString& text) override;
    QString mainText() const override { return m_mainText; }
    void setInfoText(const QString&) override {}
    void setCountText(const QString& text) override;
    void setSizeText(const QString& text) override;
    QString countFormat() const override;
    void hideInfoSizeFields(bool hide) override;
    void show() override;
    void showAsSheet(WindowHandle) override { show(); }
    void close() override;

 private:
    void startIndeterminateAnimation() override;
    void startDeterminateAnimation() override;
    bool isIndeterminate() const override { return m_isIndeterminate; }
    void updateProgress(double percent) override;
    void drawSoon();
    void draw();
    QString rateText() const;

    Console& m_console;
    const std::function<std::uint64_t()> m_bytesErased;
    const bool m_isVisible;
    bool m_isShown = false;
    bool m_hidesFigures = false;
    double m_percent = 0;
    QString m_mainText;
    QString m_countText;
    QString m_sizeText;
    RateMeter m_rate;
    QTimer m_drawing;  ///< makes one drawing of the changes that come together
    std::atomic<bool> m_isIndeterminate{false};
};

}  // namespace kestrin
