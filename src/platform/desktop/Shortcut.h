// SPDX-License-Identifier: GPL-3.0-or-later
// A key with its modifiers, as the settings keep it. Values without state; any thread.
#pragma once

#include <QVariantMap>
#include <optional>

namespace kestrin {

/// The bits of the modifiers in a shortcut.
namespace ModifierFlag {
inline constexpr unsigned kShift = 0x20000;
inline constexpr unsigned kControl = 0x40000;
inline constexpr unsigned kOption = 0x80000;    ///< the Alt key of this host
inline constexpr unsigned kCommand = 0x100000;  ///< the Super key of this host
inline constexpr unsigned kAll = kShift | kControl | kOption | kCommand;
}  // namespace ModifierFlag

/// A shortcut names a key by its place on the keyboard, whatever the layout writes on it.
struct Shortcut {
    int keyCode = 0;             ///< the hardware's virtual key code; 0 is the key beside Caps Lock
    unsigned modifierFlags = 0;  ///< bits of ModifierFlag

    /// None when one of the two numbers "keyCode" and "modifierFlags" is absent or no number. Bits
    /// that are not in ModifierFlag are dropped.
    static std::optional<Shortcut> fromDictionary(const QVariantMap& dictionary);
    QVariantMap dictionaryRepresentation() const;

    friend bool operator==(const Shortcut&, const Shortcut&) = default;
};

/// Whether the key may be a shortcut by itself: only a function key, since every other key types.
bool isAllowedWithoutModifier(const Shortcut& shortcut);
/// Whether a program may claim these keys everywhere: there is a modifier other than Shift, with
/// which keys still type, or none is needed.
bool isAllowed(const Shortcut& shortcut);

}  // namespace kestrin
