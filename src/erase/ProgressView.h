// SPDX-License-Identifier: GPL-3.0-or-later
// What shows the progress of an erase: a window, a line in the terminal, a recording in tests. Main
// thread only.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "erase/AlertPanel.h"

namespace kestrin {

/// How far an erase is.
struct ProgressFigures {
    std::uint64_t items = 0;     ///< erased so far
    std::uint64_t allItems = 0;  ///< at least `items`
    std::uint64_t bytes = 0;     ///< erased so far

    /// Of the items, 0 to 100.
    double percent() const {
        return allItems == 0 ? 0
                             : 100.0 * static_cast<double>(items) / static_cast<double>(allItems);
    }
};

/// All that is shown of an erase at one moment.
struct ProgressState {
    enum class Phase {
        Working,   ///< Stop can be pressed
        Stopping,  ///< it was pressed
        Over,      ///< nothing is left to be stopped; the end is about to be reported
    };
    Phase phase = Phase::Working;
    QString mainText{};                        ///< what is happening
    QString infoText{};                        ///< what is being erased; may be empty
    std::optional<ProgressFigures> figures{};  ///< none while the items are being counted
};

class ProgressView {
 public:
    virtual ~ProgressView() = default;

    /// Shows `state` in place of what was shown before. Does not make the view visible.
    virtual void show(const ProgressState& state) = 0;
    /// Makes the view visible: as a sheet on `parent`, as a free window when nullptr.
    virtual void open(WindowHandle parent) = 0;
    virtual void close() = 0;
};

/// Makes the view; `stop` is what its Stop button calls, on the main thread. nullptr when it cannot
/// be made.
using ProgressViewFactory =
    std::function<std::unique_ptr<ProgressView>(std::function<void()> stop)>;

}  // namespace kestrin
