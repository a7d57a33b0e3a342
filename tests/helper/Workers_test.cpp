// SPDX-License-Identifier: GPL-3.0-or-later
// Parent and workers as real processes; the test speaks for the service.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <functional>
#include <utility>

#include "helper/Hardening.h"
#include "helper/Parent.h"
#include "helper/WorkerProtocol.h"
#include "platform/items/SealedFile.h"
#include "platform/processes/FileRules.h"
#include "platform/processes/PacketSocket.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;

/// A parent and its service, which lives until it is told to end.
class ParentProcess {
 public:
    ParentProcess() {
        auto ends = packetSockets();
        int life[2];
        EXPECT_EQ(pipe2(life, O_CLOEXEC), 0);
        m_service = std::move(ends->other);
        m_life.reset(life[1]);
        UniqueFd untilEnd(life[0]);
        const AsRoot root;
        m_process = fork();
        if (m_process != 0) return;
        if (setresuid(0, 0, 0) != 0) _exit(1);
        m_service.reset();
        m_life.reset();
        const pid_t service = fork();
        if (service == 0) {
            char nothing = 0;
            _exit(static_cast<int>(read(untilEnd.get(), &nothing, 1)));
        }
        keepCapabilitiesForFiles();
        _exit(runParent(std::move(ends->one), service));
    }
    ~ParentProcess() {
        m_service.reset();
        m_life.reset();
        if (m_process > 0) wait();
    }
    int service() const { return m_service.get(); }
    int wait() {
        int status = 0;
        EXPECT_EQ(waitpid(std::exchange(m_process, -1), &status, 0) > 0, WIFEXITED(status));
        return WEXITSTATUS(status);
    }

 private:
    UniqueFd m_service;
    UniqueFd m_life;
    pid_t m_process = -1;
};

/// What a worker told until it ended.
struct Told {
    std::vector<LocksLost> lost;
    bool isFinished = false;
    int error = 0;
};

Told readAll(WorkerMessages& messages) {
    Told told;
    while (told.error == 0) {
        pollfd readable{messages.socket(), POLLIN, 0};
        if (poll(&readable, 1, 30'000) != 1) return told;
        const auto message = messages.receive();
        if (!message) {
            if (message.error().systemError != EAGAIN) told.error = message.error().systemError;
            continue;
        }
        if (const auto* const lost = std::get_if<LocksLost>(&*message)) told.lost.push_back(*lost);
        told.isFinished |= std::holds_alternative<CommandFinished>(*message);
    }
    return told;
}

TEST(AWorker, PutsBackWhatIsThereAndTellsWhatItCannot) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Ext4, scratch / "volume", "TestDisk", 64);
    const std::string path = volume.mountPoint() + "/folder";
    makeFolder(path);
    const UniqueFd folder(open(path.c_str(), O_RDONLY));
    UnlockedItem item{handleOf(folder.get()), identityAt(AT_FDCWD, path.c_str()), path,
                      FS_IMMUTABLE_FL};
    UnlockedItems lost{{7, item}};
    item.handle.bytes.back() = static_cast<char>(item.handle.bytes.back() + 1);
    lost.emplace(99, item);
    item.handle.mountId = 1 << 30;
    lost.emplace(100, item);
    ParentProcess parent;
    auto sockets = workerSockets();
    const auto list = sealedFile(putBackList(lost));
    const StartWorker request{1, kTestUser, WorkerKind::PutBack};
    EXPECT_FALSE(sendStartWorker(parent.service(), request, list->get(), sockets->worker.get()));
    sockets->worker.reset();
    WorkerMessages restorer(WorkerKind::PutBack, std::move(sockets->service), lost);
    const Told last = readAll(restorer);
    ASSERT_EQ(last.lost.size(), 1u) << "an item that exists no more needs nothing";
    EXPECT_EQ(last.lost[0].systemError, ENODEV);
    ASSERT_EQ(restorer.outstanding().size(), 1u);
    EXPECT_EQ(restorer.outstanding().begin()->first, 100u);
    EXPECT_TRUE(last.isFinished);
    EXPECT_EQ(lockStateAt(AT_FDCWD, path.c_str()), LockState::Locked);
}

TEST(AWorker, IsNotStartedForAServiceThatAsksForAnythingOdd) {
    const auto file = sealedFile("");
    const auto sockets = workerSockets();
    const std::array two{file->get(), sockets->worker.get()};
    const std::array three{two[0], two[1], two[1]};
    const StartWorker first{1, kTestUser, WorkerKind::PutBack};
    const auto start = [&](int service, StartWorker request) {
        return sendStartWorker(service, request, two[0], two[1]);
    };
    const std::vector<std::function<void(int)>> oddities{
        [&](int service) { sendPacket(service, "x"); },
        [&](int service) { sendPacket(service, std::string(200, 'x'), two); },
        [&](int service) { sendPacket(service, std::string(24, '\0'), three); },
        [&](int service) {
            start(service, {2, kTestUser, static_cast<WorkerKind>(3)});
        },
        [&](int service) { start(service, first), start(service, first); },
        [&](int service) { sendKillWorker(service, 5); },
    };
    for (std::size_t index = 0; index < oddities.size(); ++index) {
        ParentProcess parent;
        oddities[index](parent.service());
        EXPECT_EQ(parent.wait(), 1) << index;
    }
}

TEST(AService, HasNothingOfRootButTheUserId) {
    KESTRIN_REQUIRE_ROOT();
    const ScratchFolder scratch;
    const std::string file = scratch / "file", made = scratch / "made";
    writeFile(file);
    ASSERT_EQ(runAsRoot("chown root " + file + " " + scratch.path()), 0);
    const AsRoot root;
    const pid_t service = fork();
    if (service == 0) {
        if (setresuid(0, 0, 0) != 0) _exit(1);
        giveUpWhatNobodyNeeds();
        giveUpAllCapabilities();
        giveUpFiles();
        const auto isClosed = [](const std::string& path, int flags) {
            return open(path.c_str(), flags | O_CLOEXEC, 0600) < 0 && errno == EACCES;
        };
        const std::string status = readFile("/proc/self/status");
        int found = 0;
        for (const char* set : {"CapPrm", "CapEff", "CapInh", "CapBnd", "CapAmb"})
            found += status.find(std::string(set) + ":\t0000000000000000\n") != status.npos;
        const bool hasRules = landlockVersion() == 0 ||
                              (isClosed(file, O_RDONLY) && isClosed(file, O_WRONLY) &&
                               isClosed(made, O_WRONLY | O_CREAT) && unlink(file.c_str()) != 0);
        _exit(found == 5 && hasRules && sealedFile("bytes") ? 0 : 2);
    }
    int status = 0;
    EXPECT_EQ(waitpid(service, &status, 0), service);
    EXPECT_EQ(status, 0);
}

/// A worker that has been taken over.
TEST(WorkerMessages, RefuseWhatSuchAWorkerDoesNotTell) {
    const auto error = [](WorkerKind kind, const std::vector<WorkerMessage>& told,
                          std::string_view packet = {}) {
        auto sockets = workerSockets();
        for (const WorkerMessage& message : told)
            EXPECT_FALSE(sendMessage(sockets->worker.get(), message));
        if (!packet.empty()) sendPacket(sockets->worker.get(), packet);
        sendStop(sockets->service.get());  // what the worker never reads takes nothing away
        WorkerMessages messages(kind, std::move(sockets->service));
        sockets->worker.reset();
        return readAll(messages).error;
    };
    const WorkerMessage accepted = CommandAccepted{};
    const WorkerMessage clear = LocksToClear{1, {{}, {}, "/path", 16}};
    const WorkerMessage entry = EntriesErased{{{"/path", 1}}};
    const WorkerMessage finished = CommandFinished{};
    using enum WorkerKind;
    EXPECT_EQ(error(Erase, {accepted, clear, entry, LocksSettled{{1}}, finished}), ECONNRESET);
    EXPECT_EQ(error(Unlock, {clear, ItemsUnlocked{{true, false}}, finished}), ECONNRESET);
    EXPECT_EQ(error(PutBack, {LocksLost{1, EIO}, finished}), ECONNRESET);
    for (const auto& odd : std::vector<std::vector<WorkerMessage>>{
             {entry},
             {clear},
             {finished},
             {accepted, accepted},
             {accepted, CommandRefused{}},
             {CommandRefused{}, accepted},
             {accepted, clear, clear},
             {accepted, LocksSettled{{1}}},
             {accepted, ItemsUnlocked{{true}}},
             {accepted, LocksLost{}},
             {accepted, finished, entry},
             {accepted, EntriesErased{{{"", 1}}}},
             {accepted, LocksToClear{0, {}}},
             {accepted, LocksToClear{1, {{}, {}, std::string("/\0", 2), 16}}},
             {accepted, LocksToClear{1, {{0, 0, std::string(129, 'h')}, {}, "", 16}}}}) {
        EXPECT_EQ(error(Erase, odd), EPROTO) << ::testing::PrintToString(odd.back().index());
    }
    EXPECT_EQ(error(Unlock, {entry}), EPROTO);
    EXPECT_EQ(error(PutBack, {clear}), EPROTO);
    for (const std::string packet : {"x", "KWA1", "xxxxxxxx"})
        EXPECT_EQ(error(Erase, {accepted}, packet), EPROTO);

    // What it unlocks is put back all the same, as far as the memory for that goes.
    auto sockets = workerSockets();
    WorkerMessages messages(Erase, std::move(sockets->service));
    const auto tell = [&](const WorkerMessage& message) {
        sendMessage(sockets->worker.get(), message);
        return messages.receive().hasValue();
    };
    EXPECT_TRUE(tell(accepted) && tell(clear) && !tell(clear) && !tell(entry));
    EXPECT_EQ(messages.outstanding().size(), 1u);
    for (std::uint64_t id = 2; id < 10'000; ++id)
        EXPECT_FALSE(tell(LocksToClear{id, {{}, {}, std::string(4000, 'n'), 16}}));
    EXPECT_FALSE(tell(LocksSettled{{1}}));
    EXPECT_EQ(messages.outstanding().size(), 1 + kMaximumUnlockedBytes / 4200);
}

}  // namespace
}  // namespace kestrin
