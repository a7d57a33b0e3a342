// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/QVFullDiskAuthorization.h"

#include <QDesktopServices>
#include <QUrl>
#include <cstdlib>
#include <utility>

#include "platform/items/ItemAccess.h"
#include "platform/items/SmallFile.h"

namespace kestrin {

QVFullDiskAuthorization::QVFullDiskAuthorization(FullDiskAccess access,
                                                 std::function<void(const QString&)> openUrl)
    : m_access(std::move(access)), m_openUrl(std::move(openUrl)) {}

QVFullDiskAuthorization& QVFullDiskAuthorization::sharedControl() {
    static QVFullDiskAuthorization shared(
        fullDiskAccess(), [](const QString& url) { QDesktopServices::openUrl(QUrl(url)); });
    return shared;
}

QVFullDiskAuthorization::Status QVFullDiskAuthorization::authorizationStatus() const {
    constexpr std::size_t kLargestProbe = std::size_t{256} << 20;
    if (m_access.probe.empty()) return Status::Granted;
    const std::string probe = userHomeFolderPath() + m_access.probe;
    if (existenceError(probe) != 0) return Status::CannotTell;
    const auto data = readSmallFile(FileUrl::fromPath(probe), kLargestProbe, LastLink::Follow);
    return data ? Status::Granted : Status::Denied;
}

void QVFullDiskAuthorization::requestAuthorizationWithCompletion(
    const std::function<void()>&) const {
    openPreferences();
}

std::string QVFullDiskAuthorization::userHomeFolderPath() const {
    const std::lock_guard lock(m_mutex);
    if (!std::getenv("APP_SANDBOX_CONTAINER_ID")) return homeFolder();
    const std::string home = homeOfRealUser();
    if (home.empty()) qFatal("pw: the user database has no home folder");
    return home;
}

void QVFullDiskAuthorization::openPreferences() const {
    m_openUrl(QString::fromStdString(m_access.settingsUrl));
}

}  // namespace kestrin
