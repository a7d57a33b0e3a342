// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseTurn.h"

#include <mutex>
#include <utility>

#include "erase/QVDeleteItems.h"

namespace kestrin {
namespace {

struct Turn {
    std::mutex lock;
    std::weak_ptr<QVDeleteItems> latest;
    bool isTaken = false;
    std::shared_ptr<QVDeleteItems> keptAlive;

    std::shared_ptr<QVDeleteItems> holder() const { return isTaken ? latest.lock() : nullptr; }
};

/// Never destroyed: a helper that never answers may outlive main().
Turn& turn() {
    static auto& turn = *new Turn;
    return turn;
}

}  // namespace

bool EraseTurn::take(const std::shared_ptr<QVDeleteItems>& engine) {
    Turn& its = turn();
    const std::lock_guard lock(its.lock);
    if (its.holder()) return false;
    its.latest = engine;
    its.isTaken = true;
    return true;
}

void EraseTurn::keepAlive() {
    Turn& its = turn();
    const std::lock_guard lock(its.lock);
    its.keptAlive = its.holder();
}

void EraseTurn::giveBack(const QVDeleteItems& engine) {
    Turn& its = turn();
    std::shared_ptr<QVDeleteItems> keptAlive;  // goes outside the lock
    const std::lock_guard lock(its.lock);
    if (its.latest.lock().get() != &engine) return;
    its.isTaken = false;
    keptAlive = std::move(its.keptAlive);
}

std::shared_ptr<QVDeleteItems> EraseTurn::holder() {
    Turn& its = turn();
    const std::lock_guard lock(its.lock);
    return its.holder();
}

std::shared_ptr<QVDeleteItems> EraseTurn::engineOf(const void* sender) {
    Turn& its = turn();
    const std::lock_guard lock(its.lock);
    auto engine = its.latest.lock();
    return engine.get() == sender ? engine : nullptr;
}

}  // namespace kestrin
