// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/TrashCount.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <future>
#include <new>

#include "base/OperationQueue.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using State = TrashCount::State;
const std::vector<FileUrl> kNone;

TEST(TrashCount, SumsUpTrashesAndTellsThoseItCannotRead) {
    const test::ScratchFolder scratch;
    test::writeFile(scratch / "one/folder/file", "1234");
    test::writeFile(scratch / "two/.hidden", "12");
    test::makeFolder(scratch / "closed");
    ASSERT_EQ(::chmod((scratch / "closed").c_str(), 0), 0);
    std::vector<FileUrl> trashes;
    for (const char* name : {"one", "absent", "closed", "two"})
        trashes.push_back(FileUrl::fromPath(scratch / name));
    EXPECT_EQ(*trashHoldsEntries(trashes[3]), true);
    EXPECT_EQ(*trashHoldsEntries(trashes[1]), false);
    EXPECT_FALSE(trashHoldsEntries(trashes[2]));

    OperationQueue queue("count");
    const auto count = TrashCount::start(queue, trashes, countEntries, {});
    EXPECT_EQ(count->state(), State::Counting);
    ASSERT_TRUE(test::waitFor([&] { return count->state() == State::Finished; }));
    const TrashContents& contents = count->contents();
    EXPECT_EQ(contents.figures, (TrashFigures{.size = 6, .count = 3}));
    ASSERT_EQ(contents.itemsToErase->size(), 2u);
    EXPECT_EQ(contents.itemsToErase->back().url(), trashes[3].appending(".hidden"));
    ASSERT_EQ(contents.unreadable.size(), 1u);
    EXPECT_EQ(contents.unreadable[0].trash, trashes[2]);
    EXPECT_EQ(countFigures(trashes).figures, contents.figures);
}

TEST(TrashCount, IsToldOnceAndNeverAfterAStop) {
    std::promise<void> volumeAnswers;
    OperationQueue queue("count");
    int told = 0;
    const auto tell = [&](const TrashCount&) { ++told; };
    const auto stopped = TrashCount::start(
        queue, kNone,
        [gate = volumeAnswers.get_future().share()](auto&, auto&) {
            gate.wait();
            return TrashContents();
        },
        tell);
    stopped->stop();
    volumeAnswers.set_value();
    queue.waitUntilAllOperationsAreFinished();
    // Nobody keeps this one, and its counter fails.
    TrashCount::start(
        queue, {FileUrl::fromPath("/trash")},
        [](auto&, auto&) -> TrashContents { throw std::bad_alloc(); },
        [&](const TrashCount& count) { told += count.contents().unreadable.size() == 1 ? 10 : 0; });
    EXPECT_TRUE(test::waitFor([&] { return told != 0; }));
    EXPECT_EQ(told, 10) << "an erase would take the figures of a count that was called off";
    EXPECT_EQ(stopped->state(), State::Stopped);
}

}  // namespace
}  // namespace kestrin
