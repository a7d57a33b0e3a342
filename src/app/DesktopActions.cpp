// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DesktopActions.h"

#include <unistd.h>

#include <QApplication>
#include <QDesktopServices>
#include <QStandardPaths>
#include <QUrl>
#include <QWidget>
#include <string_view>

#include "erase/ui/QVProgressWindow.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/desktop/Places.h"
#include "platform/desktop/ui/FileManager.h"
#include "platform/desktop/ui/TrashIcon.h"

namespace kestrin {

void showText(const FileUrl& file) {
    QVFilesUtilities::sharedControl().launchItems({file.path()}, [file](const auto& results) {
        if (results.front() != LaunchResult::Opened) revealInFileManager({file});
    });
}

bool showLogs() {
    const FileUrl folder = location(Place::Logs);
    if (::access(folder.path().c_str(), F_OK) != 0) return false;
    return QDesktopServices::openUrl(
        QUrl::fromEncoded(QByteArray::fromStdString(folder.toString()), QUrl::StrictMode));
}

void pressStop() {
    if (QVProgressWindow* const window = QVProgressWindow::shown()) window->stop();
}

bool bringForward() {
    QWidget* const modal = QApplication::activeModalWidget();
    QWidget* const window = modal ? modal : QVProgressWindow::shown();
    if (!window) return false;
    window->show();
    window->raise();
    window->activateWindow();
    return true;
}

QString commandFor(const char* action) {
    QString program = QString::fromStdString(ownProgram().path());
    const QString name = program.section(u'/', -1);
    if (QStandardPaths::findExecutable(name) == program) {
        program = name;
    } else {
        program = u'\'' + program.replace(u'\'', QStringLiteral("'\\''")) + u'\'';
    }
    return program + QStringLiteral(" --") + QLatin1String(action);
}

QIcon iconOfDisk(const TrashLocation& location, const ListedVolume* volume) {
    if (volume && volume->isNetwork) return diskIcon(DiskKind::Network);
    const std::string_view path = location.volumePath;
    // Desktops mount removable disks in these folders.
    const bool isRemovable = path.starts_with("/media/") || path.starts_with("/run/media/");
    return diskIcon(isRemovable ? DiskKind::Removable : DiskKind::Internal);
}

}  // namespace kestrin
