// SPDX-License-Identifier: GPL-3.0-or-later
// Parent and workers as real processes; the test speaks for the service.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <iterator>
#include <optional>
#include <sstream>
#include <utility>

#include "helper/Hardening.h"
#include "helper/HelperProtocol.h"
#include "helper/Parent.h"
#include "helper/WorkerProtocol.h"
#include "platform/items/SealedFile.h"
#include "platform/processes/FileRules.h"
#include "platform/processes/PacketSocket.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;

constexpr int kStatusOfService = 7;

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
            _exit(read(untilEnd.get(), &nothing, 1) == 0 ? kStatusOfService : 1);
        }
        keepCapabilitiesForFiles();
        _exit(runParent(std::move(ends->one), service));
    }
    ~ParentProcess() {
        if (m_process > 0) end();
    }
    int service() const { return m_service.get(); }
    /// Has the service end; answers the parent's exit status.
    int end() {
        m_service.reset();
        m_life.reset();
        return wait();
    }
    int wait() {
        int status = 0;
        EXPECT_EQ(waitpid(std::exchange(m_process, -1), &status, 0) > 0, WIFEXITED(status));
        return WEXITSTATUS(status);
    }
    /// The process ids of its children.
    std::vector<std::string> children() const {
        const std::string process = std::to_string(m_process);
        std::istringstream text(readFile("/proc/" + process + "/task/" + process + "/children"));
        return {std::istream_iterator<std::string>(text), {}};
    }

 private:
    UniqueFd m_service;
    UniqueFd m_life;
    pid_t m_process = -1;
};

/// What a worker told until it ended.
struct Told {
    std::optional<CommandAccepted> accepted;
    std::string refused;
    std::vector<std::string> paths;
    std::vector<std::uint64_t> toClear;
    std::vector<bool> unlocked;
    std::vector<LocksLost> lost;
    std::optional<CommandFinished> finished;
    int error = 0;

    void operator()(const CommandAccepted& message) { accepted = message; }
    void operator()(const CommandRefused& message) { refused = message.why; }
    void operator()(const EntriesErased& message) {
        for (const auto& entry : message.entries)
            paths.push_back(entry.path);
    }
    void operator()(const LocksToClear& message) { toClear.push_back(message.id); }
    void operator()(const LocksSettled&) {}
    void operator()(const ItemsUnlocked& message) { unlocked = message.isUnlocked; }
    void operator()(const LocksLost& message) { lost.push_back(message); }
    void operator()(const CommandFinished& message) { finished = message; }
};

Told readAll(WorkerMessages& messages) {
    Told told;
    while (told.error == 0) {
        pollfd readable{messages.socket(), POLLIN, 0};
        if (poll(&readable, 1, 30'000) != 1) return told;
        const auto message = messages.receive();
        if (message) {
            std::visit(told, *message);
        } else if (message.error().systemError != EAGAIN) {
            told.error = message.error().systemError;
        }
    }
    return told;
}

/// A trash of the test user on a volume of its own.
class AWorker : public ::testing::Test {
 protected:
    void SetUp() override {
        KESTRIN_REQUIRE_MOUNTS();
        m_scratch.emplace();
        m_volume.emplace(TestVolume::Kind::Ext4, *m_scratch / "volume", "TestDisk", 64);
        ASSERT_TRUE(m_volume->isMounted());
        const std::string trash = m_volume->mountPoint() + "/.Trash-" + std::to_string(kTestUser);
        m_files = trash + "/files";
        for (const char* folder : {"/files", "/info"})
            makeFolder(trash + folder);
    }
    WorkerMessages start(ParentProcess& parent, WorkerKind kind, std::string_view list,
                         UnlockedItems unlocked = {}) {
        auto sockets = workerSockets();
        const auto file = sealedFile(list);
        const StartWorker request{++m_number, kTestUser, kind};
        EXPECT_FALSE(
            sendStartWorker(parent.service(), request, file->get(), sockets->worker.get()));
        return {kind, std::move(sockets->service), std::move(unlocked)};
    }
    /// A locked folder with more in it than a worker tells without being heard.
    std::string lockedFolder() {
        const std::string folder = m_files + "/locked";
        for (int number = 0; number < 4000; ++number)
            writeFile(folder + "/" + std::string(240, 'n') + std::to_string(number), "");
        makeImmutable(folder);
        return folder;
    }
    static bool isLocked(const std::string& path) {
        return lockStateAt(AT_FDCWD, path.c_str()) == LockState::Locked;
    }
    static bool isUnlocked(const std::string& path) {
        return lockStateAt(AT_FDCWD, path.c_str()) == LockState::Unlocked;
    }

    std::optional<ScratchFolder> m_scratch;
    std::optional<TestVolume> m_volume;
    std::string m_files;
    std::uint64_t m_number = 0;
};

TEST_F(AWorker, CarriesOutOneCommandAndTellsWhatItDoes) {
    ParentProcess parent;
    const std::string file = m_files + "/file", kept = m_files + "/kept";
    writeFile(file, "12345");
    writeFile(kept);
    ASSERT_TRUE(makeImmutable(file) && makeImmutable(kept));
    const EraseItems items{
        .unlockItems = {file}, .permissionsItems = {"/etc/passwd"}, .erasedCount = 3};
    WorkerMessages erase = start(parent, WorkerKind::Erase, items.toXml());
    const Told told = readAll(erase);
    EXPECT_EQ(told.accepted->itemCount, 2u);
    EXPECT_EQ(told.accepted->erasedCount, 3u);
    EXPECT_EQ(told.paths, std::vector{file});
    EXPECT_EQ(told.toClear.size(), 1u);
    EXPECT_EQ(told.finished->nonErasedCount, 1u);
    EXPECT_TRUE(erase.outstanding().empty() && !exists(file));
    WorkerMessages refused = start(parent, WorkerKind::Erase, "<plist><nothing/>\n");
    EXPECT_NE(readAll(refused).refused, "");
    WorkerMessages unlock =
        start(parent, WorkerKind::Unlock, unlockList({kept, "%", "/etc/passwd"}));
    EXPECT_EQ(readAll(unlock).unlocked, (std::vector{true, false, false}));
    EXPECT_TRUE(isUnlocked(kept) && unlock.outstanding().empty());
    WorkerMessages garbled = start(parent, WorkerKind::PutBack, "no list");
    EXPECT_FALSE(readAll(garbled).finished);
    EXPECT_EQ(parent.end(), kStatusOfService);
}

TEST_F(AWorker, ThatIsKilledLeavesNothingUnlocked) {
    ParentProcess parent;
    const std::string folder = lockedFolder();
    const EraseItems items{.unlockItems = {folder}};
    WorkerMessages erase = start(parent, WorkerKind::Erase, items.toXml());
    ASSERT_TRUE(waitFor([&] { return isUnlocked(folder); }));
    EXPECT_FALSE(sendKillWorker(parent.service(), m_number));
    const Told told = readAll(erase);
    EXPECT_EQ(told.error, ECONNRESET);
    EXPECT_FALSE(told.finished);
    ASSERT_EQ(erase.outstanding().size(), 1u);
    EXPECT_EQ(erase.outstanding().begin()->second.path, folder);
    EXPECT_TRUE(isUnlocked(folder));
    UnlockedItems lost = erase.outstanding();
    UnlockedItem gone = lost.begin()->second;
    gone.handle.bytes.back() = static_cast<char>(gone.handle.bytes.back() + 1);
    lost.emplace(99, gone);
    gone.handle.mountId = 1 << 30;
    lost.emplace(100, gone);
    WorkerMessages restorer = start(parent, WorkerKind::PutBack, putBackList(lost), lost);
    const Told last = readAll(restorer);
    ASSERT_EQ(last.lost.size(), 1u) << "an item that exists no more needs nothing";
    EXPECT_EQ(last.lost[0].systemError, ENODEV);
    ASSERT_EQ(restorer.outstanding().size(), 1u);
    EXPECT_EQ(restorer.outstanding().begin()->first, 100u);
    EXPECT_TRUE(last.finished && isLocked(folder));
}

TEST_F(AWorker, PutsEverythingBackWhenItIsStoppedOrTheServiceEnds) {
    const std::string folder = lockedFolder();
    const std::string list = EraseItems{.unlockItems = {folder}}.toXml();
    {
        ParentProcess parent;
        WorkerMessages erase = start(parent, WorkerKind::Erase, list);
        ASSERT_TRUE(waitFor([&] { return isUnlocked(folder); }));
        EXPECT_FALSE(sendStop(erase.socket()));
        const Told told = readAll(erase);
        EXPECT_EQ(told.finished->nonErasedCount, 1u);
        EXPECT_LT(told.paths.size(), 4000u);
        EXPECT_TRUE(erase.outstanding().empty() && isLocked(folder));
    }
    m_number = 0;
    ParentProcess parent;
    {
        WorkerMessages erase = start(parent, WorkerKind::Erase, list);
        ASSERT_TRUE(waitFor([&] { return isUnlocked(folder); }));
    }
    EXPECT_EQ(parent.end(), kStatusOfService);
    EXPECT_TRUE(isLocked(folder));
}

TEST_F(AWorker, HasNothingOfTheOthers) {
    ParentProcess parent;
    const std::string folder = lockedFolder();
    const std::string list = EraseItems{.unlockItems = {folder}}.toXml();
    const WorkerMessages one = start(parent, WorkerKind::Erase, list);
    ASSERT_TRUE(waitFor([&] { return isUnlocked(folder); }));
    const WorkerMessages other = start(parent, WorkerKind::Erase, list);
    const auto isReady = [](const std::string& process) {
        return getpgid(std::stoi(process)) == std::stoi(process);
    };
    ASSERT_TRUE(waitFor([&] {
        const auto children = parent.children();
        return children.size() == 3 && isReady(children[1]) && isReady(children[2]);
    }));
    const AsRoot root;
    for (const std::string& process : {parent.children()[1], parent.children()[2]}) {
        int sockets = 0;
        std::error_code closed;
        for (const auto& fd : std::filesystem::directory_iterator("/proc/" + process + "/fd"))
            // Its threads close what they have read meanwhile.
            sockets += std::filesystem::read_symlink(fd, closed).string().starts_with("socket:");
        EXPECT_EQ(sockets, 1) << process;
    }
}

TEST_F(AWorker, IsNotStartedForAServiceThatAsksForAnythingOdd) {
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

TEST(WorkerMessages, CarryPathsOfAnyLength) {
    auto sockets = workerSockets();
    const std::string longest(kLongestToldPath, 'n');
    EntriesErased told{{{"/a", 1}, {longest + "cut", 2}, {"/b", 3}}};
    const pid_t worker = fork();  // which waits for the reader
    if (worker == 0) {
        sockets->service.reset();
        const bool isTold = !sendMessage(sockets->worker.get(), CommandAccepted{}) &&
                            !sendMessage(sockets->worker.get(), told);
        _exit(isTold ? 0 : 1);
    }
    sockets->worker.reset();
    WorkerMessages messages(WorkerKind::Erase, std::move(sockets->service));
    const Told heard = readAll(messages);
    EXPECT_EQ(heard.paths, (std::vector<std::string>{"/a", longest, "/b"}));
    int status = 0;
    EXPECT_EQ(waitpid(worker, &status, 0), worker);
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace kestrin
