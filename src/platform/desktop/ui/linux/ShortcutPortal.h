// SPDX-License-Identifier: GPL-3.0-or-later
// Hot keys by the desktop's portal. Main thread.
#pragma once

#include <QDBusServiceWatcher>
#include <QObject>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/ui/HotKeyHost.h"

namespace kestrin {

class PortalSession;

/// Keeps one session of the portal with all hot keys. A portal takes the keys of a session once:
/// other keys need a new session. Several changes of one moment make one.
///
/// A portal that never answers leaves the hot keys pending. One that is gone is asked again when it
/// comes back, and is started again when it had worked for a while.
class ShortcutPortal : public QObject, public HotKeyHost {
    Q_OBJECT

 public:
    explicit ShortcutPortal(Handlers handlers);
    ~ShortcutPortal() override;

    HotKeyCenter::Way way() const override;
    void setHotKeys(const std::vector<HotKey>& hotKeys) override;
    /// The portal keeps the keys meanwhile; HotKeyCenter takes no press.
    void setSuspended(bool) override {}
    void setMayAskUser(bool mayAsk) override;
    HotKeyCenter::State state(std::string_view identifier) const override;
    QString shownText(std::string_view identifier) const override;
    bool isTakenByOther(const Shortcut&) const override { return false; }
    bool canConfigure() const override;
    /// Asks once more for keys that the user refused; else opens the dialog of the portal.
    void configure() override;

 private:
    void beginSession();
    void askSoon();
    bool hasAsked() const;
    void portalDidGo();
    void portalDidCome();

    const Handlers m_handlers;
    QDBusServiceWatcher m_watcher;
    std::vector<HotKey> m_hotKeys;
    bool m_mayAskUser = true;
    bool m_willAsk = false;
    std::chrono::steady_clock::time_point m_begun{};
    std::unique_ptr<PortalSession> m_session;  ///< nullptr before the first hot key
};

}  // namespace kestrin
