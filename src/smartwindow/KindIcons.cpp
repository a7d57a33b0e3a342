// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/KindIcons.h"

#include <sys/stat.h>

#include <QPixmap>
#include <array>

#include "fsutil/QVFilesUtilities.h"
#include "platform/items/ItemKinds.h"

namespace kestrin {
namespace {

constexpr std::array kDrawingSides{64, 256};  // points: for rows, and for large previews

std::uint32_t modeOf(bool isFolder) {
    return isFolder ? S_IFDIR : S_IFREG;
}

}  // namespace

const QIcon& KindIcons::iconOf(std::string_view name, bool isFolder) {
    std::string type = typeOfItem(name, modeOf(isFolder));
    const auto known = m_icons.find(type);
    if (known != m_icons.end()) return known->second;
    return m_icons.emplace(std::move(type), makeIcon(name, isFolder)).first->second;
}

QIcon KindIcons::makeIcon(std::string_view name, bool isFolder) {
    for (const std::string& iconName : kindOfItem(name, modeOf(isFolder)).iconNames) {
        const QIcon icon = QIcon::fromTheme(QString::fromStdString(iconName));
        if (!icon.isNull()) return icon;
    }
    QIcon& drawing = isFolder ? m_folderDrawing : m_documentDrawing;
    if (drawing.isNull()) {
        for (const int side : kDrawingSides)
            drawing.addPixmap(
                QPixmap::fromImage(m_files.drawnIconWithSize({side, side}, isFolder)));
    }
    return drawing;
}

}  // namespace kestrin
