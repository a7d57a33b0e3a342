// SPDX-License-Identifier: GPL-3.0-or-later
// Puts the privileged helper in its place as root, and takes it away.
#pragma once

#include <QByteArray>
#include <QStringList>
#include <functional>
#include <string_view>
#include <utility>

#include "base/Result.h"

namespace kestrin {

class StringTable;

/// The major version of this program, which the helper's names hold.
inline constexpr int kMajorVersion = 3;

/// Runs the two scripts of resources/helper through pkexec(1), which asks the user for an
/// administrator's password. Main thread; events are served until the script has ended.
///
/// What the administrator allowed is what runs: the scripts travel as arguments, never as files
/// that could be changed meanwhile, and so do the small files that the installer writes. The
/// helper's program travels on standard input; its SHA-256 digest is an argument, and the installer
/// compares. Root opens no file that belongs to a user.
class HelperInstaller {
 public:
    /// Begins nothing as root, and lets the question for a password go, once `programEnds` answers
    /// true: both commands are then cancelled.
    HelperInstaller(const StringTable& texts, std::function<bool()> programEnds)
        : m_texts(texts), m_programEnds(std::move(programEnds)) {}

    /// Installs this installation's own helper under the name `label`. Errors: kOSStatusErrorDomain
    /// with kAuthorizationCancelled or kAuthorizationDenied; kPOSIXErrorDomain with ENOENT when
    /// pkexec or the helper's program is missing, EPERM when strangers may write to the latter, EIO
    /// when the script failed: nothing is changed then.
    MaybeError install(std::string_view label) const;
    /// Removes the helper of that major version of the program, with what makes it known. One that
    /// runs ends in order before, which takes moments, and 80 s when what it works on hangs.
    /// Errors: as above.
    MaybeError remove(int majorVersion = kMajorVersion) const;

 private:
    Result<QByteArray> helperProgram() const;
    MaybeError runAsRoot(const QString& script, const QStringList& arguments,
                         const QByteArray& input) const;
    MaybeError outcome(int exitCode, const QByteArray& complaint) const;
    HostError problem(int code, std::string_view key, const QString& name = {}) const;

    const StringTable& m_texts;
    const std::function<bool()> m_programEnds;
};

}  // namespace kestrin
