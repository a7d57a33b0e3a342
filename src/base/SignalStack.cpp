// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/SignalStack.h"

#include <sys/mman.h>

#include <csignal>
#include <cstddef>

namespace kestrin {
namespace {

// What processors keep of a thread when a signal comes takes up to 11 KB; unwinding takes a few
// more.
constexpr std::size_t kStack = std::size_t{64} << 10;
constexpr std::size_t kGuard = std::size_t{64} << 10;  // the largest page there is, below the stack

}  // namespace

SignalStack::SignalStack() {
    stack_t present{};
    if (::sigaltstack(nullptr, &present) != 0 || !(present.ss_flags & SS_DISABLE)) return;
    // Pages that are never touched take no memory.
    void* const memory = ::mmap(nullptr, kGuard + kStack, PROT_NONE,
                                MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    if (memory == MAP_FAILED) return;
    m_memory = memory;
    stack_t own{};
    own.ss_sp = static_cast<std::byte*>(memory) + kGuard;
    own.ss_size = kStack;
    if (::mprotect(own.ss_sp, kStack, PROT_READ | PROT_WRITE) == 0) ::sigaltstack(&own, nullptr);
}

SignalStack::~SignalStack() {
    if (!m_memory) return;
    stack_t none{};
    none.ss_flags = SS_DISABLE;
    ::sigaltstack(&none, nullptr);
    ::munmap(m_memory, kGuard + kStack);
}

}  // namespace kestrin
