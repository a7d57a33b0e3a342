// SPDX-License-Identifier: GPL-3.0-or-later
// One session of the portal's global shortcuts (XDG Desktop Portal,
// org.freedesktop.portal.GlobalShortcuts, versions 1 and 2). Main thread.
#pragma once

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/desktop/ui/HotKeyHost.h"

namespace kestrin {

inline constexpr char kPortalService[] = "org.freedesktop.portal.Desktop";

/// Begins a session and asks for the keys at once. Nothing is waited for. What comes from anybody
/// but the portal, for another session, or in a shape that was not agreed on means nothing. The
/// session ends with the object, also one that the portal only begins later.
class PortalSession : public QObject {
    Q_OBJECT

 public:
    enum class Phase {
        Asked,    ///< nobody has answered yet
        Begun,    ///< there is a portal; it, or the user, has not granted the keys yet
        Granted,  ///< `trigger` tells which
        Refused,  ///< by the user
        Failed,   ///< there is no bus or no such portal, or it ended the session
    };

    PortalSession(std::vector<HotKey> hotKeys, HotKeyHost::Handlers handlers);
    ~PortalSession() override;

    Phase phase() const { return m_phase; }
    const std::vector<HotKey>& hotKeys() const { return m_hotKeys; }
    /// What the user presses, in the portal's words. Empty where the portal has no keys for it;
    /// nullptr where it did not grant it.
    const QString* trigger(std::string_view identifier) const;
    bool canConfigure() const;
    void configure();
    /// The session has gone with the portal.
    void portalIsGone();

 private:
    using Answer = void (PortalSession::*)(const QVariantMap& results);

    static QString newToken();
    void call(const QString& method, QVariantList arguments, QVariantMap options, Answer granted);
    void listenForResponse(const QString& requestPath);
    void bindKeys(const QVariantMap& results);
    void takeKeys(const QVariantMap& results);
    void askForVersion();
    void setPhase(Phase phase);
    void setTriggers(const QVariant& shortcuts);

    Q_SLOT void responded(const QDBusMessage& message);
    Q_SLOT void activated(const QDBusMessage& message);
    Q_SLOT void shortcutsChanged(const QDBusMessage& message);
    Q_SLOT void closed();

    const std::vector<HotKey> m_hotKeys;
    const HotKeyHost::Handlers m_handlers;
    QString m_path;         ///< of the session
    QString m_requestPath;  ///< of the question that is open
    Answer m_granted = nullptr;
    Phase m_phase = Phase::Asked;
    uint m_version = 1;
    std::map<std::string, QString, std::less<>> m_triggers;
};

}  // namespace kestrin
