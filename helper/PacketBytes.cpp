// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/PacketBytes.h"

#include <limits.h>

namespace kestrin {

void PacketWriter::putItem(std::uint64_t id, const UnlockedItem& item) {
    put(id);
    put(item.handle.mountId);
    put(item.handle.type);
    putText(item.handle.bytes);
    put(item.identity.deviceId);
    put(item.identity.inode);
    put(item.identity.birthTime);
    putText(item.path);
    put(item.flags);
}

bool PacketReader::takeBytes(std::string& bytes, std::size_t maximum) {
    std::uint32_t length = 0;
    if (!take(length) || length > maximum || length > m_bytes.size()) return false;
    bytes.assign(m_bytes.substr(0, length));
    m_bytes.remove_prefix(length);
    return true;
}

bool PacketReader::takeText(std::string& text, std::size_t maximum) {
    return takeBytes(text, maximum) && text.find('\0') == text.npos;
}

bool PacketReader::takeItem(std::uint64_t& id, UnlockedItem& item) {
    return take(id) && take(item.handle.mountId) && take(item.handle.type) &&
           takeBytes(item.handle.bytes, FileHandle::kMaximumBytes) &&
           take(item.identity.deviceId) && take(item.identity.inode) &&
           take(item.identity.birthTime) && takeText(item.path, PATH_MAX) && take(item.flags) &&
           id != 0;
}

}  // namespace kestrin
