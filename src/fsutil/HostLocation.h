// SPDX-License-Identifier: GPL-3.0-or-later
// How the room turns a location into a place on this host. Not for other rooms.
#pragma once

#include <string>

#include "fsutil/QVFilesUtilities.h"

namespace kestrin {

/// "/Volumes/" and the start-up volume's name, its slashes replaced by colons.
const std::string& startupVolumePath();

/// The item that `url` means on this host, by `hostPath`. A location without a scheme means none.
inline FileUrl hostLocation(const FileUrl& url) {
    return url.hasScheme() ? FileUrl::fromPath(hostPath(url)) : FileUrl();
}

/// Bytes as text to show; what is not UTF-8 becomes replacement characters.
inline QString displayText(std::string_view bytes) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

}  // namespace kestrin
