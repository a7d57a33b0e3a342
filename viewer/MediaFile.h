// SPDX-License-Identifier: GPL-3.0-or-later
// An audio or video file, read by libavformat from the file that was handed over and from nothing
// else: no protocol, no playlist and no other file that it refers to.
#pragma once

#include <QImage>
#include <QSize>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "viewer/InputFile.h"

struct AVFormatContext;
struct AVIOContext;
struct AVStream;

namespace kestrin {

/// Thread: one at a time.
class MediaFile {
 public:
    enum class Outcome {
        NoMedia,  ///< or of a format that is not read
        Damaged,
        Open,
    };

    /// `file` must outlive it. What comes later than `time` from now counts as unreadable.
    MediaFile(InputFile& file, std::chrono::milliseconds time);
    ~MediaFile();
    MediaFile(const MediaFile&) = delete;
    MediaFile& operator=(const MediaFile&) = delete;

    /// To be called first. Everything else requires that it gave Open.
    Outcome open();
    bool isOutOfTime() const { return std::chrono::steady_clock::now() >= m_end; }

    /// What the file or a stream of it says of itself under that name; UTF-8 or not, "" for
    /// nothing.
    std::string metadata(const char* name) const;
    std::uint64_t durationMilliseconds() const;  ///< 0: not known
    /// Pixels as they are to be seen; empty when there is no moving picture.
    QSize videoSize() const;

    /// The bytes of the picture that the file holds of itself, such as a cover; empty for none.
    QByteArray cover() const;
    /// A picture near the beginning of the video, scaled into the box and turned as it is to be
    /// seen. A null image when there is none that can be decoded.
    QImage pictureNearBeginning(QSize box);

 private:
    struct Source;

    void seekFrom(const AVStream& stream);
    int videoStream() const;  ///< its index; negative for none

    const std::chrono::steady_clock::time_point m_end;
    const std::unique_ptr<Source> m_source;
    AVIOContext* m_io = nullptr;
    AVFormatContext* m_format = nullptr;
};

}  // namespace kestrin
