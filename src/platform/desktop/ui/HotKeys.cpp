// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/HotKeys.h"

#include <algorithm>
#include <utility>

#include "platform/desktop/ui/HotKeyHost.h"

namespace kestrin {

HotKeyCenter::HotKeyCenter()
    : m_host(
          makeHotKeyHost({.pressed = [this](const std::string& identifier) { press(identifier); },
                          .changed = [this] { Q_EMIT changed(); }})) {}

HotKeyCenter::~HotKeyCenter() = default;

HotKeyCenter::Way HotKeyCenter::way() const {
    return m_host->way();
}

void HotKeyCenter::registerHotKey(HotKey hotKey) {
    const auto old = std::ranges::find(m_hotKeys, hotKey.identifier, &HotKey::identifier);
    if (old == m_hotKeys.end()) {
        m_hotKeys.push_back(std::move(hotKey));
    } else {
        *old = std::move(hotKey);
    }
    m_host->setHotKeys(m_hotKeys);
}

void HotKeyCenter::unregisterHotKey(std::string_view identifier) {
    const auto isMeant = [&](const HotKey& hotKey) { return hotKey.identifier == identifier; };
    if (std::erase_if(m_hotKeys, isMeant) > 0) m_host->setHotKeys(m_hotKeys);
}

HotKeyCenter::State HotKeyCenter::state(std::string_view identifier) const {
    return find(identifier) ? m_host->state(identifier) : State::Unavailable;
}

QString HotKeyCenter::shownText(std::string_view identifier) const {
    return state(identifier) == State::Registered ? m_host->shownText(identifier) : QString();
}

bool HotKeyCenter::isTaken(const Shortcut& shortcut, std::string_view exceptIdentifier) const {
    if (other(shortcut, exceptIdentifier)) return true;
    return m_host->isTakenByOther(shortcut);
}

QString HotKeyCenter::holder(const Shortcut& shortcut, std::string_view exceptIdentifier) const {
    const HotKey* const hotKey = other(shortcut, exceptIdentifier);
    return hotKey ? hotKey->description : QString();
}

void HotKeyCenter::retry() {
    m_host->setHotKeys(m_hotKeys);
}

void HotKeyCenter::setMayAskUser(bool mayAsk) {
    m_host->setMayAskUser(mayAsk);
}

bool HotKeyCenter::canConfigure() const {
    return m_host->canConfigure();
}

void HotKeyCenter::configure() {
    m_host->configure();
}

const HotKey* HotKeyCenter::find(std::string_view identifier) const {
    const auto found = std::ranges::find(m_hotKeys, identifier, &HotKey::identifier);
    return found == m_hotKeys.end() ? nullptr : &*found;
}

const HotKey* HotKeyCenter::other(const Shortcut& shortcut,
                                  std::string_view exceptIdentifier) const {
    const auto found = std::ranges::find_if(m_hotKeys, [&](const HotKey& hotKey) {
        return hotKey.shortcut == shortcut && hotKey.identifier != exceptIdentifier;
    });
    return found == m_hotKeys.end() ? nullptr : &*found;
}

void HotKeyCenter::suspend(int more) {
    const bool wasSuspended = m_suspensions > 0;
    m_suspensions += more;
    const bool isSuspended = m_suspensions > 0;
    if (isSuspended != wasSuspended) m_host->setSuspended(isSuspended);
}

/// The key may have been suspended, or be another's, since it was pressed. What it does may
/// register others.
void HotKeyCenter::press(const std::string& identifier) const {
    const HotKey* const hotKey = m_suspensions == 0 ? find(identifier) : nullptr;
    const auto pressed = hotKey ? hotKey->pressed : nullptr;
    if (pressed) pressed();
}

HotKeyCenter::Suspension::Suspension(HotKeyCenter& center) : m_center(center) {
    m_center.suspend(1);
}

HotKeyCenter::Suspension::~Suspension() {
    m_center.suspend(-1);
}

}  // namespace kestrin
