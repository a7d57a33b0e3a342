// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/RecordingProgressView.h"

#include <utility>

namespace kestrin::test {

ProgressViewFactory ProgressRecord::factory() {
    return [this](std::function<void()> stopAction) -> std::unique_ptr<ProgressView> {
        if (!canBeMade) return nullptr;
        ++viewsMade;
        stop = std::move(stopAction);
        return std::make_unique<RecordingProgressView>(*this);
    };
}

void ProgressRecord::pressStop() {
    if (stop) stop();
}

RecordingProgressView::~RecordingProgressView() {
    m_record.stop = nullptr;
}

void RecordingProgressView::setMainText(const QString& text) {
    m_mainText = text;
    m_record.mainTexts.push_back(text);
}

void RecordingProgressView::show() {
    ++m_record.shown;
    if (m_record.onShow) m_record.onShow();
}

void RecordingProgressView::showAsSheet(WindowHandle parent) {
    m_record.sheetParents.push_back(parent);
    if (m_record.onShow) m_record.onShow();
}

void RecordingProgressView::startIndeterminateAnimation() {
    m_isIndeterminate = true;
    m_record.indeterminate.push_back(true);
}

void RecordingProgressView::startDeterminateAnimation() {
    m_isIndeterminate = false;
    m_record.indeterminate.push_back(false);
}

}  // namespace kestrin::test
