// SPDX-License-Identifier: GPL-3.0-or-later
// The file that a decoder was handed. It may grow, shrink and be erased while it is read.
#pragma once

#include <QByteArray>
#include <QIODevice>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "platform/items/UniqueFd.h"

namespace kestrin {

/// Reads a descriptor by position alone, so that its own position, which it shares with whoever
/// handed it over, stays; and never maps it, since a mapped file that shrinks ends its reader.
/// Thread: one at a time.
class InputFile {
 public:
    /// The size is that of this moment; what is appended later is not read.
    explicit InputFile(UniqueFd file);

    std::uint64_t size() const { return m_size; }

    /// Reads into `bytes` from `offset` on and returns how many came. Fewer than asked for are an
    /// ordinary answer: the end of the file, or where it could be read no further.
    std::size_t readAt(std::uint64_t offset, std::span<char> bytes);

    /// The first `length` bytes, or all when there are fewer.
    QByteArray beginning(std::size_t length);

    /// All of the file; none when it has more than `limit` bytes.
    std::optional<QByteArray> content(std::size_t limit);

    /// A device over the file, opened for reading, not sequential, at the beginning. Requires: the
    /// file outlives it. Each call gives another one.
    std::unique_ptr<QIODevice> device();

    /// Whether the disk refused to give something that was asked for.
    bool hasFailed() const { return m_hasFailed; }

 private:
    UniqueFd m_file;
    std::uint64_t m_size = 0;
    bool m_hasFailed = false;
};

}  // namespace kestrin
