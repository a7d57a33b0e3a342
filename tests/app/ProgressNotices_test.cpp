// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ProgressNotices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QGuiApplication>

#include "base/StringTable.h"
#include "platform/desktop/ui/support/FakeDesktop.h"
#include "platform/desktop/ui/support/PrivateBus.h"
#include "support/RecordingProgressView.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::waitFor;
using ::testing::ElementsAre;

class ProgressNoticesTest : public ::testing::Test {
 protected:
    void SetUp() override {
        KESTRIN_REQUIRE_BUS();
        m_desktop = std::make_unique<test::NotificationService>();
        m_dock = std::make_unique<test::LauncherDock>();
        m_notices = std::make_unique<ProgressNotices>(
            m_record.factory()([] {}), [this] { return m_isInFront; }, m_texts,
            [this] { ++m_stopped; });
    }
    static void pass(int milliseconds) {
        waitFor([] { return false; }, milliseconds);
    }
    static ProgressState at(std::uint64_t percent,
                            ProgressState::Phase phase = ProgressState::Phase::Working) {
        return {.phase = phase,
                .mainText = QStringLiteral("Erasing"),
                .figures = ProgressFigures{.items = percent, .allItems = 100}};
    }
    /// Whether the notification comes, or goes.
    bool shows(bool isShown = true) {
        return waitFor([&] { return m_desktop->isShown == isShown; });
    }
    void putInFront(bool isInFront) {
        m_isInFront = isInFront;
        Q_EMIT qGuiApp->focusWindowChanged(nullptr);
    }

    test::ProgressRecord m_record;
    StringTable m_texts{QStringLiteral("en")};
    bool m_isInFront = false;
    int m_stopped = 0;
    std::unique_ptr<test::NotificationService> m_desktop;
    std::unique_ptr<test::LauncherDock> m_dock;
    std::unique_ptr<ProgressNotices> m_notices;
};

TEST_F(ProgressNoticesTest, TellOfTheEraseWhileItShowsAndNoLonger) {
    m_notices->show(at(10));
    putInFront(false);
    pass(100);
    EXPECT_TRUE(m_desktop->texts.isEmpty()) << "an erase that ends soon shows nothing at all";

    m_notices->open(nullptr);
    EXPECT_TRUE(shows());
    EXPECT_EQ(m_desktop->texts.back(),
              QStringLiteral("Erasing||action,") + m_texts.text("stop_btn"));
    m_notices->show(at(43));
    EXPECT_TRUE(waitFor([this] { return m_dock->shown.size() == 2; }));

    m_notices->show(at(100, ProgressState::Phase::Over));
    EXPECT_TRUE(shows(false));
    putInFront(false);  // the report takes the focus
    pass(100);
    EXPECT_FALSE(m_desktop->isShown) << "there is nothing to stop any more";
    m_notices->close();
    EXPECT_TRUE(waitFor([this] { return m_dock->shown.size() == 4; }));
    EXPECT_THAT(m_dock->shown, ElementsAre(0.1, 0.43, 1.0, -1.0));
    EXPECT_EQ(m_record.closed, 1);

    m_notices->show(at(100));
    putInFront(false);
    pass(100);
    EXPECT_FALSE(m_desktop->isShown);
    EXPECT_EQ(m_dock->shown.size(), 4u) << "late figures bring nothing back";
}

TEST_F(ProgressNoticesTest, TheNotificationAndItsStopMakeUpForAWindowThatIsNotSeen) {
    int window = 0;
    m_isInFront = true;
    m_notices->open(&window);
    EXPECT_THAT(m_record.parents, ElementsAre(&window));
    pass(100);
    EXPECT_TRUE(m_desktop->texts.isEmpty());
    putInFront(false);
    EXPECT_TRUE(shows());
    putInFront(true);
    EXPECT_TRUE(shows(false));
    putInFront(false);
    EXPECT_TRUE(shows());
    pass(100);
    m_desktop->signal(QStringLiteral("ActionInvoked"), {m_desktop->id, QStringLiteral("action")});
    EXPECT_TRUE(waitFor([this] { return m_stopped == 1; }));
    m_notices.reset();
    EXPECT_TRUE(shows(false)) << "also when the erase goes without a word";
}

}  // namespace
}  // namespace kestrin
