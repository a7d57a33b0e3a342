// SPDX-License-Identifier: GPL-3.0-or-later
// How the lists of the window have work done in the background.
#pragma once

#include <QObject>
#include <QPointer>
#include <exception>
#include <functional>
#include <optional>
#include <utility>

#include "base/MainThread.h"
#include "base/OperationQueue.h"
#include "base/SystemLog.h"

namespace kestrin {

/// The queue that sorts, filters, sums up and frees. It is never destroyed. Thread: any.
OperationQueue& listOperationQueue();

/// Has `operation` run on that queue; on the main thread, later, where no thread is to be had.
/// Thread: any.
void runOnListQueue(const std::function<void()>& operation);

/// Has what `holder` captures freed on that queue, unless somebody else keeps it: entries by the
/// hundred thousand take long to free. Thread: any.
void freeOnListQueue(std::function<void()> holder);

/// Has `work` done on that queue, and then `done` called with its result on the main thread, unless
/// `context` is gone. The result is none when `work` threw. Main thread.
template <class Work, class Done>
void workOnListQueue(QObject& context, Work work, Done done) {
    runOnListQueue([owner = QPointer(&context), work = std::move(work), done = std::move(done)] {
        std::optional<decltype(work())> result;
        try {
            result = work();
        } catch (const std::exception& failure) {
            qCCritical(lcSmartWindow, "The content list could not be made: %s", failure.what());
        }
        MainThread::post([owner, done, result = std::move(result)] {
            if (owner) done(result);
        });
    });
}

}  // namespace kestrin
