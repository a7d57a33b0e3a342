// SPDX-License-Identifier: GPL-3.0-or-later
// The progress on the program's entry in docks and task bars (com.canonical.Unity.LauncherEntry).
#pragma once

namespace kestrin {

/// Sends signals on the session bus and waits for nothing; without a bus it does nothing. Main
/// thread.
class LauncherEntry {
 public:
    LauncherEntry() = default;
    /// Hides the progress.
    ~LauncherEntry();
    LauncherEntry(const LauncherEntry&) = delete;
    LauncherEntry& operator=(const LauncherEntry&) = delete;

    /// Shows `percent` of 100. Sends a signal when the whole percentage changes, so that it may be
    /// called as often as one likes.
    void setProgress(double percent);
    void hide();

 private:
    static constexpr int kHidden = -1;
    int m_shownPercent = kHidden;
};

}  // namespace kestrin
