// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/MainThread.h"

#include <fcntl.h>
#include <unistd.h>

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "base/SystemLog.h"

namespace kestrin {
namespace {

/// A worker that waits for its call; lives on the worker's stack, guarded by `Directory::mutex`.
struct Waiter {
    enum class State { Waiting, Served, Dropped };

    std::condition_variable answered;
    State state = State::Waiting;

    /// Requires: the lock. Notifying under it keeps the waiter alive until the call is over.
    void answer(State with) {
        state = with;
        answered.notify_one();
    }
};

struct Letter {
    std::function<void()> call;
    Waiter* waiter = nullptr;
};

}  // namespace

/// The letters, and a pipe that holds one byte for as long as there are any. The byte is what wakes
/// the event loop, a nested one too: it stays in the pipe while a letter that waits is behind the
/// one being served.
class MainThread::Mailbox {
 public:
    struct Directory;
    static Directory& directory();

    Mailbox();
    ~Mailbox();
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;

    /// Requires: the directory's lock.
    void put(Letter letter);
    /// Starts a timer that ends with the mailbox. Requires: the main thread.
    void startTimer(std::chrono::milliseconds delay, std::function<void()> call);

 private:
    void serveOne();
    std::deque<Letter> takeAll();

    int m_pipe[2] = {-1, -1};
    QObject m_context;
    std::optional<QSocketNotifier> m_notifier;
    std::deque<Letter> m_letters;  ///< guarded by the directory's mutex
};

/// Where posters find the mailbox.
struct MainThread::Mailbox::Directory {
    std::mutex mutex;
    Mailbox* open = nullptr;  ///< guarded by `mutex`
    std::optional<std::thread::id>
        mainThread;  ///< guarded by `mutex`; stays when the mailbox closes
};

MainThread::Mailbox::Directory& MainThread::Mailbox::directory() {
    // Never destroyed: a worker that is still busy when the process ends may post.
    static auto& directory = *new Directory;
    return directory;
}

MainThread::Mailbox::Mailbox() {
    if (::pipe(m_pipe) != 0)
        qFatal("The main thread's mailbox cannot be made: no more descriptors");
    for (const int end : m_pipe) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    m_notifier.emplace(m_pipe[0], QSocketNotifier::Read);
    QObject::connect(&*m_notifier, &QSocketNotifier::activated, &m_context, [this] { serveOne(); });
    const std::lock_guard lock(directory().mutex);
    Q_ASSERT(!directory().open);
    directory().open = this;
    directory().mainThread = std::this_thread::get_id();
}

MainThread::Mailbox::~Mailbox() {
    const auto dropped = takeAll();
    m_notifier.reset();
    ::close(m_pipe[0]);
    ::close(m_pipe[1]);
}

std::deque<Letter> MainThread::Mailbox::takeAll() {
    const std::lock_guard lock(directory().mutex);
    directory().open = nullptr;
    for (const Letter& letter : m_letters) {
        if (letter.waiter) letter.waiter->answer(Waiter::State::Dropped);
    }
    return std::exchange(m_letters, {});
}

void MainThread::Mailbox::put(Letter letter) {
    m_letters.push_back(std::move(letter));
    if (m_letters.size() > 1) return;
    const char byte = 0;
    if (::write(m_pipe[1], &byte, 1) != 1) qCCritical(lcBase, "The main thread cannot be woken");
}

void MainThread::Mailbox::serveOne() {
    Letter letter;
    {
        const std::lock_guard lock(directory().mutex);
        // A nested event loop may have served what this activation was for.
        if (m_letters.empty()) return;
        letter = std::move(m_letters.front());
        m_letters.pop_front();
        char byte;
        if (m_letters.empty() && ::read(m_pipe[0], &byte, 1) != 1) {
            qCCritical(lcBase, "The main thread was woken by nobody");
        }
    }
    letter.call();
    letter.call = nullptr;  // what the call kept alive goes before the waiter goes on
    if (!letter.waiter) return;
    const std::lock_guard lock(directory().mutex);
    letter.waiter->answer(Waiter::State::Served);
}

void MainThread::Mailbox::startTimer(std::chrono::milliseconds delay, std::function<void()> call) {
    // Precise: a coarse timer may be early by a twentieth.
    QTimer::singleShot(delay, Qt::PreciseTimer, &m_context, std::move(call));
}

MainThread::MainThread() : m_mailbox(new Mailbox) {}

MainThread::~MainThread() {
    delete m_mailbox;
}

bool MainThread::isCurrent() {
    auto& directory = Mailbox::directory();
    const std::lock_guard lock(directory.mutex);
    return !directory.mainThread || *directory.mainThread == std::this_thread::get_id();
}

void MainThread::post(std::function<void()> call) {
    auto& directory = Mailbox::directory();
    const std::lock_guard lock(directory.mutex);
    if (directory.open) directory.open->put({std::move(call)});
}

bool MainThread::postAndWait(std::function<void()> call) {
    if (isCurrent()) {
        call();
        return true;
    }
    Waiter waiter;
    auto& directory = Mailbox::directory();
    std::unique_lock lock(directory.mutex);
    if (!directory.open) return false;
    directory.open->put({std::move(call), &waiter});
    waiter.answered.wait(lock, [&] { return waiter.state != Waiter::State::Waiting; });
    return waiter.state == Waiter::State::Served;
}

void MainThread::postAfter(std::chrono::milliseconds delay, std::function<void()> call) {
    auto& directory = Mailbox::directory();
    const std::lock_guard lock(directory.mutex);
    Mailbox* mailbox = directory.open;
    if (!mailbox) return;
    // A letter never outlives its mailbox.
    mailbox->put({[mailbox, delay, call = std::move(call)] { mailbox->startTimer(delay, call); }});
}

}  // namespace kestrin
