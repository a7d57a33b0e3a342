// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <QCoreApplication>
#include <QObject>
#include <QTimer>
#include <QVariantMap>
#include <chrono>
#include <csignal>
#include <cstring>
#include <vector>

#include "platform/desktop/ui/SessionEnd.h"
#include "platform/desktop/ui/SingleInstance.h"
#include "platform/desktop/ui/support/PrivateBus.h"
#include "platform/items/UniqueFd.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using Reason = SessionEnd::Reason;

class SessionEndTest : public ::testing::Test {
 protected:
    std::vector<Reason> m_reasons;
    std::function<void(Reason)> m_note = [this](Reason reason) { m_reasons.push_back(reason); };
};

TEST_F(SessionEndTest, ASignalAndTheQuitBehindItAreOneEnd) {
    const SessionEnd end(m_note);
    ::raise(SIGTERM);
    EXPECT_TRUE(m_reasons.empty()) << "called from the event loop, not from the handler";
    EXPECT_TRUE(test::waitFor([this] { return !m_reasons.empty(); }));
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    EXPECT_EQ(m_reasons, std::vector<Reason>{Reason::Signal});
}

TEST_F(SessionEndTest, QuittingIsAnEnd) {
    const SessionEnd end(m_note);
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    EXPECT_EQ(m_reasons, std::vector<Reason>{Reason::Quitting});
}

TEST_F(SessionEndTest, ASecondSignalEndsTheProcess) {
    EXPECT_EXIT(
        {
            const SessionEnd end(m_note);
            ::raise(SIGTERM);
            ::raise(SIGINT);
        },
        ::testing::KilledBySignal(SIGINT), "");
}

TEST_F(SessionEndTest, AnIgnoredHangUpStaysIgnoredAndDefaultsComeBack) {
    ::signal(SIGHUP, SIG_IGN);
    { const SessionEnd end(m_note); }
    EXPECT_EQ(::signal(SIGHUP, SIG_DFL), SIG_IGN);
    EXPECT_EQ(::signal(SIGTERM, SIG_DFL), SIG_DFL);
}

using Start = SingleInstance::Start;

const QString kName = QLatin1String(kApplicationId);
const QString kPath = QStringLiteral("/com/quorvane/Kestrin3");

/// Commands that write down their names.
SingleInstance::Commands noting(std::vector<std::string>& calls) {
    const auto note = [&calls](const char* name) {
        return [&calls, name] { calls.emplace_back(name); };
    };
    return {note("activate"), {{"empty-all", note("empty-all")}, {"quit", note("quit")}}};
}

/// Another process of the program, which answers only when the test's event loop runs.
class OtherProgram : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

 public:
    OtherProgram() {
        QDBusConnection peer = test::PrivateBus::shared()->peer();
        peer.registerObject(kPath, this, QDBusConnection::ExportScriptableInvokables);
        EXPECT_TRUE(peer.registerService(kName));
    }
    ~OtherProgram() override {
        QDBusConnection peer = test::PrivateBus::shared()->peer();
        peer.unregisterService(kName);
        peer.unregisterObject(kPath);
    }
    Q_SCRIPTABLE void Activate(const QVariantMap& data) {
        calls.push_back(QStringLiteral("activate"));
        token = data.value(QStringLiteral("activation-token")).toString();
    }
    Q_SCRIPTABLE void ActivateAction(const QString& name, const QVariantList&, const QVariantMap&) {
        calls.push_back(name);
    }
    QStringList calls;
    QString token;
};

TEST(SingleInstance, ALaterOneHandsItsCommandToABusyOwner) {
    KESTRIN_REQUIRE_BUS();
    OtherProgram other;
    const test::ScopedVariable token("XDG_ACTIVATION_TOKEN", "token-7");
    std::vector<std::string> calls;
    EXPECT_EQ(SingleInstance(noting(calls)).start(), Start::HandedOver);
    EXPECT_EQ(SingleInstance(noting(calls)).start("quit"), Start::HandedOver);
    EXPECT_TRUE(test::waitFor([&other] { return other.calls.size() >= 2; }));
    EXPECT_EQ(other.calls, (QStringList{QStringLiteral("activate"), QStringLiteral("quit")}));
    EXPECT_EQ(other.token, QStringLiteral("token-7"));
    EXPECT_TRUE(calls.empty());
}

/// A socket that accepts and says nothing, as a stopped bus does.
UniqueFd silentSocket(const std::string& path) {
    UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(listener.get(), 5), 0);
    return listener;
}

TEST(SingleInstance, ABusThatKeepsSilentIsGivenUpInTime) {
    const test::ScratchFolder folder;
    const UniqueFd listener = silentSocket(folder / "bus");
    const test::ScopedVariable address("DBUS_SESSION_BUS_ADDRESS",
                                       "unix:path=" + (folder / "bus") + ",guid=0123");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(ensureLivingSessionBus(std::chrono::milliseconds(100)));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
    EXPECT_STREQ(std::getenv("DBUS_SESSION_BUS_ADDRESS"), "unix:path=/dev/null");
}

TEST(SingleInstance, ALivingBusAndAddressesForTheLibraryStay) {
    KESTRIN_REQUIRE_BUS();
    const std::string living = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    const test::ScopedVariable kept("DBUS_SESSION_BUS_ADDRESS", living);
    for (const std::string& address :
         {living, std::string("unix:path=/%20;tcp:host=a"), std::string("tcp:host=a")}) {
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
        EXPECT_TRUE(ensureLivingSessionBus());
        EXPECT_EQ(std::getenv("DBUS_SESSION_BUS_ADDRESS"), address);
    }
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    EXPECT_FALSE(ensureLivingSessionBus());
}

}  // namespace
}  // namespace kestrin

#include "Session_test.moc"
