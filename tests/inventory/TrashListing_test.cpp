// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/TrashListing.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "base/StringTable.h"
#include "platform/items/HostErrors.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

const FileUrl kOne = FileUrl::fromPath("/one"), kTwo = FileUrl::fromPath("/two");

/// Volumes that answer when the test says so; questions may outlive it.
struct Disks {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<MountedVolume> mounts{{kOne, 1}, {kTwo, 2}};
    std::set<FileUrl> hanging;
    std::map<FileUrl, int> asked;
    std::map<FileUrl, int> error;  ///< errno

    template <class Change>
    void set(Change change) {
        const std::lock_guard lock(mutex);
        change(*this);
        changed.notify_all();
    }
    int timesAsked(const FileUrl& url) {
        const std::lock_guard lock(mutex);
        return asked[url];
    }
    ListedVolume answer(const FileUrl& url) {
        std::unique_lock lock(mutex);
        const int number = ++asked[url];
        changed.wait(lock, [&] { return !hanging.contains(url); });
        ListedVolume volume{.url = url, .name = QString::number(number), .problem = {}};
        volume.state = ListedVolume::State::Usable;
        volume.trashes = {{url.appending("files"), url, volume.name, url.path(), false}};
        if (const auto failure = error.find(url); failure != error.end()) {
            volume.state = ListedVolume::State::Unusable;
            volume.trashes.clear();
            volume.problem = errorFromErrno(failure->second, HostAccess::Read);
        }
        return volume;
    }
};

class TrashListingTest : public ::testing::Test {
 protected:
    ~TrashListingTest() override {
        disks->set([](Disks& all) { all.hanging.clear(); });
    }
    void list() {
        bool isDone = false;
        listing.refresh([&] { isDone = true; });
        ASSERT_TRUE(test::waitFor([&] { return isDone; }));
    }
    /// The listed volumes by the numbers of their answers, silent ones with a "?".
    std::string names() const {
        std::string names;
        for (const ListedVolume& volume : listing.volumes())
            names += volume.name.toStdString() + (volume.answers ? " " : "? ");
        return names;
    }

    const std::shared_ptr<Disks> disks = std::make_shared<Disks>();
    TrashListing listing{{.mounts =
                              [disks = disks] {
                                  const std::lock_guard lock(disks->mutex);
                                  return disks->mounts;
                              },
                          .ask = [disks = disks](const FileUrl& url) { return disks->answer(url); },
                          .patience = 200ms}};
};

TEST_F(TrashListingTest, KeepsTheAnswersOfASilentVolumeAndTakesALateOne) {
    list();
    EXPECT_EQ(names(), "1 1 ");
    disks->set([](Disks& all) { all.hanging = {kTwo}; });
    for (int i = 0; i < 5; ++i)
        list();
    EXPECT_EQ(names(), "6 1? ");
    EXPECT_EQ(disks->timesAsked(kTwo), 2) << "one question at a time";
    EXPECT_EQ(listing.trashes().size(), 2u);
    ASSERT_EQ(listing.trashesToErase().size(), 1u);
    EXPECT_EQ(listing.trashesToErase()[0].volumeURL, kOne);
    const auto leftOut = leftOutVolumes(listing.volumes(), StringTable(QStringLiteral("en")));
    ASSERT_EQ(leftOut.size(), 1u);
    EXPECT_EQ(leftOut[0].name, QStringLiteral("1"));

    int changes = 0;
    listing.setChangeHandler([&] { ++changes; });
    disks->set([](Disks& all) { all.hanging.clear(); });
    EXPECT_TRUE(test::waitFor([&] { return changes == 1; }));
    EXPECT_EQ(names(), "6 2 ");
}

TEST_F(TrashListingTest, AsksWhatIsMountedInPlaceOfAVolumeThatHangs) {
    disks->set([](Disks& all) { all.hanging = {kTwo}; });
    list();
    EXPECT_EQ(names(), "1 two? ") << "it never told its name";
    EXPECT_EQ(listing.trashes().size(), 1u);
    disks->set([](Disks& all) { all.mounts[1].mountId = 3; });
    list();
    EXPECT_EQ(disks->timesAsked(kTwo), 2);
    disks->set([](Disks& all) {
        all.hanging.clear();
        all.mounts.erase(all.mounts.begin());
    });
    list();
    EXPECT_EQ(listing.volumes().size(), 1u);
    EXPECT_TRUE(test::waitFor([&] { return listing.trashesToErase().size() == 1; }));
}

TEST_F(TrashListingTest, RemembersAFailureThatStaysAndNoOther) {
    disks->set([](Disks& all) { all.error = {{kOne, ELOOP}, {kTwo, EIO}}; });
    list();
    EXPECT_EQ(leftOutVolumes(listing.volumes(), StringTable(QStringLiteral("en"))).size(), 2u);
    disks->set([](Disks& all) { all.error.clear(); });
    list();
    EXPECT_EQ(disks->timesAsked(kOne), 1);
    ASSERT_EQ(listing.trashesToErase().size(), 1u);
    EXPECT_EQ(listing.trashesToErase()[0].volumeURL, kTwo);
    disks->set([](Disks& all) { all.mounts[0].mountId = 3; });
    list();
    EXPECT_EQ(listing.trashesToErase().size(), 2u) << "it was another volume's failure";
}

TEST_F(TrashListingTest, KnowsNothingWhereNobodyCanSayWhatIsMounted) {
    const auto mounts = std::exchange(disks->mounts, {});
    list();
    EXPECT_FALSE(listing.knowsTheMounts());
    disks->set([&](Disks& all) { all.mounts = mounts; });
    list();
    disks->set([](Disks& all) { all.mounts.clear(); });
    list();
    EXPECT_TRUE(listing.knowsTheMounts());
    EXPECT_EQ(names(), "1? 1? ") << "the last answers stay";
}

TEST_F(TrashListingTest, AnswersACallByAListingThatBeganAfterIt) {
    disks->set([](Disks& all) { all.hanging = {kOne}; });
    int waited = 0;
    listing.refresh();
    ASSERT_TRUE(test::waitFor([&] { return disks->timesAsked(kOne) == 1; }));
    listing.refresh([&] { ++waited; });
    listing.refresh([&] { ++waited; });
    disks->set([](Disks& all) { all.hanging.clear(); });
    ASSERT_TRUE(test::waitFor([&] { return waited == 2; }));
    EXPECT_EQ(names(), "2 2 ");
}

}  // namespace
}  // namespace kestrin
