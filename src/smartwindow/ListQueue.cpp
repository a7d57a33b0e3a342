// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/ListQueue.h"

namespace kestrin {

OperationQueue& listOperationQueue() {
    static auto& queue = *new OperationQueue("list", 2);
    return queue;
}

void runOnListQueue(const std::function<void()>& operation) {
    try {
        listOperationQueue().enqueue(operation);
    } catch (const std::exception&) {
        MainThread::post(operation);
    }
}

void freeOnListQueue(std::function<void()> holder) {
    try {
        listOperationQueue().enqueue(std::move(holder));
    } catch (const std::exception&) {  // no thread is to be had: it is freed here
    }
}

}  // namespace kestrin
