// SPDX-License-Identifier: GPL-3.0-or-later
// What shows the progress of an erase: a window, a line in the terminal, a recording in tests. Main
// thread only, but for `isIndeterminate`.
#pragma once

#include <QString>
#include <functional>
#include <memory>

#include "erase/AlertPanel.h"

namespace kestrin {

/// The progress bar or its like.
class ProgressSpinner {
 public:
    virtual ~ProgressSpinner() = default;
    virtual void startIndeterminateAnimation() = 0;
    virtual void startDeterminateAnimation() = 0;
    virtual bool isIndeterminate() const = 0;
    /// `percent` 0 to 100.
    virtual void updateProgress(double percent) = 0;
};

class ProgressView {
 public:
    virtual ~ProgressView() = default;

    virtual ProgressSpinner& spinner() = 0;
    virtual void setMainText(const QString& text) = 0;
    virtual QString mainText() const = 0;
    virtual void setInfoText(const QString& text) = 0;
    virtual void setCountText(const QString& text) = 0;
    virtual void setSizeText(const QString& text) = 0;
    /// The count field's initial text: a format with two "%@", items done and items in all.
    virtual QString countFormat() const = 0;
    /// Hides or shows the count label, the count, the size label and the size, together.
    virtual void hideInfoSizeFields(bool hide) = 0;

    /// Makes the view visible as a free window.
    virtual void show() = 0;
    /// Makes the view visible as a sheet on `parent`.
    virtual void showAsSheet(WindowHandle parent) = 0;
    virtual void close() = 0;
};

/// Makes the view; `stop` is what its Stop button calls, on the main thread. nullptr when it cannot
/// be made.
using ProgressViewFactory =
    std::function<std::unique_ptr<ProgressView>(std::function<void()> stop)>;

}  // namespace kestrin
