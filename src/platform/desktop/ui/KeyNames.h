// SPDX-License-Identifier: GPL-3.0-or-later
// What shortcuts are called on this keyboard, and which one was pressed. Main thread; needs a
// QGuiApplication.
#pragma once

#include <QKeySequence>
#include <QString>
#include <optional>

#include "platform/desktop/Shortcut.h"

class QKeyEvent;

namespace kestrin {

/// Makes every text that Qt writes for a shortcut say `name` for the Super key, which it calls
/// "Meta" otherwise. To be called once, after the application was made.
void nameSuperKey(const QString& name);

/// The shortcut as Qt knows it, for a menu: the key is named by what it writes in the present
/// layout. Where that is no Latin character the key has the name that it has in another layout of
/// the user, else on a US keyboard: the caps of such keyboards show both. Without an X11 display
/// nobody tells the layout, and keys have their US names. Empty for a key that this host lacks.
QKeySequence keySequence(const Shortcut& shortcut);
/// The same as a text in the user's language, "Ctrl+Super+Backspace".
QString shortcutText(const Shortcut& shortcut);

/// The key that was pressed, by its place, with its modifiers. None for a modifier by itself, and
/// for a key that shortcuts have no code for.
std::optional<Shortcut> shortcutOf(const QKeyEvent& event);

/// The name of the key in a keyboard map, such as "BackSpace"; empty for a key that this host
/// lacks.
std::string keySymbolName(const Shortcut& shortcut);

}  // namespace kestrin
