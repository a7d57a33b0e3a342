// SPDX-License-Identifier: GPL-3.0-or-later
// A stack on which signal handlers run when a thread's own stack is used up.
#pragma once

namespace kestrin {

/// Gives this thread such a stack for as long as it lives, unless it has one. Without memory for it
/// handlers run on the thread's own stack. Made and destroyed by the same thread.
class SignalStack {
 public:
    SignalStack();
    ~SignalStack();
    SignalStack(const SignalStack&) = delete;
    SignalStack& operator=(const SignalStack&) = delete;

 private:
    void* m_memory = nullptr;
};

}  // namespace kestrin
