// SPDX-License-Identifier: GPL-3.0-or-later
// A progress view that shows nothing and remembers everything.
#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "erase/ProgressView.h"

namespace kestrin::test {

/// What a progress view was told, and the Stop button. Main thread; outlives the views.
struct ProgressRecord {
    /// Makes views that record here.
    inline ProgressViewFactory factory();
    /// Presses the Stop button of the view that was made last, or nothing when it has gone.
    void pressStop() {
        if (stop) stop();
    }

    std::vector<ProgressState> states;
    std::vector<WindowHandle> parents;  ///< of every opening; nullptr: a free window
    int closed = 0;
    std::function<void()> stop;  ///< of the last view
};

class RecordingProgressView : public ProgressView {
 public:
    explicit RecordingProgressView(ProgressRecord& record) : m_record(record) {}
    ~RecordingProgressView() override { m_record.stop = nullptr; }

    void show(const ProgressState& state) override { m_record.states.push_back(state); }
    void open(WindowHandle parent) override { m_record.parents.push_back(parent); }
    void close() override { ++m_record.closed; }

 private:
    ProgressRecord& m_record;
};

ProgressViewFactory ProgressRecord::factory() {
    return [this](std::function<void()> stopAction) -> std::unique_ptr<ProgressView> {
        stop = std::move(stopAction);
        return std::make_unique<RecordingProgressView>(*this);
    };
}

}  // namespace kestrin::test
