// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/HotKeys.h"

#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QKeyEvent>
#include <optional>

#include "platform/desktop/ui/KeyNames.h"
#include "platform/desktop/ui/support/PrivateBus.h"
#include "support/TestEnvironment.h"

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

using Shortcuts = QList<std::pair<QString, QVariantMap>>;

/// A desktop's portal. What it was told stands in `calls`; it answers as the test says.
class Portal : public QDBusVirtualObject {
 public:
    Portal() {
        qDBusRegisterMetaType<std::pair<QString, QVariantMap>>();
        qDBusRegisterMetaType<Shortcuts>();
        m_bus.registerVirtualObject(kPath, this, QDBusConnection::SubPath);
        EXPECT_TRUE(m_bus.registerService(kName));
    }
    ~Portal() override {
        m_bus.unregisterService(kName);
        m_bus.unregisterObject(kPath, QDBusConnection::UnregisterTree);
    }
    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
        calls.append(message.member());
        const QVariantList arguments = message.arguments();
        if (message.member() == QLatin1String("Get")) {
            m_bus.send(message.createReply(QVariant::fromValue(QDBusVariant(version))));
        } else if (message.member() == QLatin1String("CreateSession")) {
            const auto options = qdbus_cast<QVariantMap>(arguments.last());
            session = ownPath(message, "session", options, "session_handle_token");
            answer(message, createCode, {{QStringLiteral("session_handle"), session}});
        } else if (message.member() == QLatin1String("BindShortcuts")) {
            asked = qdbus_cast<Shortcuts>(arguments[1]);
            const QVariant granted = isNonsense ? QVariant(7) : QVariant::fromValue(triggers);
            answer(message, bindCode, {{QStringLiteral("shortcuts"), granted}});
        } else if (message.member() == QLatin1String("Register")) {
            m_bus.send(message.createErrorReply(QDBusError::UnknownInterface, QString()));
        }
        return true;
    }

    void signal(const QString& name, const QVariantList& arguments,
                std::optional<QDBusConnection> sender = std::nullopt) {
        send(kPath, kInterface, name, arguments, sender.value_or(m_bus));
    }
    void press(const QString& sessionPath, std::optional<QDBusConnection> sender = std::nullopt) {
        signal(QStringLiteral("Activated"),
               {QVariant::fromValue(QDBusObjectPath(sessionPath)), QStringLiteral("empty"), 5ULL,
                QVariantMap()},
               sender);
    }
    void closeSession() {
        send(session, QStringLiteral("org.freedesktop.portal.Session"), QStringLiteral("Closed"),
             {QVariantMap()}, m_bus);
    }
    qsizetype count(const char* call) const { return calls.count(QLatin1String(call)); }
    QString proposed(int at) const {
        return asked.value(at).second.value(QStringLiteral("preferred_trigger")).toString();
    }

    static std::pair<QString, QVariantMap> granted(const char* identifier, const char* trigger) {
        return {QLatin1String(identifier),
                {{QStringLiteral("trigger_description"), QLatin1String(trigger)}}};
    }

    std::optional<uint> createCode = 0, bindCode = 0;  ///< none: no answer
    uint version = 2;
    bool isNonsense = false;
    Shortcuts triggers{granted("empty", "Super and Delete"), granted("smart", "")};
    Shortcuts asked;
    QString session;
    QStringList calls;

 private:
    const QString kName = QStringLiteral("org.freedesktop.portal.Desktop");
    const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
    const QString kInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

    QString ownPath(const QDBusMessage& message, const char* kind, const QVariantMap& options,
                    const char* token) {
        QString sender = message.service().mid(1);
        return kPath + QStringLiteral("/%1/%2/%3")
                           .arg(QLatin1String(kind), sender.replace(u'.', u'_'),
                                options.value(QLatin1String(token)).toString());
    }
    void answer(const QDBusMessage& message, std::optional<uint> code, const QVariantMap& results) {
        const auto options = qdbus_cast<QVariantMap>(message.arguments().last());
        const QString path = ownPath(message, "request", options, "handle_token");
        m_bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath(path))));
        if (!code) return;
        send(path, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"),
             {*code, results}, m_bus);
    }
    static void send(const QString& path, const QString& interface, const QString& name,
                     const QVariantList& arguments, QDBusConnection sender) {
        QDBusMessage message = QDBusMessage::createSignal(path, interface, name);
        message.setArguments(arguments);
        sender.send(message);
    }

    QDBusConnection m_bus = test::PrivateBus::shared()->peer();
};

class PortalTest : public ::testing::Test {
 protected:
    using State = HotKeyCenter::State;
    using Way = HotKeyCenter::Way;

    void SetUp() override { KESTRIN_REQUIRE_BUS(); }
    void begin() {
        center.emplace();
        add("empty", kEmptyTrash);
        add("smart", kSmartWindow);
    }
    void add(const char* identifier, const Shortcut& shortcut) {
        center->registerHotKey(
            {identifier, shortcut, QLatin1String(identifier), [this] { ++pressed; }});
    }
    bool becomes(State state) {
        return test::waitFor([&] { return center->state("empty") == state; });
    }
    /// All that was sent has arrived when what is sent last has: a change of the text.
    void settle(Portal& portal) {
        portal.signal(QStringLiteral("ShortcutsChanged"),
                      {QVariant::fromValue(QDBusObjectPath(portal.session)),
                       QVariant::fromValue(Shortcuts{Portal::granted("empty", "F9")})});
        EXPECT_TRUE(test::waitFor([&] { return center->shownText("empty") == u"F9"; }));
    }

    std::optional<HotKeyCenter> center;
    int pressed = 0;
};

TEST_F(PortalTest, ItsKeysWorkAndNobodyElses) {
    Portal portal;
    begin();
    center->setMayAskUser(false);
    EXPECT_FALSE(test::waitFor([&] { return portal.count("CreateSession") > 0; }, 50));
    EXPECT_EQ(center->way(), Way::Unknown);
    EXPECT_EQ(center->state("empty"), State::Pending);
    center->setMayAskUser(true);
    ASSERT_TRUE(becomes(State::Registered));
    EXPECT_EQ(portal.count("CreateSession"), 1) << "for both hot keys";
    EXPECT_EQ(portal.proposed(0), QStringLiteral("CTRL+LOGO+BackSpace"));
    EXPECT_EQ(portal.proposed(1), QStringLiteral("SHIFT+LOGO+s"));
    EXPECT_EQ(center->way(), Way::Portal);
    EXPECT_EQ(center->shownText("empty"), QStringLiteral("Super and Delete"));
    EXPECT_EQ(center->state("smart"), State::Taken) << "the desktop has no keys for it";
    portal.press(portal.session, QDBusConnection::sessionBus());
    portal.press(QStringLiteral("/another/session"));
    portal.press(portal.session);
    ASSERT_TRUE(test::waitFor([&] { return pressed > 0; }));
    settle(portal);
    EXPECT_EQ(pressed, 1);
    const HotKeyCenter::Suspension suspension(*center);
    portal.press(portal.session);
    settle(portal);
    EXPECT_EQ(pressed, 1);
    EXPECT_EQ(center->state("smart"), State::Unavailable) << "it is not among them any more";
}

TEST_F(PortalTest, OtherKeysNeedANewSession) {
    Portal portal;
    begin();
    ASSERT_TRUE(becomes(State::Registered));
    const QString first = portal.session;
    center->retry();
    EXPECT_EQ(center->state("empty"), State::Registered) << "there is nothing to ask for";
    center->unregisterHotKey("empty");
    add("empty", {96, 0});
    ASSERT_TRUE(test::waitFor([&] { return portal.proposed(1) == u"F5"; }));
    EXPECT_EQ(portal.count("Close"), 1) << "the first session";
    EXPECT_TRUE(becomes(State::Registered));
    portal.press(first);
    settle(portal);
    EXPECT_EQ(pressed, 0);
    ASSERT_TRUE(test::waitFor([&] { return center->canConfigure(); }));
    center->configure();
    EXPECT_TRUE(test::waitFor([&] { return portal.count("ConfigureShortcuts") == 1; }));
    center.reset();
    EXPECT_TRUE(test::waitFor([&] { return portal.count("Close") == 2; }));
}

TEST_F(PortalTest, ARefusalIsNotAskedAgainUntilTheUserWants) {
    Portal portal;
    portal.bindCode = 1;
    begin();
    EXPECT_TRUE(becomes(State::Unavailable));
    EXPECT_EQ(center->way(), Way::Portal);
    center->retry();
    EXPECT_TRUE(becomes(State::Unavailable));
    EXPECT_EQ(portal.count("BindShortcuts"), 1);
    portal.bindCode = {};
    center->configure();
    ASSERT_TRUE(test::waitFor([&] { return portal.count("BindShortcuts") == 2; }));
    EXPECT_EQ(center->state("empty"), State::Pending) << "nobody answers";
    center.reset();
    EXPECT_TRUE(test::waitFor([&] { return portal.count("Close") == 3; })) << "the question, too";
}

TEST_F(PortalTest, NoneANonsensicalOneAndOneThatComesBack) {
    begin();
    EXPECT_EQ(center->state("empty"), State::Pending);
    EXPECT_TRUE(becomes(State::Unavailable));
    EXPECT_EQ(center->way(), Way::None);
    auto portal = std::make_unique<Portal>();
    portal->isNonsense = true;
    EXPECT_TRUE(test::waitFor([&] { return center->way() == Way::Portal; }));
    EXPECT_TRUE(becomes(State::Unavailable));
    portal.reset();
    EXPECT_TRUE(test::waitFor([&] { return center->way() == Way::None; }));
    portal = std::make_unique<Portal>();
    EXPECT_TRUE(becomes(State::Registered));
    portal->closeSession();
    EXPECT_TRUE(becomes(State::Unavailable));
    portal->createCode = 2;
    center->retry();
    EXPECT_TRUE(test::waitFor([&] { return portal->count("CreateSession") == 2; }));
    EXPECT_TRUE(becomes(State::Unavailable));
    EXPECT_EQ(center->way(), Way::None);
}

}  // namespace
}  // namespace kestrin
