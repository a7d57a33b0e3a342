// SPDX-License-Identifier: GPL-3.0-or-later
// Whether the system lets the program read all files of the user.
#pragma once

#include <QString>
#include <functional>
#include <mutex>
#include <string>

#include "platform/desktop/Places.h"

namespace kestrin {

/// Asks the system afresh at every question. Main thread, but for userHomeFolderPath.
class QVFullDiskAuthorization {
 public:
    enum class Status {
        CannotTell = 0,  ///< the file that would tell does not exist
        Denied = 1,      ///< it exists, and cannot be read
        Granted = 2,     ///< it can be read, or the system asks for no consent
    };

    /// `openUrl` opens a URL with the system.
    QVFullDiskAuthorization(FullDiskAccess access, std::function<void(const QString&)> openUrl);
    /// The instance that asks this system.
    static QVFullDiskAuthorization& sharedControl();

    Status authorizationStatus() const;
    /// Opens the settings where the user gives the access. The completion is never called: the
    /// system does not tell what the user did, so that only a later status does.
    void requestAuthorizationWithCompletion(const std::function<void()>& completion) const;
    /// The user's own home folder, also where the program runs in a sandbox that has another.
    /// Thread: any.
    std::string userHomeFolderPath() const;

 private:
    void openPreferences() const;

    const FullDiskAccess m_access;
    const std::function<void(const QString&)> m_openUrl;
    mutable std::mutex m_mutex;
};

}  // namespace kestrin
