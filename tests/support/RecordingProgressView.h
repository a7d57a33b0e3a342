// SPDX-License-Identifier: GPL-3.0-or-later
// A progress view that shows nothing and remembers everything.
#pragma once

#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include "erase/ProgressView.h"

namespace kestrin::test {

/// What a progress view was told, and the Stop button. Main thread; outlives the views.
struct ProgressRecord {
    /// Makes views that record here.
    ProgressViewFactory factory();
    /// Presses the Stop button of the view that was made last, or nothing when it has gone.
    void pressStop();

    bool canBeMade = true;  ///< false: the factory gives nullptr

    std::vector<QString> mainTexts;
    std::vector<QString> infoTexts;
    std::vector<QString> countTexts;
    std::vector<QString> sizeTexts;
    std::vector<double> percents;
    std::vector<bool> hiddenFields;  ///< arguments of hideInfoSizeFields
    std::vector<bool>
        indeterminate;  ///< true: the indeterminate animation was started, false: the other
    int viewsMade = 0;
    int shown = 0;  ///< as a free window
    std::vector<WindowHandle> sheetParents;
    int closed = 0;
    std::function<void()> onShow;  ///< called when a view shows, in either way
    std::function<void()> stop;    ///< of the last view
};

class RecordingProgressView : public ProgressView, private ProgressSpinner {
 public:
    explicit RecordingProgressView(ProgressRecord& record) : m_record(record) {}
    ~RecordingProgressView() override;

    ProgressSpinner& spinner() override { return *this; }
    void setMainText(const QString& text) override;
    QString mainText() const override { return m_mainText; }
    void setInfoText(const QString& text) override { m_record.infoTexts.push_back(text); }
    void setCountText(const QString& text) override { m_record.countTexts.push_back(text); }
    void setSizeText(const QString& text) override { m_record.sizeTexts.push_back(text); }
    QString countFormat() const override { return QStringLiteral("%@ of %@"); }
    void hideInfoSizeFields(bool hide) override { m_record.hiddenFields.push_back(hide); }
    void show() override;
    void showAsSheet(WindowHandle parent) override;
    void close() override { ++m_record.closed; }

 private:
    void startIndeterminateAnimation() override;
    void startDeterminateAnimation() override;
    bool isIndeterminate() const override { return m_isIndeterminate; }
    void updateProgress(double percent) override { m_record.percents.push_back(percent); }

    ProgressRecord& m_record;
    QString m_mainText = QStringLiteral("Erasing");
    std::atomic<bool> m_isIndeterminate{true};
};

}  // namespace kestrin::test
