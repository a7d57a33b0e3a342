// SPDX-License-Identifier: GPL-3.0-or-later
// The one table that joins key codes of shortcuts to the keys of this host. Any thread.
#pragma once

#include <Qt>
#include <string_view>

namespace kestrin {

/// What an X11 key code, and a scan code of a Wayland event, is above the kernel's code.
inline constexpr int kKeycodeOffset = 8;

struct HardwareKey {
    int keyCode;                ///< in a shortcut
    int evdevCode;              ///< of the kernel, KEY_* in <linux/input-event-codes.h>
    std::string_view place;     ///< the name of the key in a keyboard map, such as "AC02"
    Qt::Key key;                ///< on a US keyboard
    std::string_view symbol{};  ///< of a key that types nothing, the name in a keyboard map
};

/// nullptr for a code that no key of this host has.
const HardwareKey* hardwareKey(int keyCode);
const HardwareKey* hardwareKeyOfEvdevCode(int evdevCode);
const HardwareKey* hardwareKeyAt(std::string_view place);
/// The key that writes this on a US keyboard.
const HardwareKey* hardwareKeyOf(Qt::Key key);

/// Whether a layout decides what the key writes; those of the number pad are named by their place.
bool isNamedByLayout(const HardwareKey& key);
bool isOnNumberPad(const HardwareKey& key);

}  // namespace kestrin
