// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/KeyNames.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <QCoreApplication>
#include <QKeyEvent>
#include <QTranslator>
#include <array>
#include <string>
#include <utility>

#include "platform/desktop/linux/HardwareKeys.h"
#include "platform/desktop/ui/linux/KeyboardMap.h"

namespace kestrin {

namespace {

constexpr std::pair<unsigned, Qt::KeyboardModifier> kModifiers[] = {
    {ModifierFlag::kShift, Qt::ShiftModifier},
    {ModifierFlag::kControl, Qt::ControlModifier},
    {ModifierFlag::kOption, Qt::AltModifier},
    {ModifierFlag::kCommand, Qt::MetaModifier}};

/// One word of Qt's own catalogues.
class SuperKeyName : public QTranslator {
 public:
    SuperKeyName(QString name, QObject* parent) : QTranslator(parent), m_name(std::move(name)) {}
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* source, const char*, int) const override {
        const bool isMeta = std::string_view("QShortcut") == context && source &&
                            std::string_view("Meta") == source;
        return isMeta ? m_name : QString();
    }

 private:
    const QString m_name;
};

xkb_keysym_t symbolOf(const HardwareKey& key) {
    if (!isNamedByLayout(key)) {
        return xkb_keysym_from_name(std::string(key.symbol).c_str(), XKB_KEYSYM_NO_FLAGS);
    }
    const KeyboardMap* const map = KeyboardMap::shared();
    const xkb_keysym_t written = map ? map->latinSymbolAt(key.place) : XKB_KEY_NoSymbol;
    if (written != XKB_KEY_NoSymbol) return written;
    const QChar character(static_cast<char16_t>(key.key));
    return xkb_utf32_to_keysym(character.toLower().unicode());
}

const HardwareKey* keyOf(const QKeyEvent& event) {
    const std::uint32_t scanCode = event.nativeScanCode();
    // An input method and a keyboard on the screen press no key that has a place.
    if (scanCode == 0) return hardwareKeyOf(static_cast<Qt::Key>(event.key()));
    if (const KeyboardMap* const map = KeyboardMap::shared()) {
        return hardwareKeyAt(map->placeOf(scanCode));
    }
    return hardwareKeyOfEvdevCode(static_cast<int>(scanCode) - kKeycodeOffset);
}

}  // namespace

void nameSuperKey(const QString& name) {
    auto* const application = QCoreApplication::instance();
    application->installTranslator(new SuperKeyName(name, application));
}

QKeySequence keySequence(const Shortcut& shortcut) {
    const HardwareKey* const key = hardwareKey(shortcut.keyCode);
    if (!key) return {};
    Qt::KeyboardModifiers modifiers;
    for (const auto& [flag, modifier] : kModifiers)
        modifiers.setFlag(modifier, (shortcut.modifierFlags & flag) != 0);
    if (isOnNumberPad(*key)) modifiers |= Qt::KeypadModifier;
    int code = key->key;
    // Qt's code of a key that writes a character is that character as a capital.
    if (isNamedByLayout(*key)) {
        const char32_t character = xkb_keysym_to_utf32(shownSymbol(symbolOf(*key)));
        code = static_cast<int>(QChar::toUpper(character));
    }
    return QKeyCombination(modifiers, static_cast<Qt::Key>(code));
}

QString shortcutText(const Shortcut& shortcut) {
    return keySequence(shortcut).toString(QKeySequence::NativeText);
}

std::optional<Shortcut> shortcutOf(const QKeyEvent& event) {
    const HardwareKey* const key = keyOf(event);
    if (!key) return std::nullopt;
    Shortcut shortcut{.keyCode = key->keyCode};
    for (const auto& [flag, modifier] : kModifiers)
        if (event.modifiers().testFlag(modifier)) shortcut.modifierFlags |= flag;
    return shortcut;
}

std::string keySymbolName(const Shortcut& shortcut) {
    const HardwareKey* const key = hardwareKey(shortcut.keyCode);
    std::array<char, 64> name{};
    if (key) xkb_keysym_get_name(symbolOf(*key), name.data(), name.size());
    return name.data();
}

}  // namespace kestrin
