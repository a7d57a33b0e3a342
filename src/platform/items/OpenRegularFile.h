// SPDX-License-Identifier: GPL-3.0-or-later
// A file that strangers may have put there, opened to be read by somebody else.
#pragma once

#include "base/FileUrl.h"
#include "base/Result.h"
#include "platform/items/ItemIdentity.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// A descriptor of the regular file, for reading alone. The file is looked at first and opened only
/// when it is one and nothing of `expected` differs, so that no FIFO, device, socket or link is
/// ever opened. The access time stays as it is where the kernel allows that. May hang with its
/// volume. Errors: EINVAL (kPOSIXErrorDomain) for anything but a regular file, ESTALE for another
/// item under the name, else those of open(2). Thread: any.
Result<UniqueFd> openRegularFile(const FileUrl& item, const ItemIdentity& expected);

}  // namespace kestrin
