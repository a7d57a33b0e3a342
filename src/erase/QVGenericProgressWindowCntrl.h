// SPDX-License-Identifier: GPL-3.0-or-later
// Owns the progress view of one erase and knows whether the user pressed Stop. It decides nothing:
// the engine says when the view shows, what it says and when it closes.
#pragma once

#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "erase/ProgressView.h"

namespace kestrin {

/// Main thread only, but for `wasStopped`, `stopAction`, `setStopHandler` and the spinner's
/// `isIndeterminate`.
class QVGenericProgressWindowCntrl {
 public:
    /// A controller with a view that does not show yet; nullptr when the view cannot be made.
    static std::unique_ptr<QVGenericProgressWindowCntrl> create(
        const ProgressViewFactory& makeView);

    QVGenericProgressWindowCntrl(const QVGenericProgressWindowCntrl&) = delete;
    QVGenericProgressWindowCntrl& operator=(const QVGenericProgressWindowCntrl&) = delete;

    /// The user pressed Stop. Never goes back to false.
    bool wasStopped() const { return m_wasStopped; }
    /// What the Stop button does. The first call sets `wasStopped` and then calls the stop handler;
    /// further calls do nothing.
    void stopAction();
    /// What to call when Stop is pressed, so that waits can end at once: once, on the thread of
    /// stopAction; at once on this thread when Stop was pressed before. It must not block. Replaces
    /// an earlier handler.
    void setStopHandler(std::function<void()> handler);

    ProgressView& window() { return *m_window; }
    ProgressSpinner& spinner() { return m_window->spinner(); }

    void setMainInfoFieldTxt(const QString& text) { m_window->setMainText(text); }
    QString mainInfoFieldTxt() const { return m_window->mainText(); }
    void setInfoFld(const QString& text) { m_window->setInfoText(text); }
    void setCountFld(const QString& text) { m_window->setCountText(text); }
    void setSizeFld(const QString& text) { m_window->setSizeText(text); }
    /// The format of the count field, with two "%@": items done, items in all.
    const QString& countStr() const { return m_countStr; }
    /// Hides or shows the count label, the count, the size label and the size, together.
    void hideInfoSizeFields(bool hide) { m_window->hideInfoSizeFields(hide); }

 private:
    QVGenericProgressWindowCntrl() = default;
    void callStopHandler();

    std::unique_ptr<ProgressView> m_window;
    QString m_countStr;
    std::atomic<bool> m_wasStopped{false};
    std::mutex m_handlerLock;
    std::function<void()> m_stopHandler;  // guarded by m_handlerLock
};

}  // namespace kestrin
