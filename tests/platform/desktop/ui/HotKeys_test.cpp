// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/HotKeys.h"

#include <gtest/gtest.h>

#include <QKeyEvent>

#include "platform/desktop/ui/KeyNames.h"

namespace kestrin {
namespace {

constexpr Shortcut kEmptyTrash{51, 1310720};
constexpr Shortcut kSmartWindow{1, 1179648};

TEST(Shortcut, IsKeptAsTwoNumbers) {
    EXPECT_EQ(Shortcut::fromDictionary(kEmptyTrash.dictionaryRepresentation()), kEmptyTrash);
    const auto of = [](const QVariant& keyCode, const QVariant& flags) {
        return Shortcut::fromDictionary(
            {{QStringLiteral("keyCode"), keyCode}, {QStringLiteral("modifierFlags"), flags}});
    };
    const unsigned otherBits = 0x800100;
    EXPECT_EQ(of(QStringLiteral("1"), 1179648U | otherBits), kSmartWindow);
    EXPECT_EQ(of(QStringLiteral("S"), 1179648), std::nullopt);
    EXPECT_EQ(of(1, {}), std::nullopt);
}

TEST(Shortcut, NeedsAModifierUnlessItIsAFunctionKey) {
    EXPECT_TRUE(isAllowed({96, 0}));
    EXPECT_TRUE(isAllowed(kEmptyTrash));
    EXPECT_FALSE(isAllowed({51, 0}));
    EXPECT_FALSE(isAllowed({1, ModifierFlag::kShift})) << "that types a capital letter";
    EXPECT_FALSE(isAllowed({9999, ModifierFlag::kCommand}));
}

TEST(KeyNames, NameKeysByTheirPlaceAndFindThemByIt) {
    EXPECT_EQ(shortcutText(kEmptyTrash), QStringLiteral("Meta+Ctrl+Backspace"));
    nameSuperKey(QStringLiteral("Super"));
    EXPECT_EQ(shortcutText(kEmptyTrash), QStringLiteral("Super+Ctrl+Backspace"));
    EXPECT_EQ(shortcutText(kSmartWindow), QStringLiteral("Super+Shift+S"));
    EXPECT_EQ(shortcutText({9999, 0}), QString());
    EXPECT_EQ(keySymbolName(kEmptyTrash), "BackSpace");
    const auto pressed = [](int key, quint32 scanCode) {
        return shortcutOf(
            {QEvent::KeyPress, key, Qt::MetaModifier | Qt::ShiftModifier, scanCode, 0, 0});
    };
    // With another layout the key writes something else; by an input method it has no place.
    EXPECT_EQ(pressed(Qt::Key_O, 39), kSmartWindow);
    EXPECT_EQ(pressed(Qt::Key_S, 0), kSmartWindow);
    EXPECT_EQ(pressed(Qt::Key_Shift, 50), std::nullopt);
}

}  // namespace
}  // namespace kestrin
