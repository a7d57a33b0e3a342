// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/PreviewWork.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/SystemLog.h"
#include "platform/processes/AnswerWithin.h"

namespace kestrin {

PreviewWork::PreviewWork(DecoderProgram program, const PreviewLimits& limits)
    : m_program(std::move(program)), m_limits(limits), m_thread([this] { run(); }) {}

PreviewWork::~PreviewWork() {
    {
        const std::lock_guard lock(m_mail->mutex);
        m_mail->isEnding = true;
    }
    m_mail->wait.wake();
}

void PreviewWork::add(WantedPreview wanted) {
    {
        const std::lock_guard lock(m_mail->mutex);
        wanted.request.number = ++m_mail->lastNumber;
        m_mail->wanted.push_back(std::move(wanted));
    }
    m_mail->wait.wake();
}

void PreviewWork::setActive(bool isActive) {
    {
        const std::lock_guard lock(m_mail->mutex);
        m_mail->isActive = isActive;
    }
    m_mail->wait.wake();
}

std::function<void()> PreviewWork::waker() const {
    return [mail = m_mail] { mail->wait.wake(); };
}

void PreviewWork::run() {
    while (takeMail()) {
        listen();
        dropWithdrawn();
        expireOpenings();
        expireDecoders();
        // First the decoders: one that is started while a file is open begins with it, and waits
        // where the volume hangs when it is closed.
        keepDecoders();
        startOpenings();
        giveNewest();
        wait();
    }
    if (m_decoded) m_jobs.push_back(std::move(*m_decoded));
    for (Job& job : m_jobs)
        finish(job, previewOfFault(PreviewFault::NoViewer));
}

/// False when the work is to end.
bool PreviewWork::takeMail() {
    std::vector<Opened> opened;
    {
        const std::lock_guard lock(m_mail->mutex);
        for (WantedPreview& wanted : m_mail->wanted)
            m_jobs.push_back({std::move(wanted)});
        const bool isAsked = !m_mail->wanted.empty() || m_mail->isActive.value_or(false);
        if (isAsked) m_lastAsked = Clock::now();
        m_mail->wanted.clear();
        m_isActive = std::exchange(m_mail->isActive, std::nullopt).value_or(m_isActive);
        opened = std::exchange(m_mail->opened, {});
        if (m_mail->isEnding) return false;
    }
    for (Opened& one : opened)
        takeOpened(std::move(one));
    return true;
}

void PreviewWork::takeOpened(Opened opened) {
    const auto node = m_openings.extract(opened.volume);
    const auto job = std::ranges::find_if(m_jobs, [&](const Job& candidate) {
        return candidate.wanted.request.number == node.mapped().number;
    });
    if (job == m_jobs.end()) return;
    if (opened.item.preview) {
        finish(*job, opened.item.preview);
        m_jobs.erase(job);
        return;
    }
    job->stage = Stage::Opened;
    job->opened = std::move(opened.item);
}

// --- Decoders ---

void PreviewWork::listen() {
    listenTo(m_spare);
    listenTo(m_worker);
    if (m_worker && m_worker->state() == Decoder::State::Answered) workerAnswered();
}

void PreviewWork::listenTo(std::unique_ptr<Decoder>& decoder) {
    if (!decoder) return;
    const bool hadGreeted = decoder->hasGreeted();
    const bool isNew = decoder->givenFiles() == 0;
    const Decoder::State state = decoder->listen();
    if (decoder->hasGreeted() && !hadGreeted) greeted(*decoder);
    if (state != Decoder::State::Gone) return;
    if (decoder == m_worker && m_decoded) return workerIsGone(decoder->fault());
    decoder.reset();
    if (isNew) decoderFailed(hadGreeted ? "it ended without work" : "it ended before it was ready");
}

void PreviewWork::greeted(const Decoder& decoder) {
    const ViewerProtections& holds = decoder.protections();
    if (holds.callFilter && holds.fileRules && holds.memoryLimit) return;
    if (std::exchange(m_hasToldProtections, true)) return;
    qCWarning(lcSmartWindow, "The preview decoder works without%s%s%s",
              holds.callFilter ? "" : " a filter of system calls;",
              holds.fileRules ? "" : " rules about files;",
              holds.memoryLimit ? "" : " a limit of its memory;");
}

void PreviewWork::workerAnswered() {
    Job job = std::move(*m_decoded);
    m_decoded.reset();
    if (!job.isWanted()) {
        m_worker->dropAnswer();
    } else if (const auto preview = m_worker->takeAnswer()) {
        m_failedStarts = 0;
        m_hasToldFailure = false;
        if (isUsable(*preview, m_givenFile)) {
            finish(job, preview);
        } else {
            tryNext(std::move(job), preview->fault);
        }
    } else {
        tryNext(std::move(job), m_worker->fault());
    }
    const bool isWorn = m_worker->givenFiles() >= m_limits.filesPerDecoder;
    if (isWorn || m_worker->state() == Decoder::State::Gone) m_worker.reset();
}

/// Pictures of something else, or of an earlier state of the file, stand in the cache as well.
bool PreviewWork::isUsable(const Preview& preview, const OpenedFile& file) const {
    if (file.purpose == DecodePurpose::Preview) return true;
    if (preview.kind != PreviewKind::Image) return false;
    return file.purpose != DecodePurpose::CachedThumbnail ||
           (preview.facts.thumbnailUri == file.thumbnailUri &&
            preview.facts.thumbnailTime == file.thumbnailTime);
}

void PreviewWork::workerIsGone(PreviewFault fault) {
    m_worker.reset();
    tryNext(std::move(*m_decoded), fault);
    m_decoded.reset();
}

/// Of a thumbnail there may be other files to try.
void PreviewWork::tryNext(Job job, PreviewFault fault) {
    if (job.opened.files.empty()) return finish(job, previewOfFault(fault));
    m_jobs.push_back(std::move(job));
}

void PreviewWork::keepDecoders() {
    const bool hasWork = m_decoded || !m_jobs.empty();
    const bool isIdle = Clock::now() >= m_lastAsked + m_limits.idle;
    if (!hasWork && (!m_isActive || isIdle)) {
        m_worker.reset();
        m_spare.reset();
        return;
    }
    if (!m_worker) m_worker = std::move(m_spare);
    if (!m_decoded) matchWorker();
    if (hasWork && !m_spare) startDecoder(m_spare, Decoder::Kind::Documents);
}

/// Has the next to work be of the kind that the next file needs. The other is kept as the spare:
/// who looks through a mixed folder needs both.
void PreviewWork::matchWorker() {
    auto job = newest(Stage::Opened);
    if (job == m_jobs.end() && !m_jobs.empty()) --job;
    const bool hasFile = job != m_jobs.end();
    const auto kind =
        hasFile ? Decoder::kindFor(m_program, job->wanted.request.type) : Decoder::Kind::Documents;
    if (hasFile && m_worker && m_worker->kind() != kind) std::swap(m_worker, m_spare);
    if (hasFile && m_worker && m_worker->kind() != kind) m_worker.reset();
    if (!m_worker) startDecoder(m_worker, kind);
}

/// After one that failed the next is started only when it has work: nothing is tried for ever.
void PreviewWork::startDecoder(std::unique_ptr<Decoder>& place, Decoder::Kind kind) {
    const bool isNeeded = m_failedStarts == 0 || newest(Stage::Opened) != m_jobs.end();
    while (isNeeded && !place && Clock::now() >= m_pausedUntil) {
        auto decoder = Decoder::start(m_program, kind);
        if (decoder) {
            place = std::move(*decoder);
        } else {
            decoderFailed(decoder.error().localizedDescription().c_str());
        }
    }
}

void PreviewWork::decoderFailed(const char* why) {
    constexpr int kTries = 2;
    if (++m_failedStarts < kTries) return;
    m_pausedUntil = Clock::now() + m_limits.pause;
    if (!std::exchange(m_hasToldFailure, true))
        qCWarning(lcSmartWindow, "The preview decoder does not work: %s", why);
}

void PreviewWork::expireDecoders() {
    const Clock::time_point now = Clock::now();
    for (auto* const decoder : {&m_worker, &m_spare}) {
        const bool isStarting = *decoder && (*decoder)->state() == Decoder::State::Starting;
        if (!isStarting || now < (*decoder)->since() + m_limits.greeting) continue;
        decoder->reset();
        decoderFailed("it was not ready in time");
    }
    if (!m_decoded) return;
    const auto worked = now - m_worker->since();
    const bool isWanted = m_decoded->isWanted();
    if (worked < (isWanted ? m_limits.decode : m_limits.withdrawn)) return;
    workerIsGone(PreviewFault::TooSlow);
}

void PreviewWork::giveNewest() {
    if (m_decoded) return;
    if (!m_worker && Clock::now() < m_pausedUntil) return answerOpened(PreviewFault::NoViewer);
    const auto job = newest(Stage::Opened);
    if (job == m_jobs.end() || !m_worker || m_worker->state() != Decoder::State::Ready) return;
    m_givenFile = std::move(job->opened.files.back());
    DecodeRequest request = job->wanted.request;
    request.purpose = m_givenFile.purpose;
    if (m_worker->give(request, m_givenFile.file.get()) == Decoder::State::Gone) {
        // It never saw the file, which waits for the next one.
        job->opened.files.back() = std::move(m_givenFile);
        m_worker.reset();
        decoderFailed("it ended without work");
        m_mail->wait.wake();
        return;
    }
    // The decoder has its own: a file that is kept open keeps its volume, and its space.
    m_givenFile.file.close();
    job->opened.files.pop_back();
    m_decoded = std::move(*job);
    m_jobs.erase(job);
}

// --- Disks ---

void PreviewWork::dropWithdrawn() {
    std::erase_if(m_jobs, [](const Job& job) { return !job.isWanted(); });
}

/// A volume that has been silent for that long is so for whoever asks.
void PreviewWork::expireOpenings() {
    const Clock::time_point now = Clock::now();
    for (auto job = m_jobs.begin(); job != m_jobs.end();) {
        const auto opening = m_openings.find(job->wanted.volume);
        if (job->stage != Stage::Opened && opening != m_openings.end() &&
            now >= opening->second.since + m_limits.open) {
            finish(*job, previewOfFault(PreviewFault::Silent));
            job = m_jobs.erase(job);
        } else {
            ++job;
        }
    }
}

/// The newest of each volume, and nothing beside what is opened and newer.
void PreviewWork::startOpenings() {
    bool hasNewer = false;
    for (auto job = m_jobs.rbegin(); job != m_jobs.rend();) {
        if (hasNewer && job->stage == Stage::Opened) {
            // It is opened again when its turn comes: what waits keeps no descriptor.
            job->stage = Stage::Waiting;
            job->opened = {};
        }
        const bool mayOpen = job->stage == Stage::Waiting && !hasNewer;
        if (mayOpen && !m_openings.contains(job->wanted.volume) && !startOpening(*job)) {
            finish(*job, previewOfFault(PreviewFault::Unreadable));
            job = std::make_reverse_iterator(m_jobs.erase(std::next(job).base()));
            continue;
        }
        hasNewer = hasNewer || job->stage == Stage::Opened;
        ++job;
    }
}

bool PreviewWork::startOpening(Job& job) {
    const WantedPreview& wanted = job.wanted;
    const bool isStarted = runAbandoned(
        [mail = m_mail, item = wanted.item, volume = wanted.volume, request = wanted.request] {
            const auto side = static_cast<int>(std::max(request.width, request.height));
            OpenedItem opened = openForPreview(item, request.purpose, side);
            {
                const std::lock_guard lock(mail->mutex);
                mail->opened.push_back({volume, std::move(opened)});
            }
            mail->wait.wake();
        });
    if (!isStarted) return false;
    m_openings[wanted.volume] = {wanted.request.number, Clock::now()};
    job.stage = Stage::Opening;
    return true;
}

// --- Answers and waits ---

PreviewWork::Jobs::iterator PreviewWork::newest(Stage stage) {
    const auto found = std::ranges::find(m_jobs.rbegin(), m_jobs.rend(), stage, &Job::stage);
    return found == m_jobs.rend() ? m_jobs.end() : std::next(found).base();
}

void PreviewWork::answerOpened(PreviewFault fault) {
    std::erase_if(m_jobs, [&](Job& job) {
        if (job.stage != Stage::Opened) return false;
        finish(job, previewOfFault(fault));
        return true;
    });
}

void PreviewWork::finish(Job& job, const std::shared_ptr<const Preview>& preview) {
    if (job.isWanted()) job.wanted.deliver(preview);
}

void PreviewWork::wait() {
    std::vector<int> descriptors;
    for (const auto* const decoder : {&m_worker, &m_spare}) {
        if (*decoder) descriptors.push_back((*decoder)->socket());
    }
    m_mail->wait.wait(descriptors, nextDeadline());
}

std::optional<PreviewWork::Clock::time_point> PreviewWork::nextDeadline() const {
    std::vector<Clock::time_point> deadlines;
    for (const Job& job : m_jobs) {
        const auto opening = m_openings.find(job.wanted.volume);
        if (job.stage != Stage::Opened && opening != m_openings.end())
            deadlines.push_back(opening->second.since + m_limits.open);
    }
    for (const auto* const decoder : {&m_worker, &m_spare}) {
        if (*decoder && (*decoder)->state() == Decoder::State::Starting)
            deadlines.push_back((*decoder)->since() + m_limits.greeting);
    }
    if (m_decoded) {
        const auto limit = m_decoded->isWanted() ? m_limits.decode : m_limits.withdrawn;
        deadlines.push_back(m_worker->since() + limit);
    }
    if (m_worker && !m_decoded && m_jobs.empty()) deadlines.push_back(m_lastAsked + m_limits.idle);
    if (deadlines.empty()) return std::nullopt;
    return *std::ranges::min_element(deadlines);
}

}  // namespace kestrin
