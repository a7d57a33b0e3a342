// SPDX-License-Identifier: GPL-3.0-or-later
// What the program and a preview decoder say to each other over a socket pair of sequenced packets
// (AF_UNIX, SOCK_SEQPACKET): the decoder greets once, then each request is answered by one answer.
// The program believes nothing of what a decoder says: a decoder may have been taken over by the
// file that it read.
#pragma once

#include <QImage>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Result.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

inline constexpr std::uint32_t kViewerProtocolVersion = 1;
inline constexpr std::uint32_t kLargestPreviewSide = 4096;     ///< pixels
inline constexpr std::size_t kLargestPreviewBytes = 64 << 20;  ///< a whole answer
inline constexpr std::size_t kLargestPreviewText = 8 << 20;    ///< bytes of Preview::text
inline constexpr std::size_t kLargestPreviewName = 4096;       ///< bytes of one name or fact
inline constexpr std::size_t kMostPreviewFrames = 1000;
inline constexpr std::size_t kMostPreviewEntries = 10'000;

enum class DecodePurpose : std::uint32_t {
    Preview,
    Thumbnail,
    CachedThumbnail,  ///< the file is a PNG of the desktop's thumbnail cache
};

struct DecodeRequest {
    std::uint64_t number = 0;  ///< comes back with the answer
    DecodePurpose purpose{};
    std::uint32_t width = 0;   ///< pixels of the box to fill, 1 to kLargestPreviewSide
    std::uint32_t height = 0;  ///< as width
    std::uint32_t page = 0;    ///< from 0
    std::string type;          ///< MIME type by the name, a hint; at most 127 bytes, no NUL
};

enum class PreviewKind : std::uint32_t { None, Image, Text, Entries };

/// Why there is nothing to show.
enum class PreviewFault : std::uint32_t {
    None,  ///< no fault: files of this kind have nothing to show
    Damaged,
    TooLarge,
    Encrypted,
    TooSlow,
    Crashed,
    Unreadable,
    Gone,  ///< erased or replaced meanwhile
    NotAFile,
    NoViewer,
    Empty,
    Silent,  ///< the disk does not answer
};

struct PreviewEntry {
    std::string name;  ///< exact bytes, no NUL
    std::uint64_t size = 0;
    bool isFolder = false;
};

/// What is known beside the content; 0 and "" mean unknown. Texts are UTF-8.
struct PreviewFacts {
    std::uint32_t naturalWidth = 0;   ///< pixels
    std::uint32_t naturalHeight = 0;  ///< pixels
    std::uint32_t page = 0;           ///< from 0
    std::uint32_t pageCount = 0;
    std::uint64_t durationMilliseconds = 0;
    std::uint64_t entryCount = 0;
    std::uint64_t contentSize = 0;  ///< bytes of what is in it
    bool isPartial = false;         ///< only the beginning is shown
    std::string title;
    std::string artist;
    std::string encoding;  ///< of a text
    std::string thumbnailUri;
    std::string thumbnailTime;
};

/// What a file looks like. Only what `kind` names is filled: frames, text or entries.
struct Preview {
    PreviewKind kind{};
    PreviewFault fault{};
    PreviewFacts facts;
    std::vector<QImage> frames;  ///< premultiplied ARGB32, one size; several are an animation
    std::vector<std::uint32_t> frameDelays;  ///< milliseconds, one a frame
    std::string text;                        ///< UTF-8
    std::vector<PreviewEntry> entries;
};

/// The preview as a memory file sealed against every change. Frames are converted to premultiplied
/// ARGB32, missing delays are 0; facts and names that are too long are cut, and what is not UTF-8
/// in a fact becomes U+FFFD. Errors: EINVAL for a preview that readPreview would refuse, such as
/// frames of several sizes or text that is not UTF-8; EFBIG for too much of something; those of the
/// memory file. Thread: any.
Result<UniqueFd> writePreview(const Preview& preview);

/// What writePreview wrote, read from a file that anybody may have made. None for anything else:
/// no sealed memory file, sizes and counts out of bounds or that do not add up, bytes left over,
/// pixels that are no premultiplied colours, text that is not UTF-8. The images lie in the file's
/// own memory, which goes with the last of them; the descriptor may be closed at once.
/// Thread: any; reads every byte, up to kLargestPreviewBytes.
std::optional<Preview> readPreview(int fd);

/// What a decoder gave up before it reads anything, where the kernel may lack it.
struct ViewerProtections {
    bool callFilter = false;   ///< system calls are filtered (seccomp)
    bool fileRules = false;    ///< files cannot be reached by name (Landlock)
    bool memoryLimit = false;  ///< address space is bounded
};

struct ViewerGreeting {
    std::uint32_t version = kViewerProtocolVersion;
    ViewerProtections protections;
};

struct ReceivedRequest {
    DecodeRequest request;
    UniqueFd file;
};

struct DecodeAnswer {
    std::uint64_t number = 0;
    UniqueFd preview;
    bool isLast = false;  ///< the decoder ends, and takes no other request
};

// Each of these sends or takes one packet; whether it waits is as the socket is set. A descriptor
// that is sent stays the sender's own, one that comes is closed when its owner goes, and on exec.
// Errors of sending: EINVAL for a request out of its bounds; those of sendmsg(2), such as EPIPE.
// Errors of receiving: EAGAIN when nothing is there and the socket does not wait, ECONNRESET when
// the other side has gone, EPROTO for any other message than the one expected, one with a number of
// descriptors other than expected (these are closed) included. Thread: any, one at a time a socket.

MaybeError sendGreeting(int socket, const ViewerGreeting& greeting);
Result<ViewerGreeting> receiveGreeting(int socket);
MaybeError sendRequest(int socket, const DecodeRequest& request, int file);
Result<ReceivedRequest> receiveRequest(int socket);
MaybeError sendAnswer(int socket, std::uint64_t number, int preview, bool isLast = false);
Result<DecodeAnswer> receiveAnswer(int socket);

}  // namespace kestrin
