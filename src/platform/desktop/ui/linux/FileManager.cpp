// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/FileManager.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QStringList>
#include <QUrl>
#include <algorithm>
#include <utility>

namespace kestrin {
namespace {

const QString kService = QStringLiteral("org.freedesktop.FileManager1");
const QString kPath = QStringLiteral("/org/freedesktop/FileManager1");

/// More rows than anybody looks at; a message to the bus has an end.
constexpr std::size_t kMaximumItems = 500;

QStringList locationsOf(const std::vector<FileUrl>& items) {
    QStringList locations;
    for (std::size_t i = 0; i < std::min(items.size(), kMaximumItems); ++i)
        locations += QString::fromStdString(items[i].toString());
    return locations;
}

void openFolder(const FileUrl& folder) {
    QDesktopServices::openUrl(QUrl::fromEncoded(QByteArray::fromStdString(folder.toString())));
}

}  // namespace

void revealInFileManager(const std::vector<FileUrl>& items, std::chrono::milliseconds patience,
                         std::function<void()> done) {
    if (items.empty()) return done();
    QDBusMessage call =
        QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("ShowItems"));
    call.setArguments({locationsOf(items), QString()});
    QObject* const application = QCoreApplication::instance();
    auto* const answer = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(call, static_cast<int>(patience.count())),
        application);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, application,
                     [answer, folder = items.front().parent(), done = std::move(done)] {
                         answer->deleteLater();
                         if (answer->isError()) openFolder(folder);
                         done();
                     });
}

}  // namespace kestrin
