// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/Decoder.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

namespace kestrin {
namespace {

using namespace std::chrono_literals;

/// How much processor time a file may take.
constexpr auto kProcessorTime = 5s;

/// Pixels that nobody asked for would cost the main thread time to draw, and memory.
bool fitsInto(const DecodeRequest& request, const Preview& preview) {
    return std::ranges::all_of(preview.frames, [&](const QImage& frame) {
        return std::uint32_t(frame.width()) <= request.width &&
               std::uint32_t(frame.height()) <= request.height;
    });
}

}  // namespace

Decoder::Kind Decoder::kindFor(const DecoderProgram& program, std::string_view type) {
    const bool isMedia = type.starts_with("audio/") || type.starts_with("video/");
    return isMedia && !program.mediaFile.isEmpty() ? Kind::Media : Kind::Documents;
}

Result<std::unique_ptr<Decoder>> Decoder::start(const DecoderProgram& program, Kind kind) {
    const FileUrl& file = kind == Kind::Media ? program.mediaFile : program.file;
    auto child = ChildProgram::start(file, program.environment);
    if (!child) return child.error();
    return std::unique_ptr<Decoder>(new Decoder(std::move(*child), kind));
}

Decoder::Decoder(ChildProgram child, Kind kind) : m_child(std::move(child)), m_kind(kind) {}

void Decoder::become(State state) {
    m_state = state;
    m_since = Clock::now();
}

Decoder::State Decoder::listen() {
    if (m_state == State::Gone || m_state == State::Answered) return m_state;
    const State heard = m_state == State::Starting ? hearGreeting() : hearAnswer();
    if (heard != m_state) become(heard);
    return m_state;
}

Decoder::State Decoder::hearGreeting() {
    const auto greeting = receiveGreeting(socket());
    if (!greeting) return greeting.error().systemError == EAGAIN ? m_state : State::Gone;
    if (greeting->version != kViewerProtocolVersion) return State::Gone;
    m_hasGreeted = true;
    m_protections = greeting->protections;
    return State::Ready;
}

Decoder::State Decoder::hearAnswer() {
    auto answer = receiveAnswer(socket());
    if (!answer) {
        const int error = answer.error().systemError;
        if (error == EAGAIN) return m_state;
        if (error == ECONNRESET && m_child.ranOutOfProcessorTime()) m_fault = PreviewFault::TooSlow;
        return State::Gone;
    }
    if (m_state != State::Working || answer->number != m_request.number) return State::Gone;
    m_answer = std::move(answer->preview);
    m_isLastAnswer = answer->isLast;
    return State::Answered;
}

Decoder::State Decoder::give(const DecodeRequest& request, int file) {
    ++m_givenFiles;
    m_request = request;
    const bool isGiven =
        !m_child.limitProcessorTime(kProcessorTime) && !sendRequest(socket(), request, file);
    become(isGiven ? State::Working : State::Gone);
    return m_state;
}

std::shared_ptr<const Preview> Decoder::takeAnswer() {
    auto preview = readPreview(m_answer.get());
    m_answer.reset();
    if (preview && !fitsInto(m_request, *preview)) preview.reset();
    become(preview && !m_isLastAnswer ? State::Ready : State::Gone);
    return preview ? std::make_shared<const Preview>(std::move(*preview)) : nullptr;
}

void Decoder::dropAnswer() {
    m_answer.reset();
    become(m_isLastAnswer ? State::Gone : State::Ready);
}

}  // namespace kestrin
