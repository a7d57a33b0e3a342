// SPDX-License-Identifier: GPL-3.0-or-later
// The preferences' window, worked by the keyboard and the mouse.
#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <QWindow>
#include <fstream>
#include <set>
#include <sstream>

#include "app/preferences/Notice.h"
#include "app/preferences/QVPreferencesWindow.h"
#include "base/StringTable.h"
#include "erase/HelperConnection.h"
#include "erase/QVErrorDelegate.h"
#include "format/QVNumberUtilities.h"
#include "platform/desktop/Shortcut.h"
#include "support/ScriptedAlertPanel.h"
#include "support/TestEnvironment.h"

namespace kestrin::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

const QVariantMap kControlAltX =
    Shortcut{7, ModifierFlag::kControl | ModifierFlag::kOption}.dictionaryRepresentation();

class PreferencesTest : public ::testing::Test {
 protected:
    PreferencesTest() { m_defaults.registerDefaults(defaultSettings()); }
    ~PreferencesTest() override {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    PreferencesServices services() {
        return {.texts = m_texts,
                .numbers = QVNumberUtilities::sharedControl(),
                .presenter = m_presenter,
                .defaults = m_defaults,
                .setLoginEnabled =
                    [this](bool isOn) {
                        m_logins.push_back(isOn);
                        return m_loginError;
                    },
                .helper = {.askState = [this](auto found) { found(m_helper); },
                           .perform =
                               [this](HelperCommand command) {
                                   m_commands.push_back(command);
                                   if (m_meanwhile) m_meanwhile();
                                   return m_helperError;
                               }},
                .revertToInitialValues = [this](const auto& values) { m_reverted = values; }};
    }
    QWidget* window() const {
        for (QWidget* const widget : QApplication::topLevelWidgets())
            if (widget->objectName() == QLatin1String("preferences") && widget->isVisible())
                return widget;
        return nullptr;
    }
    template <class T>
    T* field(const char* name) const {
        return window()->findChild<T*>(QLatin1String(name));
    }
    QAbstractButton* button(const char* name) const { return field<QAbstractButton>(name); }
    /// A part of the recorder of that setting.
    QAbstractButton* part(const char* setting, const char* name) const {
        return field<QWidget>(setting)->findChild<QAbstractButton*>(QLatin1String(name));
    }
    /// What stands in the window beside its fields.
    std::string notes() const {
        QString all;
        for (const Notice* const notice : window()->findChildren<Notice*>())
            if (notice->isVisible()) all += notice->text() + QLatin1Char('\n');
        return all.toStdString();
    }
    std::string fileText() const {
        std::ostringstream text;
        text << std::ifstream(m_file).rdbuf();
        return text.str();
    }
    void record(const char* setting, int key, Qt::KeyboardModifiers modifiers) {
        part(setting, "keys")->click();
        QTest::keyClick(part(setting, "keys"), static_cast<Qt::Key>(key), modifiers);
    }

    ScratchFolder m_folder;
    const std::string m_file = m_folder / "settings.conf";
    ScriptedAlerts m_alerts;
    StringTable m_texts{QStringLiteral("en")};
    UserDefaults m_defaults{m_file};
    QVErrorDelegate m_presenter{m_alerts.factory(), m_texts, m_defaults};
    std::vector<bool> m_logins;
    MaybeError m_loginError;
    HelperState m_helper;
    std::vector<HelperCommand> m_commands;
    std::function<void()> m_meanwhile;
    MaybeError m_helperError;
    std::optional<SettingsMap> m_reverted;
};

TEST_F(PreferencesTest, FieldsAreTheSettingsWhoeverChangesThem) {
    m_defaults.set("how_many_days_for_new_log_file", 14);
    QVPreferencesWindow preferences(services());
    EXPECT_EQ(window(), nullptr);
    preferences.openWindowInModal(false);
    for (const char* const key : {"launch_at_login", "show_alert", "delete_locked", "write_log"}) {
        const bool before = m_defaults.boolForKey(key);
        EXPECT_EQ(button(key)->isChecked(), before) << key;
        button(key)->click();
        EXPECT_NE(m_defaults.boolForKey(key), before) << key;
        m_defaults.set(key, before);
        EXPECT_EQ(button(key)->isChecked(), before) << key;
    }
    EXPECT_THAT(m_logins, ElementsAre(true, false));
    auto* const days = field<QComboBox>("how_many_days_for_new_log_file");
    EXPECT_EQ(days->currentText(), QStringLiteral("Every 14 days"));
    QTest::keyClick(days, Qt::Key_End);
    EXPECT_EQ(m_defaults.integerForKey("how_many_days_for_new_log_file"), 30);
    EXPECT_EQ(days->count(), 4) << "what nobody has set is not offered";
    m_defaults.set("write_log", false);
    EXPECT_FALSE(days->isEnabled());
    button("restore_values")->click();
    EXPECT_EQ(m_reverted, generalDefaultSettings());
}

TEST_F(PreferencesTest, OpeningAndClosingWritesNothing) {
    std::ofstream(m_file)
        << "; "
           "mine\n[General]\nshow_alert=no\n[smart_delete]\nkeyCode=0x2\nmodifierFlags=0x140000\n";
    const std::string before = fileText();
    QVPreferencesWindow preferences(services());
    preferences.openWindowInModal(false);
    const QString title = part("smart_delete", "keys")->text();
    EXPECT_TRUE(title.endsWith(QLatin1String("+D"))) << title.toStdString();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window()));
    QTest::keyClick(window(), Qt::Key_Escape);
    EXPECT_EQ(window(), nullptr);
    EXPECT_EQ(fileText(), before);
    preferences.openWindowInModal(false);
    window()->close();
    EXPECT_EQ(fileText(), before);
}

TEST_F(PreferencesTest, ARecordedShortcutIsStoredAtOnceAndAClearedOneGetsItsDefault) {
    QVPreferencesWindow preferences(services());
    preferences.openWindowInModal(false);
    QTest::keyClick(part("empty_trash", "keys"), Qt::Key_Return);
    QTest::keyClick(part("empty_trash", "keys"), Qt::Key_X, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_EQ(m_defaults.dictionaryForKey("empty_trash"), kControlAltX);
    const std::string stored = fileText();
    QTest::keyClick(part("empty_trash", "keys"), Qt::Key_Delete);
    EXPECT_THAT(notes(), HasSubstr("comes back"));
    m_defaults.set("smart_delete", kControlAltX);
    EXPECT_EQ(part("empty_trash", "keys")->text(), QStringLiteral("None")) << "still cleared";
    m_defaults.set("smart_delete", defaultSettings().at("smart_delete"));
    EXPECT_THAT(fileText(), HasSubstr(stored)) << "a cleared one is not stored";
    window()->close();
    EXPECT_EQ(m_defaults.dictionaryForKey("empty_trash"),
              defaultSettings().at("empty_trash").toMap());
}

TEST_F(PreferencesTest, KeysThatCannotBeHadAreRefusedWithTheReason) {
    QVPreferencesWindow preferences(services());
    preferences.openWindowInModal(false);
    const struct {
        int key;
        Qt::KeyboardModifiers modifiers;
        const char* note;
    } refused[] = {
        {Qt::Key_X, Qt::NoModifier, "Hold"},
        {Qt::Key_X, Qt::ShiftModifier, "Hold"},
        {Qt::Key_S, Qt::ShiftModifier | Qt::MetaModifier, "taken by “Open the Smart Window”"},
        {Qt::Key_LaunchMail, Qt::ControlModifier, "cannot be"}};
    QAbstractButton* const keys = part("empty_trash", "keys");
    for (const auto& row : refused) {
        record("empty_trash", row.key, row.modifiers);
        EXPECT_THAT(notes(), HasSubstr(row.note));
        EXPECT_TRUE(keys->isDown()) << "it goes on recording";
        QTest::keyClick(keys, Qt::Key_Escape);
        EXPECT_FALSE(keys->isDown());
        EXPECT_NE(window(), nullptr);
    }
    EXPECT_EQ(fileText(), "");
    record("empty_trash", Qt::Key_F5, {});
    EXPECT_EQ(notes().find("Hold"), std::string::npos);
    EXPECT_EQ(m_defaults.dictionaryForKey("empty_trash").value(QStringLiteral("modifierFlags")), 0);
    keys->click();
    QTest::keyClick(keys, Qt::Key_Tab);
    EXPECT_FALSE(keys->isDown()) << "nobody is caught in it";
}

TEST_F(PreferencesTest, ALoginItemThatFailsIsToldAndTheSettingStays) {
    QVPreferencesWindow preferences(services());  // it follows before it was ever opened
    m_loginError =
        HostError{std::string(kPOSIXErrorDomain), EACCES, EACCES, {{"errorString", "Not allowed"}}};
    m_defaults.set("launch_at_login", true);
    preferences.openWindowInModal(false);
    m_loginError = HostError{
        std::string(kPOSIXErrorDomain),
        22,
        0,
        {{"errorString", "No folder"}, {"failureReason", "SMLoginItemSetEnabled failed"}}};
    preferences.setLoginEnabled();
    ASSERT_EQ(m_alerts.models.size(), 2U);
    EXPECT_EQ(m_alerts.models[0].title, QStringLiteral("Not allowed"));
    EXPECT_EQ(m_alerts.models[0].text, QString());
    EXPECT_EQ(m_alerts.models[1].title, m_texts.text("login_error", StringTable::Table::Errors));
    EXPECT_EQ(m_alerts.models[1].text, QStringLiteral("No folder"));
    EXPECT_TRUE(m_defaults.boolForKey("launch_at_login"));
}

TEST_F(PreferencesTest, TheHelperIsInstalledUpdatedAndRemoved) {
    m_helperError = HostError{std::string(kOSStatusErrorDomain), kAuthorizationCancelled};
    QVPreferencesWindow preferences(services());
    preferences.openWindowInModal(false);
    const auto press = [&](const HelperState& state) {
        m_helper = state;
        window()->close();
        preferences.openWindowInModal(false);
        button("helper_button")->click();
        button("helper_button")->click();  // a second click changes nothing
        QCoreApplication::processEvents();
    };
    press({});
    press({HelperState::Kind::Other, QStringLiteral("1.0")});
    press({HelperState::Kind::Current, QStringLiteral("2.0.0")});
    EXPECT_THAT(m_commands,
                ElementsAre(HelperCommand::Install, HelperCommand::Update, HelperCommand::Remove));
    EXPECT_TRUE(m_alerts.models.empty()) << "who was asked for a password knows";
    m_helperError->code = kAuthorizationDenied;
    m_meanwhile = [&] {
        EXPECT_FALSE(button("helper_button")->isEnabled());
        window()->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    press({});
    EXPECT_EQ(m_alerts.models.size(), 1U);
    m_helper = {HelperState::Kind::Current, QStringLiteral("2.0.0"), QStringLiteral("kestrin"),
                QStringLiteral("remove it"), QStringLiteral("update it")};
    preferences.openWindowInModal(false);
    EXPECT_THAT(notes(), HasSubstr("removes: remove it"));
    EXPECT_FALSE(button("helper_button")->isVisible());
}

TEST_F(PreferencesTest, EverythingHasANameAKeyOfItsOwnAndRoom) {
    std::ofstream(m_file) << std::string(300, '\0');
    QVPreferencesWindow preferences(services());
    preferences.openWindowInModal(false);
    EXPECT_THAT(notes(), HasSubstr("settings.conf holds something other"));
    std::set<QString> mnemonics;
    for (const QWidget* const widget : window()->findChildren<QWidget*>()) {
        if (!widget->isVisible()) continue;
        const QAccessibleInterface* const seen =
            QAccessible::queryAccessibleInterface(const_cast<QWidget*>(widget));
        if (widget->focusPolicy() != Qt::NoFocus && !widget->focusProxy()) {
            EXPECT_FALSE(seen->text(QAccessible::Name).isEmpty())
                << widget->objectName().toStdString();
        }
        const auto* const label = qobject_cast<const QLabel*>(widget);
        const auto* const pressed = qobject_cast<const QAbstractButton*>(widget);
        if (!label && !pressed) continue;
        const QString text = label ? label->text() : pressed->text();
        const bool hasKey = (pressed || label->buddy()) && text.contains(QLatin1Char('&'));
        if (hasKey) {
            const QString key = text.section(QLatin1Char('&'), 1).left(1).toLower();
            EXPECT_TRUE(mnemonics.insert(key).second) << text.toStdString();
        }
        const bool wraps = label && label->wordWrap();
        EXPECT_GE(widget->height(),
                  wraps ? widget->heightForWidth(widget->width()) : widget->sizeHint().height())
            << text.toStdString();
        if (!wraps) {
            EXPECT_GE(widget->width(), widget->sizeHint().width()) << text.toStdString();
        }
    }
    EXPECT_GE(mnemonics.size(), 10U);
    record("empty_trash", Qt::Key_F5, {});
    EXPECT_THAT(notes(), HasSubstr(".broken-20")) << "where the file is now";
}

TEST_F(PreferencesTest, ModalMeansOnTheWindowThatIsActive) {
    QVPreferencesWindow preferences(services());
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    preferences.openWindowInModal(true);
    EXPECT_EQ(window()->windowHandle()->transientParent(), other.windowHandle());
    EXPECT_EQ(window()->windowModality(), Qt::WindowModal);
    window()->close();
    preferences.openWindowInModal(false);
    EXPECT_EQ(window()->windowModality(), Qt::NonModal);
}

}  // namespace
}  // namespace kestrin::test
