// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVSecureAccess.h"

#include <gmock/gmock.h>

#include "erase/support/SecureAccessTest.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecordingDelegate final : public HelperDelegate {
 public:
    void setTotItemsDeleted(std::uint64_t count) override { counts.push_back(count); }
    void setTotSizeDeleted(std::uint64_t bytes) override { sizes.push_back(bytes); }
    void setNotErasedCount(std::uint64_t count) override { notErased.push_back(count); }
    void setIsWorking(bool working) override { ends += working ? 0 : 1; }
    void writeLogEntryWithPath(const std::string& path, std::uint64_t itemSize) override {
        log.push_back(std::to_string(itemSize) + " " + path);
    }
    void showErrorWithError(const HostError& error) override {
        EXPECT_EQ(ends, 0) << "the end is reported with it";
        errors.push_back(QString::fromStdString(error.localizedDescription()));
    }
    bool isStoppedByUser() const override { return isStopped; }

    std::vector<std::uint64_t> counts, sizes, notErased;
    std::vector<std::string> log;
    std::vector<QString> errors;
    int ends = 0;
    bool isStopped = false;
};

class QVSecureAccessTest : public SecureAccessTest {
 protected:
    void SetUp() override {
        SecureAccessTest::SetUp();
        writeFile(helperFile);
        helper.emplace(address());
        connect(kMaximumList);
    }
    void connect(std::size_t maximumList) {
        SecureAccessServices made = services();
        made.maximumList = maximumList;
        access.emplace(std::move(made), &delegate);
    }
    /// Of two files that are there and one that is not.
    HelperRequest request() const {
        writeFile(scratch / "locked");
        writeFile(scratch / "forbidden");
        HelperRequest made;
        made.unlockItems = {FileUrl::fromPath(scratch / "locked")};
        made.permissionsItems = {FileUrl::fromPath(scratch / "forbidden"),
                                 FileUrl::fromPath(scratch / "gone")};
        made.erasedCount = 3;
        made.erasedSize = 30;
        return made;
    }
    static void wait() {
        waitFor([] { return false; }, 50);
    }
    /// Until the helper has its command and the answer to it has arrived.
    void begin(const HelperRequest& work) {
        delegate = {};
        helper->commands.clear();
        access->authorizedEraseWithDictionary(work);
        ASSERT_TRUE(waitFor([&] { return !helper->commands.empty(); }));
        wait();
    }
    bool waitForEnd() {
        const bool hasEnded = waitFor([&] { return delegate.ends > 0; });
        wait();  // nothing may follow
        return hasEnded && delegate.ends == 1 && delegate.notErased.size() == 1;
    }

    RecordingDelegate delegate;
    std::optional<FakeHelper> helper;
};

TEST_F(QVSecureAccessTest, ItemsAreHandedOverAndLoggedAndZeroFiguresChangeNothing) {
    HelperRequest work = request();
    work.notTrashedBecauseFolderNotEmpty = {FileUrl::fromPath("/f\xff")};
    begin(work);
    const EraseItems expected{
        {scratch / "locked"},        {scratch / "forbidden", scratch / "gone"}, 30, 3, {{"/f\xff"}},
        std::vector<ItemIdentity>(4)};
    EXPECT_EQ(helper->commands[0], expected);
    helper->tellErased(helper->caller, {{4, 35, 5, QStringLiteral("/a%FF%0A")}, {0, 36, 1, {}}});
    helper->tellErased(helper->caller, {{6, 0, 0, QStringLiteral("/c%")}});
    helper->tellFinished(helper->caller, 2);
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(delegate.counts, ElementsAre(4, 6));
    EXPECT_THAT(delegate.sizes, ElementsAre(35, 36));
    EXPECT_THAT(delegate.log, ElementsAre("5 /a\xff\n", "1 ", "0 /c%"));
    EXPECT_THAT(delegate.notErased, ElementsAre(2));
    EXPECT_THAT(delegate.errors, IsEmpty());
}

TEST_F(QVSecureAccessTest, NobodyButTheHelperIsBelieved) {
    FakeHelper stranger(address(), false);
    begin(request());
    stranger.tellErased(helper->caller, {{9, 9, 9, QStringLiteral("/lie")}});
    stranger.tellFinished(helper->caller, 0);
    ASSERT_TRUE(waitFor([&] { return stranger.refusals == 2; }));
    EXPECT_THAT(delegate.log, IsEmpty());
    EXPECT_EQ(delegate.ends, 0);
    helper->tellFinished(helper->caller, 1);
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(helper->refusals, 0);
}

TEST_F(QVSecureAccessTest, ARunEndsWithItsHelperOrItsBusAndTheNextOneConnectsAgain) {
    for (const bool isBus : {false, true}) {
        for (const bool isAccepted : {false, true}) {
            SCOPED_TRACE(std::to_string(isBus) + std::to_string(isAccepted));
            helper->holdsCommands = !isAccepted;
            begin(request());
            helper->tellErased(helper->caller, {{4, 35, 5, QStringLiteral("/a")}});
            ASSERT_TRUE(waitFor([&] { return !delegate.log.empty(); }));
            std::filesystem::remove(scratch / "locked");
            isBus ? bus.reset() : helper.reset();
            ASSERT_TRUE(waitForEnd());
            EXPECT_THAT(delegate.notErased, ElementsAre(1));
            EXPECT_EQ(delegate.errors.size(), 1u);
            helper.reset();
            if (isBus) bus.emplace();
            helper.emplace(address());
        }
    }
}

TEST_F(QVSecureAccessTest, LongListsComeAsFilesAndSplitOnesCountOn) {
    connect(std::size_t{3} << 20);
    HelperRequest work = request();
    const std::string folder = "/nowhere/" + std::string(40, '\xff');
    for (int i = 0; i < 40'000; ++i)
        work.permissionsItems.push_back(FileUrl::fromPath(folder + std::to_string(i)));
    std::uint64_t erased = 3;
    std::uint64_t nonErased = 0;
    helper->commanded = [&] {
        const EraseItems& items = helper->commands.back();
        EXPECT_EQ(items.erasedCount, erased);
        EXPECT_EQ(items.erasedSize, 29 + helper->commands.size());
        erased += items.permissionsItems.size();
        nonErased += helper->commands.size();
        helper->tellErased(helper->caller, {{erased, items.erasedSize + 1, 0, {}}});
        helper->tellFinished(helper->caller, helper->commands.size());
    };
    begin(work);
    ASSERT_TRUE(waitForEnd());
    EXPECT_GE(helper->commands.size(), 3u);
    EXPECT_TRUE(helper->cameAsFile[0]);
    EXPECT_EQ(erased, 3 + work.permissionsItems.size());
    EXPECT_THAT(delegate.notErased, ElementsAre(nonErased));
}

TEST_F(QVSecureAccessTest, StopReachesTheHelperAndNothingMoreBegins) {
    connect(1);  // a command for each item
    begin(request());
    delegate.isStopped = true;
    access->stoppedByUser();
    ASSERT_TRUE(waitFor([&] { return helper->stops == 1; }));
    wait();
    EXPECT_EQ(delegate.ends, 0) << "an accepted command ends by its own word";
    helper->tellFinished(helper->caller, 1);
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(delegate.notErased, ElementsAre(2));

    delegate = {};
    delegate.isStopped = true;
    access->authorizedEraseWithDictionary(request());
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(helper->commands.size(), 1u) << "who has stopped is not asked for a password";
}

}  // namespace
}  // namespace kestrin
