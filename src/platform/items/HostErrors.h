// SPDX-License-Identifier: GPL-3.0-or-later
// The one place where an errno becomes an error of the program.
#pragma once

#include <cerrno>
#include <exception>

#include "base/Result.h"

namespace kestrin {

enum class HostAccess {
    Read,   ///< the call looked at something: opened, listed, examined
    Write,  ///< the call changed or removed something
};

/// The errno of a folder that was closed on the way of a walk, and that nothing tells from another
/// one that may be in its place by now.
inline constexpr int kNotFoundAgain = ENOTUNIQ;

/// The error for `systemError`: EACCES and EPERM give kFileErrorDomain with kFileWriteNoPermission
/// or kFileReadNoPermission, EBUSY gives kOSStatusErrorDomain with kFileBusy, anything else
/// kPOSIXErrorDomain with the errno itself. `systemError` is kept and "errorString" holds the
/// system's text, in UTF-8.
HostError errorFromErrno(int systemError, HostAccess access);

/// The error behind what the standard library throws for want of memory or of a thread, so that
/// users can look it up.
HostError errorFromException(const std::exception& failure);

}  // namespace kestrin
