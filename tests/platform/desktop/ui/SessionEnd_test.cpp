// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/SessionEnd.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTimer>
#include <csignal>
#include <vector>

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

}  // namespace
}  // namespace kestrin
