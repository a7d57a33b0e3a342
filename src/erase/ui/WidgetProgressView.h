// SPDX-License-Identifier: GPL-3.0-or-later
// The progress of an erase as a window. Main thread only, but for the spinner's isIndeterminate.
#pragma once

#include <functional>
#include <memory>

#include "erase/ProgressView.h"

namespace kestrin {

class QVProgressWindow;
class StringTable;

/// A window handle of this view is a QWidget*.
class WidgetProgressView : public ProgressView {
 public:
    /// `stop` is what the Stop button calls. `texts` must outlive the view.
    WidgetProgressView(const StringTable& texts, std::function<void()> stop);
    /// Closes the window.
    ~WidgetProgressView() override;

    ProgressSpinner& spinner() override;
    void setMainText(const QString& text) override;
    QString mainText() const override;
    void setInfoText(const QString& text) override;
    void setCountText(const QString& text) override;
    void setSizeText(const QString& text) override;
    QString countFormat() const override;
    void hideInfoSizeFields(bool hide) override;
    void show() override;
    void showAsSheet(WindowHandle parent) override;
    void close() override;

    /// The window, for whoever asks whether it is in front.
    QVProgressWindow& window() { return *m_window; }

 private:
    const StringTable& m_texts;
    std::unique_ptr<QVProgressWindow> m_window;
};

}  // namespace kestrin
