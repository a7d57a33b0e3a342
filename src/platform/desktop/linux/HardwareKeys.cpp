// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/linux/HardwareKeys.h"

#include <algorithm>
#include <iterator>

namespace kestrin {

namespace {

// Places are those of xkeyboard-config's "evdev" key codes. Among keys of one US letter, that of
// the main block stands first.
constexpr HardwareKey kKeys[] = {
    {0, 30, "AC01", Qt::Key_A},
    {1, 31, "AC02", Qt::Key_S},
    {2, 32, "AC03", Qt::Key_D},
    {3, 33, "AC04", Qt::Key_F},
    {4, 35, "AC06", Qt::Key_H},
    {5, 34, "AC05", Qt::Key_G},
    {6, 44, "AB01", Qt::Key_Z},
    {7, 45, "AB02", Qt::Key_X},
    {8, 46, "AB03", Qt::Key_C},
    {9, 47, "AB04", Qt::Key_V},
    {10, 86, "LSGT", Qt::Key_Less},
    {11, 48, "AB05", Qt::Key_B},
    {12, 16, "AD01", Qt::Key_Q},
    {13, 17, "AD02", Qt::Key_W},
    {14, 18, "AD03", Qt::Key_E},
    {15, 19, "AD04", Qt::Key_R},
    {16, 21, "AD06", Qt::Key_Y},
    {17, 20, "AD05", Qt::Key_T},
    {18, 2, "AE01", Qt::Key_1},
    {19, 3, "AE02", Qt::Key_2},
    {20, 4, "AE03", Qt::Key_3},
    {21, 5, "AE04", Qt::Key_4},
    {22, 7, "AE06", Qt::Key_6},
    {23, 6, "AE05", Qt::Key_5},
    {24, 13, "AE12", Qt::Key_Equal},
    {25, 10, "AE09", Qt::Key_9},
    {26, 8, "AE07", Qt::Key_7},
    {27, 12, "AE11", Qt::Key_Minus},
    {28, 9, "AE08", Qt::Key_8},
    {29, 11, "AE10", Qt::Key_0},
    {30, 27, "AD12", Qt::Key_BracketRight},
    {31, 24, "AD09", Qt::Key_O},
    {32, 22, "AD07", Qt::Key_U},
    {33, 26, "AD11", Qt::Key_BracketLeft},
    {34, 23, "AD08", Qt::Key_I},
    {35, 25, "AD10", Qt::Key_P},
    {36, 28, "RTRN", Qt::Key_Return, "Return"},
    {37, 38, "AC09", Qt::Key_L},
    {38, 36, "AC07", Qt::Key_J},
    {39, 40, "AC11", Qt::Key_Apostrophe},
    {40, 37, "AC08", Qt::Key_K},
    {41, 39, "AC10", Qt::Key_Semicolon},
    {42, 43, "BKSL", Qt::Key_Backslash},
    {43, 51, "AB08", Qt::Key_Comma},
    {44, 53, "AB10", Qt::Key_Slash},
    {45, 49, "AB06", Qt::Key_N},
    {46, 50, "AB07", Qt::Key_M},
    {47, 52, "AB09", Qt::Key_Period},
    {48, 15, "TAB", Qt::Key_Tab, "Tab"},
    {49, 57, "SPCE", Qt::Key_Space, "space"},
    {50, 41, "TLDE", Qt::Key_QuoteLeft},
    {51, 14, "BKSP", Qt::Key_Backspace, "BackSpace"},
    {53, 1, "ESC", Qt::Key_Escape, "Escape"},
    {64, 187, "FK17", Qt::Key_F17, "F17"},
    {65, 83, "KPDL", Qt::Key_Period, "KP_Decimal"},
    {67, 55, "KPMU", Qt::Key_Asterisk, "KP_Multiply"},
    {69, 78, "KPAD", Qt::Key_Plus, "KP_Add"},
    {75, 98, "KPDV", Qt::Key_Slash, "KP_Divide"},
    {76, 96, "KPEN", Qt::Key_Enter, "KP_Enter"},
    {78, 74, "KPSU", Qt::Key_Minus, "KP_Subtract"},
    {79, 188, "FK18", Qt::Key_F18, "F18"},
    {80, 189, "FK19", Qt::Key_F19, "F19"},
    {81, 117, "KPEQ", Qt::Key_Equal, "KP_Equal"},
    {82, 82, "KP0", Qt::Key_0, "KP_0"},
    {83, 79, "KP1", Qt::Key_1, "KP_1"},
    {84, 80, "KP2", Qt::Key_2, "KP_2"},
    {85, 81, "KP3", Qt::Key_3, "KP_3"},
    {86, 75, "KP4", Qt::Key_4, "KP_4"},
    {87, 76, "KP5", Qt::Key_5, "KP_5"},
    {88, 77, "KP6", Qt::Key_6, "KP_6"},
    {89, 71, "KP7", Qt::Key_7, "KP_7"},
    {90, 190, "FK20", Qt::Key_F20, "F20"},
    {91, 72, "KP8", Qt::Key_8, "KP_8"},
    {92, 73, "KP9", Qt::Key_9, "KP_9"},
    {93, 124, "AE13", Qt::Key_yen},
    {94, 89, "AB11", Qt::Key_Underscore},
    {96, 63, "FK05", Qt::Key_F5, "F5"},
    {97, 64, "FK06", Qt::Key_F6, "F6"},
    {98, 65, "FK07", Qt::Key_F7, "F7"},
    {99, 61, "FK03", Qt::Key_F3, "F3"},
    {100, 66, "FK08", Qt::Key_F8, "F8"},
    {101, 67, "FK09", Qt::Key_F9, "F9"},
    {103, 87, "FK11", Qt::Key_F11, "F11"},
    {105, 183, "FK13", Qt::Key_F13, "F13"},
    {106, 186, "FK16", Qt::Key_F16, "F16"},
    {107, 184, "FK14", Qt::Key_F14, "F14"},
    {109, 68, "FK10", Qt::Key_F10, "F10"},
    {110, 127, "COMP", Qt::Key_Menu, "Menu"},
    {111, 88, "FK12", Qt::Key_F12, "F12"},
    {113, 185, "FK15", Qt::Key_F15, "F15"},
    {114, 110, "INS", Qt::Key_Insert, "Insert"},
    {115, 102, "HOME", Qt::Key_Home, "Home"},
    {116, 104, "PGUP", Qt::Key_PageUp, "Prior"},
    {117, 111, "DELE", Qt::Key_Delete, "Delete"},
    {118, 62, "FK04", Qt::Key_F4, "F4"},
    {119, 107, "END", Qt::Key_End, "End"},
    {120, 60, "FK02", Qt::Key_F2, "F2"},
    {121, 109, "PGDN", Qt::Key_PageDown, "Next"},
    {122, 59, "FK01", Qt::Key_F1, "F1"},
    {123, 105, "LEFT", Qt::Key_Left, "Left"},
    {124, 106, "RGHT", Qt::Key_Right, "Right"},
    {125, 108, "DOWN", Qt::Key_Down, "Down"},
    {126, 103, "UP", Qt::Key_Up, "Up"},
};

template <class Value>
const HardwareKey* found(Value HardwareKey::*member, const Value& value) {
    const auto* const key = std::ranges::find(kKeys, value, member);
    return key == std::end(kKeys) ? nullptr : key;
}

}  // namespace

const HardwareKey* hardwareKey(int keyCode) {
    return found(&HardwareKey::keyCode, keyCode);
}

const HardwareKey* hardwareKeyOfEvdevCode(int evdevCode) {
    return found(&HardwareKey::evdevCode, evdevCode);
}

const HardwareKey* hardwareKeyAt(std::string_view place) {
    return found(&HardwareKey::place, place);
}

const HardwareKey* hardwareKeyOf(Qt::Key key) {
    return found(&HardwareKey::key, key);
}

bool isNamedByLayout(const HardwareKey& key) {
    return key.symbol.empty();
}

bool isOnNumberPad(const HardwareKey& key) {
    return key.place.starts_with("KP");
}

}  // namespace kestrin
