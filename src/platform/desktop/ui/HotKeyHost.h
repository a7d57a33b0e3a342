// SPDX-License-Identifier: GPL-3.0-or-later
// One way to hot keys, as HotKeyCenter sees it. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/ui/HotKeys.h"

namespace kestrin {

class HotKeyHost {
 public:
    /// What a host tells. `pressed` comes from the event loop; `changed` may come from within a
    /// call to the host.
    struct Handlers {
        std::function<void(const std::string& identifier)> pressed;
        std::function<void()> changed;
    };

    virtual ~HotKeyHost() = default;
    virtual HotKeyCenter::Way way() const = 0;
    /// These are all the hot keys from now on. Tries again what was refused before.
    virtual void setHotKeys(const std::vector<HotKey>& hotKeys) = 0;
    virtual void setSuspended(bool isSuspended) = 0;
    virtual void setMayAskUser(bool mayAsk) = 0;
    virtual HotKeyCenter::State state(std::string_view identifier) const = 0;
    virtual QString shownText(std::string_view identifier) const = 0;
    /// Whether another program is known to have these keys.
    virtual bool isTakenByOther(const Shortcut& shortcut) const = 0;
    virtual bool canConfigure() const = 0;
    virtual void configure() = 0;
};

/// The way of this desktop.
std::unique_ptr<HotKeyHost> makeHotKeyHost(HotKeyHost::Handlers handlers);

}  // namespace kestrin
