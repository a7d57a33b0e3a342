// SPDX-License-Identifier: GPL-3.0-or-later
// Work for the helper, cut into commands that it accepts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "erase/HelperClient.h"
#include "helper/HelperProtocol.h"

namespace kestrin {

/// Hands out a request's paths in their order: first all to unlock, then all to erase, then the
/// folders left behind. Any thread, one at a time.
class HelperBatches {
 public:
    /// No list that is handed out becomes longer than `maximumBytes` in its XML form, as long as no
    /// single path is.
    explicit HelperBatches(std::shared_ptr<const HelperRequest> request,
                           std::size_t maximumBytes = kMaximumList);

    /// The next command, counting on from those figures; none when all is handed out. There is one
    /// at least.
    std::optional<EraseItems> next(std::uint64_t erasedCount, std::uint64_t erasedSize);
    bool isAtEnd() const { return m_hasBegun && m_position == m_end; }

 private:
    std::vector<std::string>& listAt(EraseItems& items) const;
    const HelperItem& itemAt() const;

    const std::shared_ptr<const HelperRequest> m_request;
    const std::size_t m_maximumBytes;
    std::size_t m_end;
    std::size_t m_position = 0;  ///< in the three lists, one behind the other
    bool m_hasBegun = false;
};

}  // namespace kestrin
