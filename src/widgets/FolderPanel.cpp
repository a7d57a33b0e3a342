// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/FolderPanel.h"

#include <QFileDialog>
#include <QUrl>
#include <utility>

#include "platform/items/ItemAttributes.h"

namespace kestrin {
namespace {

/// A name that is not UTF-8 has become another one in the panel, which no folder has.
std::vector<FileUrl> chosenFolders(const QFileDialog& panel) {
    std::vector<FileUrl> folders;
    for (const QUrl& url : panel.selectedUrls()) {
        const auto folder = FileUrl::fromString(url.toEncoded(QUrl::FullyEncoded).toStdString());
        if (folder && pathExists(folder->path())) folders.push_back(*folder);
    }
    return folders;
}

}  // namespace

void openFolderPanel(const FileUrl& start, const QString& message,
                     std::function<void(int, const std::vector<FileUrl>&)> answered) {
    auto* const panel = new QFileDialog;
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setFileMode(QFileDialog::Directory);
    panel->setOptions(QFileDialog::ShowDirsOnly | QFileDialog::ReadOnly);
    panel->setDirectoryUrl(QUrl::fromEncoded(QByteArray::fromStdString(start.toString())));
    if (!message.isEmpty()) panel->setWindowTitle(message);
    QObject::connect(
        panel, &QDialog::finished, panel, [panel, answered = std::move(answered)](int response) {
            const auto folders =
                response == QDialog::Accepted ? chosenFolders(*panel) : std::vector<FileUrl>();
            answered(folders.empty() ? QDialog::Rejected : response, folders);
        });
    panel->setWindowModality(Qt::NonModal);
    panel->show();
}

}  // namespace kestrin
