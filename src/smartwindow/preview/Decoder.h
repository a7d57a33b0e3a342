// SPDX-License-Identifier: GPL-3.0-or-later
// One process of the preview decoder, as the program sees it.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileUrl.h"
#include "platform/processes/ChildProgram.h"
#include "viewer/ViewerProtocol.h"

namespace kestrin {

/// The program of the decoder, and what of the environment it gets.
struct DecoderProgram {
    FileUrl file;
    FileUrl mediaFile{};  ///< the program for audio and video; empty: they have none of their own
    std::vector<std::string> environment;  ///< "NAME=value"
};

/// Is killed when it goes. Nothing it says is believed: after the first odd word it is gone. No
/// call waits for it. Thread: one.
class Decoder {
 public:
    using Clock = std::chrono::steady_clock;

    enum class Kind { Documents, Media };
    /// The kind of decoder for files of that MIME type.
    static Kind kindFor(const DecoderProgram& program, std::string_view type);
    /// Errors: those of ChildProgram::start.
    static Result<std::unique_ptr<Decoder>> start(const DecoderProgram& program, Kind kind);
    Kind kind() const { return m_kind; }

    enum class State {
        Starting,
        Ready,  ///< has greeted, and has nothing to do
        Working,
        Answered,  ///< takeAnswer() was not called yet
        Gone,      ///< ended, or said something odd
    };
    /// Hears what it has said since the last call.
    State listen();
    State state() const { return m_state; }
    Clock::time_point since() const { return m_since; }  ///< the state began

    /// Hands it a file; the descriptor stays the caller's. Requires: Ready.
    State give(const DecodeRequest& request, int file);
    /// What it answered, and none when that is odd, or larger than the box of the request: then it
    /// is Gone. It is Ready otherwise, unless it said that it ends with this answer. Requires:
    /// Answered.
    std::shared_ptr<const Preview> takeAnswer();
    /// Passes over the answer without reading it. Requires: Answered.
    void dropAnswer();

    bool hasGreeted() const { return m_hasGreeted; }
    const ViewerProtections& protections() const { return m_protections; }  ///< once it has greeted
    int givenFiles() const { return m_givenFiles; }
    /// Why nothing came of its last file. Requires: Gone.
    PreviewFault fault() const { return m_fault; }
    int socket() const { return m_child.socket(); }

 private:
    Decoder(ChildProgram child, Kind kind);
    void become(State state);
    State hearGreeting();
    State hearAnswer();

    ChildProgram m_child;
    const Kind m_kind;
    State m_state = State::Starting;
    Clock::time_point m_since = Clock::now();
    bool m_hasGreeted = false;
    ViewerProtections m_protections;
    int m_givenFiles = 0;
    DecodeRequest m_request;  ///< the last one
    UniqueFd m_answer;
    bool m_isLastAnswer = false;
    PreviewFault m_fault = PreviewFault::Crashed;
};

}  // namespace kestrin
