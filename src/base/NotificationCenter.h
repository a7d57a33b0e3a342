// SPDX-License-Identifier: GPL-3.0-or-later
// Facts told to whoever asked for them, by name. Delivery is a plain call on the poster's thread.
#pragma once

#include <any>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestrin {

/// Values by literal key. A value is read with exactly the type it was stored with.
class UserInfo {
 public:
    /// Stores `value` under `key`, replacing an earlier one. Returns itself, so that calls chain.
    template <class T>
    UserInfo& set(std::string_view key, T value) {
        m_values.insert_or_assign(std::string(key), std::any(std::move(value)));
        return *this;
    }
    /// The value under `key`; nullptr when it is absent or of another type.
    template <class T>
    const T* find(std::string_view key) const {
        const auto entry = m_values.find(key);
        return entry == m_values.end() ? nullptr : std::any_cast<T>(&entry->second);
    }
    /// The value under `key`, or `fallback`.
    template <class T>
    T value(std::string_view key, T fallback = {}) const {
        const T* found = find<T>(key);
        return found ? *found : std::move(fallback);
    }
    bool isEmpty() const { return m_values.empty(); }

 private:
    std::map<std::string, std::any, std::less<>> m_values;
};

/// What an observer is handed.
struct Notification {
    std::string name;
    const void* sender = nullptr;  ///< identity only, never dereferenced; nullptr for "nobody"
    UserInfo userInfo;
};

/// A registration that ends with this token. Movable, not copyable; may outlive what made it.
/// Once `reset` or the destructor returns, the callback neither runs nor will run on another
/// thread, so a callback must never wait for the thread that drops its token. A callback may drop
/// its own.
class Observation {
 public:
    Observation() = default;
    explicit Observation(std::function<void()> unregister) : m_unregister(std::move(unregister)) {}
    Observation(Observation&& other) noexcept
        : m_unregister(std::exchange(other.m_unregister, nullptr)) {}
    Observation& operator=(Observation&& other) noexcept {
        if (this != &other) {
            reset();
            m_unregister = std::exchange(other.m_unregister, nullptr);
        }
        return *this;
    }
    ~Observation() { reset(); }

    void reset() {
        if (auto unregister = std::exchange(m_unregister, nullptr)) unregister();
    }
    explicit operator bool() const { return m_unregister != nullptr; }

 private:
    std::function<void()> m_unregister;
};

/// Delivers notifications to observers, in the order of their registration. Thread: any.
class NotificationCenter {
 public:
    using Callback = std::function<void(const Notification&)>;

    NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    /// The process's default centre.
    static NotificationCenter& defaultCenter();

    /// Calls `callback` for every later notification of that name, and of that sender alone
    /// unless it is nullptr.
    [[nodiscard]] Observation observe(std::string_view name, Callback callback,
                                      const void* sender = nullptr);

    /// Calls the observers registered at this moment, one after the other, on this thread; returns
    /// when all have been called. Observers may register, unregister and post.
    void post(std::string_view name, const void* sender = nullptr, UserInfo userInfo = {});

 private:
    struct Observer;
    struct Registry;
    std::shared_ptr<Registry> m_registry;
};

}  // namespace kestrin
