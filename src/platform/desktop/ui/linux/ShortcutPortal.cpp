// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/linux/ShortcutPortal.h"

#include <QDBusConnection>
#include <algorithm>
#include <utility>

#include "platform/desktop/ui/linux/PortalSession.h"

namespace kestrin {

namespace {

using Phase = PortalSession::Phase;
using State = HotKeyCenter::State;
using Way = HotKeyCenter::Way;

/// How long a portal must have lived to be started again when it is gone.
constexpr std::chrono::seconds kLongLife{10};

bool areSameToThePortal(const HotKey& left, const HotKey& right) {
    return left.identifier == right.identifier && left.shortcut == right.shortcut &&
           left.description == right.description;
}

}  // namespace

ShortcutPortal::ShortcutPortal(Handlers handlers)
    : m_handlers(std::move(handlers)),
      m_watcher(QLatin1String(kPortalService), QDBusConnection::sessionBus()) {
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString& oldOwner, const QString& newOwner) {
                if (!oldOwner.isEmpty()) portalDidGo();
                if (!newOwner.isEmpty()) portalDidCome();
            });
}

ShortcutPortal::~ShortcutPortal() = default;

Way ShortcutPortal::way() const {
    if (!m_session) return Way::Unknown;
    switch (m_session->phase()) {
        case Phase::Asked:
            return Way::Unknown;
        case Phase::Begun:
        case Phase::Granted:
        case Phase::Refused:
            return Way::Portal;
        case Phase::Failed:
            break;
    }
    return Way::None;
}

void ShortcutPortal::setHotKeys(const std::vector<HotKey>& hotKeys) {
    m_hotKeys = hotKeys;
    askSoon();
    m_handlers.changed();
}

void ShortcutPortal::setMayAskUser(bool mayAsk) {
    m_mayAskUser = mayAsk;
    askSoon();
}

/// Several hot keys are registered one after the other.
void ShortcutPortal::askSoon() {
    if (!m_mayAskUser || std::exchange(m_willAsk, true)) return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_willAsk = false;
            if (m_mayAskUser && !hasAsked()) beginSession();
        },
        Qt::QueuedConnection);
}

State ShortcutPortal::state(std::string_view identifier) const {
    if (!hasAsked() && (m_willAsk || !m_mayAskUser)) return State::Pending;
    if (!m_session) return State::Unavailable;
    const Phase phase = m_session->phase();
    if (phase == Phase::Asked || phase == Phase::Begun) return State::Pending;
    const QString* const trigger = m_session->trigger(identifier);
    if (phase != Phase::Granted || !trigger) return State::Unavailable;
    return trigger->isEmpty() ? State::Taken : State::Registered;
}

QString ShortcutPortal::shownText(std::string_view identifier) const {
    const QString* const trigger = m_session ? m_session->trigger(identifier) : nullptr;
    return trigger ? *trigger : QString();
}

bool ShortcutPortal::canConfigure() const {
    return m_session && (m_session->phase() == Phase::Refused || m_session->canConfigure());
}

void ShortcutPortal::configure() {
    if (!m_session) return;
    if (m_session->phase() == Phase::Refused) return beginSession();
    m_session->configure();
}

/// Whether a session has these very keys, or its user was asked for them and refused.
bool ShortcutPortal::hasAsked() const {
    if (!m_session) return m_hotKeys.empty();
    return m_session->phase() != Phase::Failed &&
           std::ranges::equal(m_hotKeys, m_session->hotKeys(), areSameToThePortal);
}

void ShortcutPortal::beginSession() {
    m_session.reset();
    m_begun = std::chrono::steady_clock::now();
    if (!m_hotKeys.empty()) m_session = std::make_unique<PortalSession>(m_hotKeys, m_handlers);
    m_handlers.changed();
}

/// A portal that ends as soon as it is asked must not be started for ever.
void ShortcutPortal::portalDidGo() {
    if (!m_session) return;
    const bool hasWorked = m_session->phase() == Phase::Granted &&
                           std::chrono::steady_clock::now() - m_begun > kLongLife;
    m_session->portalIsGone();
    if (hasWorked) beginSession();
}

/// A portal that comes because it was asked finds a session that waits for it.
void ShortcutPortal::portalDidCome() {
    if (m_session && m_session->phase() == Phase::Failed) beginSession();
}

}  // namespace kestrin
