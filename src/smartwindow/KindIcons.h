// SPDX-License-Identifier: GPL-3.0-or-later
// Icons of entries by their kind.
#pragma once

#include <QIcon>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace kestrin {

class QVFilesUtilities;

/// The icons of the desktop's theme, one a kind, each looked up when it is wanted first. An item's
/// name and the type bits of its mode tell its kind: nothing in a trash is asked, so that a list of
/// any length can draw. Main thread.
class KindIcons {
 public:
    /// `files` must outlive this.
    explicit KindIcons(const QVFilesUtilities& files) : m_files(files) {}
    KindIcons(const KindIcons&) = delete;
    KindIcons& operator=(const KindIcons&) = delete;

    /// Never a null icon: where the theme has none it is a drawing of the program's own.
    const QIcon& iconOf(std::string_view name, std::uint32_t mode);

 private:
    QIcon makeIcon(std::string_view name, std::uint32_t mode);

    const QVFilesUtilities& m_files;
    std::unordered_map<std::string, QIcon> m_icons;  ///< by type identifier
    QIcon m_folderDrawing, m_documentDrawing;        ///< null until they are wanted
};

}  // namespace kestrin
