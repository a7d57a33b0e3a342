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

}  // namespace

const QIcon& KindIcons::iconOf(std::string_view name, std::uint32_t mode) {
    std::string type = typeOfItem(name, mode);
    const auto known = m_icons.find(type);
    if (known != m_icons.end()) return known->second;
    return m_icons.emplace(std::move(type), makeIcon(name, mode)).first->second;
}

QIcon KindIcons::makeIcon(std::string_view name, std::uint32_t mode) {
    for (const std::string& iconName : kindOfItem(name, mode).iconNames) {
        const QIcon icon = QIcon::fromTheme(QString::fromStdString(iconName));
        if (!icon.isNull()) return icon;
    }
    QIcon& drawing = S_ISDIR(mode) ? m_folderDrawing : m_documentDrawing;
    if (drawing.isNull()) {
        for (const int side : kDrawingSides)
            drawing.addPixmap(
                QPixmap::fromImage(m_files.drawnIconWithSize({side, side}, S_ISDIR(mode))));
    }
    return drawing;
}

}  // namespace kestrin
