// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Shortcut.h"

#include "platform/desktop/linux/HardwareKeys.h"

namespace kestrin {

namespace {

constexpr char kKeyCode[] = "keyCode";
constexpr char kModifierFlags[] = "modifierFlags";

}  // namespace

std::optional<Shortcut> Shortcut::fromDictionary(const QVariantMap& dictionary) {
    bool hasKeyCode = false;
    bool hasFlags = false;
    const int keyCode = dictionary.value(QLatin1String(kKeyCode)).toInt(&hasKeyCode);
    const unsigned flags = dictionary.value(QLatin1String(kModifierFlags)).toUInt(&hasFlags);
    if (!hasKeyCode || !hasFlags) return std::nullopt;
    return Shortcut{keyCode, flags & ModifierFlag::kAll};
}

QVariantMap Shortcut::dictionaryRepresentation() const {
    return {{QLatin1String(kKeyCode), keyCode}, {QLatin1String(kModifierFlags), modifierFlags}};
}

bool isAllowedWithoutModifier(const Shortcut& shortcut) {
    const HardwareKey* const key = hardwareKey(shortcut.keyCode);
    return key && key->key >= Qt::Key_F1 && key->key <= Qt::Key_F35;
}

bool isAllowed(const Shortcut& shortcut) {
    const bool hasModifier = (shortcut.modifierFlags & ~ModifierFlag::kShift) != 0;
    return isAllowedWithoutModifier(shortcut) || (hasModifier && hardwareKey(shortcut.keyCode));
}

}  // namespace kestrin
