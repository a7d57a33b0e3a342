// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NotificationCenter.h"

#include <algorithm>

namespace kestrin {

struct NotificationCenter::Observer {
    std::string name;
    const void* sender = nullptr;
    Callback callback;
    std::recursive_mutex running;  ///< held while the callback runs; recursive: it may drop itself
    bool isRegistered = true;      ///< guarded by `running`
};

struct NotificationCenter::Registry {
    std::mutex mutex;
    std::vector<std::shared_ptr<Observer>> observers;  ///< guarded by `mutex`
};

NotificationCenter::NotificationCenter() : m_registry(std::make_shared<Registry>()) {}

NotificationCenter& NotificationCenter::defaultCenter() {
    // Never destroyed: a worker that is still busy when the process ends may post.
    static auto& center = *new NotificationCenter;
    return center;
}

Observation NotificationCenter::observe(std::string_view name, Callback callback,
                                        const void* sender) {
    auto observer = std::make_shared<Observer>();
    observer->name = name;
    observer->sender = sender;
    observer->callback = std::move(callback);
    {
        const std::lock_guard lock(m_registry->mutex);
        m_registry->observers.push_back(observer);
    }
    return Observation([observer, registry = std::weak_ptr(m_registry)] {
        if (const auto alive = registry.lock()) {
            const std::lock_guard lock(alive->mutex);
            std::erase(alive->observers, observer);
        }
        const std::lock_guard lock(observer->running);
        observer->isRegistered = false;
    });
}

void NotificationCenter::post(std::string_view name, const void* sender, UserInfo userInfo) {
    std::vector<std::shared_ptr<Observer>> interested;
    {
        const std::lock_guard lock(m_registry->mutex);
        std::copy_if(m_registry->observers.begin(), m_registry->observers.end(),
                     std::back_inserter(interested), [&](const auto& observer) {
                         return observer->name == name &&
                                (!observer->sender || observer->sender == sender);
                     });
    }
    const Notification notification{std::string(name), sender, std::move(userInfo)};
    for (const auto& observer : interested) {
        const std::lock_guard lock(observer->running);
        if (observer->isRegistered) observer->callback(notification);
    }
}

}  // namespace kestrin
