// SPDX-License-Identifier: GPL-3.0-or-later
// The thread between those who want previews and the decoders that make them.
#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/processes/DescriptorWait.h"
#include "smartwindow/preview/Decoder.h"
#include "smartwindow/preview/OpenedItem.h"

namespace kestrin {

/// How long the parts of a preview may take. Tests have less patience.
struct PreviewLimits {
    using Duration = std::chrono::milliseconds;
    Duration open{2000};        ///< a volume that takes longer to open a file is silent
    Duration decode{8000};      ///< a file, by the clock on the wall
    Duration withdrawn{200};    ///< a file that nobody wants any more
    Duration greeting{10'000};  ///< the start of a decoder
    Duration idle{30'000};      ///< without a request decoders end
    Duration pause{10'000};     ///< after decoders that could not be started
    int filesPerDecoder = 50;
};

/// One preview that somebody wants.
struct WantedPreview {
    PreviewedItem item;
    std::string volume;  ///< one question at a time is put to each
    DecodeRequest request;
    std::weak_ptr<void> ticket;  ///< expired: nobody wants it any more
    /// Called once, on the thread of the work, while the ticket lives.
    std::function<void(std::shared_ptr<const Preview>)> deliver;
};

/// Serves the newest request first. One decoder works and one is kept ready. Its thread waits for
/// no disk and for no decoder. Thread: any.
class PreviewWork {
 public:
    PreviewWork(DecoderProgram program, const PreviewLimits& limits);
    /// Delivers NoViewer to whoever still waits, and ends the decoders.
    ~PreviewWork();
    PreviewWork(const PreviewWork&) = delete;
    PreviewWork& operator=(const PreviewWork&) = delete;

    /// The request gets its number here.
    void add(WantedPreview wanted);
    /// While active, and asked now and then, decoders are kept ready; else they end with their
    /// work.
    void setActive(bool isActive);
    /// To be called when a ticket has gone. The mailbox outlives the work.
    std::function<void()> waker() const;

 private:
    using Clock = Decoder::Clock;
    enum class Stage { Waiting, Opening, Opened };
    struct Job {
        WantedPreview wanted;
        Stage stage = Stage::Waiting;
        OpenedItem opened{};
        bool isWanted() const { return !wanted.ticket.expired(); }
    };
    struct Opening {
        std::uint64_t number = 0;  ///< of its request
        Clock::time_point since;
    };
    struct Opened {
        std::string volume;
        OpenedItem item;
    };
    /// Where other threads leave what is for this one. Threads that hang may keep it for ever.
    struct Mailbox {
        std::mutex mutex;
        DescriptorWait wait;
        // Guarded by `mutex`:
        std::vector<WantedPreview> wanted{};
        std::vector<Opened> opened{};
        std::optional<bool> isActive{};
        bool isEnding = false;
        std::uint64_t lastNumber = 0;
    };
    using Jobs = std::list<Job>;

    void run();
    bool takeMail();
    void takeOpened(Opened opened);
    void listen();
    void listenTo(std::unique_ptr<Decoder>& decoder);
    void greeted(const Decoder& decoder);
    void workerAnswered();
    bool isUsable(const Preview& preview, const OpenedFile& file) const;
    void workerIsGone(PreviewFault fault);
    void tryNext(Job job, PreviewFault fault);
    void dropWithdrawn();
    void expireOpenings();
    void expireDecoders();
    void startOpenings();
    bool startOpening(Job& job);
    void keepDecoders();
    void matchWorker();
    void startDecoder(std::unique_ptr<Decoder>& place, Decoder::Kind kind);
    void giveNewest();
    void decoderFailed(const char* why);
    void answerOpened(PreviewFault fault);
    void finish(Job& job, const std::shared_ptr<const Preview>& preview);
    void wait();
    std::optional<Clock::time_point> nextDeadline() const;
    Jobs::iterator newest(Stage stage);

    const DecoderProgram m_program;
    const PreviewLimits m_limits;
    const std::shared_ptr<Mailbox> m_mail = std::make_shared<Mailbox>();

    // The thread's own:
    Jobs m_jobs;  ///< the newest last, without the one that is decoded
    std::map<std::string, Opening> m_openings;  ///< by volume
    std::optional<Job> m_decoded;               ///< what the worker works on
    OpenedFile m_givenFile;                     ///< of it, what the worker was handed
    std::unique_ptr<Decoder> m_worker;          ///< works, or is the next to work
    std::unique_ptr<Decoder> m_spare;           ///< is started while the worker works
    bool m_isActive = true;
    Clock::time_point m_lastAsked = Clock::time_point::min();
    int m_failedStarts = 0;  ///< decoders that ended before their first file, one after the other
    Clock::time_point m_pausedUntil{};
    bool m_hasToldProtections = false;
    bool m_hasToldFailure = false;

    std::jthread m_thread;
};

}  // namespace kestrin
