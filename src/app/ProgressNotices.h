// SPDX-License-Identifier: GPL-3.0-or-later
// What the desktop shows of an erase besides its window: a notification with Stop while the window
// is not in front, and the percentage on the launcher's entry. Both go with the view.
#pragma once

#include <QObject>
#include <functional>
#include <memory>

#include "erase/ProgressView.h"
#include "platform/desktop/ui/DesktopNotification.h"
#include "platform/desktop/ui/LauncherEntry.h"

namespace kestrin {

class StringTable;

/// A progress view that hands everything on to `view`. Main thread.
class ProgressNotices final : public ProgressView {
 public:
    /// `isInFront` tells whether the user sees the window of `view`; `stop` is called by the
    /// notification's Stop.
    ProgressNotices(std::unique_ptr<ProgressView> view, std::function<bool()> isInFront,
                    const StringTable& texts, std::function<void()> stop);
    ~ProgressNotices() override;

    void show(const ProgressState& state) override;
    void open(WindowHandle parent) override;
    void close() override;

 private:
    void followWindow();

    const std::unique_ptr<ProgressView> m_view;
    const std::function<bool()> m_isInFront;
    const StringTable& m_texts;
    ProgressState m_state;
    bool m_isShown = false;
    DesktopNotification m_notification;
    LauncherEntry m_launcher;
    QObject m_context;  ///< last: nothing is heard while the rest goes
};

}  // namespace kestrin
