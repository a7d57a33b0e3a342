// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/linux/CrashContext.h"

#include <ucontext.h>
#include <unwind.h>

#include <array>

#include "platform/processes/linux/CrashModules.h"

namespace kestrin {
namespace {

constexpr int kMostFrames = 128;

/// Names the registers in the order in which the kernel stores them, and tells where two of them
/// are.
#if defined(__x86_64__)
constexpr const char* kRegisters[] = {"r8",  "r9",  "r10", "r11", "r12", "r13",
                                      "r14", "r15", "rdi", "rsi", "rbp", "rbx",
                                      "rdx", "rax", "rcx", "rsp", "rip", "flags"};
constexpr int kCounter = REG_RIP, kStack = REG_RSP;

std::uintptr_t valueOf(const ucontext_t& context, int number) {
    return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[number]);
}
/// Undoes a call of which no instruction has run.
bool takeCallBack(ucontext_t& context) {
    std::uintptr_t address = 0;
    if (!readOwnMemory(valueOf(context, kStack), &address, sizeof(address))) return false;
    context.uc_mcontext.gregs[kStack] += sizeof(address);
    context.uc_mcontext.gregs[kCounter] = static_cast<greg_t>(address);
    return true;
}
#elif defined(__aarch64__)
constexpr const char* kRegisters[] = {"x0",  "x1",  "x2",  "x3",  "x4",  "x5",  "x6",  "x7",  "x8",
                                      "x9",  "x10", "x11", "x12", "x13", "x14", "x15", "x16", "x17",
                                      "x18", "x19", "x20", "x21", "x22", "x23", "x24", "x25", "x26",
                                      "x27", "x28", "x29", "x30", "sp",  "pc"};
constexpr int kCounter = 32, kStack = 31;

std::uintptr_t valueOf(const ucontext_t& context, int number) {
    const auto& machine = context.uc_mcontext;
    if (number == kCounter) return machine.pc;
    return number == kStack ? machine.sp : machine.regs[number];
}

/// Undoes a call of which no instruction has run.
bool takeCallBack(ucontext_t& context) {
    context.uc_mcontext.pc = context.uc_mcontext.regs[30];
    return true;
}
#else
#error "Name the registers of this processor here."
#endif

using Take = void (*)(std::uintptr_t);

/// The state of one walk. It has met the interrupted instruction when the handler's own frames are
/// behind it.
struct Walk {
    Take take;
    std::uintptr_t begin;
    bool hasMetIt = false;
    int count = 0;
};

_Unwind_Reason_Code takeFrame(_Unwind_Context* frame, void* data) {
    Walk& walk = *static_cast<Walk*>(data);
    const std::uintptr_t address = _Unwind_GetIP(frame);
    if (walk.hasMetIt && address != 0) {
        walk.take(address);
        ++walk.count;
    }
    walk.hasMetIt = walk.hasMetIt || address == walk.begin;
    return walk.count < kMostFrames ? _URC_NO_REASON : _URC_END_OF_STACK;
}

bool isReadable(std::uintptr_t address) {
    std::array<char, 16> bytes;
    return readOwnMemory(address, bytes.data(), bytes.size());
}

}  // namespace

void forEachRegister(const void* context, void (*take)(const char* name, std::uintptr_t value)) {
    const auto& state = *static_cast<const ucontext_t*>(context);
    int number = 0;
    for (const char* const name : kRegisters)
        take(name, valueOf(state, number++));
}

// Since GCC 12 and glibc 2.35 the unwinder finds its tables by _dl_find_object, which glibc's
// manual calls safe in signal handlers.
void forEachFrame(void* context, Take take) {
    auto& state = *static_cast<ucontext_t*>(context);
    const auto interrupted = state.uc_mcontext;
    take(valueOf(state, kCounter));
    // The unwinder reads instructions. After a call into nowhere there are none: it is shown the
    // moment before.
    const bool isNowhere = !isReadable(valueOf(state, kCounter));
    if (!isNowhere || (takeCallBack(state) && isReadable(valueOf(state, kCounter)))) {
        Walk walk{.take = take, .begin = valueOf(state, kCounter)};
        if (isNowhere) take(walk.begin);
        _Unwind_Backtrace(takeFrame, &walk);
    }
    state.uc_mcontext = interrupted;
}

}  // namespace kestrin
