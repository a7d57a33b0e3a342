// SPDX-License-Identifier: GPL-3.0-or-later
// The two commands that work over every program by a hot key.
#include <QApplication>
#include <QKeySequence>
#include <array>
#include <optional>
#include <string>

#include "app/QVKestrin.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "platform/desktop/Shortcut.h"
#include "platform/desktop/ui/HotKeys.h"
#include "platform/desktop/ui/StatusItem.h"

namespace kestrin {

namespace {

struct HotKeyCommand {
    std::string_view keyPath;  ///< of the shortcut in the settings; also what names the hot key
    std::string_view descriptionKey;  ///< what it does, for the desktop and the other hot key
    std::string_view titleKey;        ///< of the menu's entry
    int tag;
    void (QVKestrin::*request)();
};

constexpr std::array<HotKeyCommand, 2> kCommands = {{
    {"values.empty_trash", "key_empty_all"_key, "app_empty_all"_key, MenuTag::kEmptyAll,
     &QVKestrin::requestToEmptyAll},
    {"values.smart_delete", "key_smart_window"_key, "app_smart_window"_key, MenuTag::kSmartWindow,
     &QVKestrin::requestSmartWindow},
}};

/// A menu that is open has the keyboard, and would have it still when the question comes.
void closePopups() {
    QWidget* last = nullptr;
    while (QWidget* const popup = QApplication::activePopupWidget()) {
        if (popup == last || !popup->close()) return;  // it stays
        last = popup;
    }
}

/// The keys that a text of ours, or of the desktop, names; empty when it describes them in words.
QKeySequence sequenceIn(const QString& keys) {
    for (const auto format : {QKeySequence::NativeText, QKeySequence::PortableText}) {
        const QKeySequence sequence(keys, format);
        if (sequence.count() == 1 && sequence[0].key() != Qt::Key_unknown) return sequence;
    }
    return {};
}

}  // namespace

void QVKestrin::setupHotKeys() {
    if (!m_services.hotKeys) return;
    // Who has not agreed to the program yet is not asked about its keys.
    m_services.hotKeys->setMayAskUser(!m_services.defaults.boolForKey("is_first_run"));
    connect(m_services.hotKeys, &HotKeyCenter::changed, this, &QVKestrin::updateKeyEquivalents);
    for (const HotKeyCommand& command : kCommands) {
        const auto changed = [this, &command](const std::optional<QVariant>& value) {
            HotKeyCenter& center = *m_services.hotKeys;
            const auto shortcut = Shortcut::fromDictionary(value.value_or(QVariant()).toMap());
            // A file may name a key that everybody types: that would be taken from every program.
            const bool isUsable = shortcut && isAllowed(*shortcut);
            if (!isUsable) return center.unregisterHotKey(command.keyPath);
            center.registerHotKey({.identifier = std::string(command.keyPath),
                                   .shortcut = *shortcut,
                                   .description = m_services.texts.text(command.descriptionKey),
                                   .pressed = [this, &command] {
                                       closePopups();
                                       (this->*command.request)();
                                   }});
        };
        m_hotKeyObservations.push_back(m_services.defaults.observe(
            command.keyPath, UserDefaults::Notify::NowAndOnChange, changed));
    }
}

void QVKestrin::updateKeyEquivalents() {
    for (const HotKeyCommand& command : kCommands) {
        QAction* const item = itemWithTag(command.tag);
        const QString keys = m_services.hotKeys->shownText(command.keyPath);
        const QKeySequence sequence = sequenceIn(keys);
        const QString title = m_services.texts.text(command.titleKey);
        item->setShortcut(sequence);
        item->setShortcutVisibleInContextMenu(true);
        const bool areWords = sequence.isEmpty() && !keys.isEmpty();
        item->setText(areWords ? StringTable::filled(m_services.texts.text("menu_keys"_key),
                                                     {title, menuText(keys)})
                               : title);
    }
}

}  // namespace kestrin
