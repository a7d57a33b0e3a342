// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/CommandRun.h"

#include <utility>
#include <variant>

#include "base/FileUrl.h"
#include "base/SystemLog.h"
#include "helper/HelperProtocol.h"
#include "helper/Patience.h"
#include "helper/ProgressInterface.h"
#include "platform/items/SealedFile.h"

namespace kestrin {
namespace {

/// The most bytes of paths that one message tells at the end, and the most paths that are logged.
constexpr std::size_t kMaximumTold = std::size_t{1} << 20;
constexpr std::size_t kMaximumLogged = 20;

}  // namespace

CommandRun::CommandRun(const QDBusConnection& bus, Workers& workers, Command command,
                       std::function<void()> over)
    : m_bus(bus),
      m_workers(workers),
      m_command(std::move(command)),
      m_caller(m_command.message.service()),
      m_over(std::move(over)) {}

CommandRun::~CommandRun() = default;

MaybeError CommandRun::begin(int list) {
    auto worker = m_workers.start(m_command.kind, m_command.user, list,
                                  {.told = [this](const WorkerMessage& message) { told(message); },
                                   .ended = [this](WorkerConnection::End end) { ended(end); }});
    if (!worker) return worker.error();
    m_worker = *worker;
    return std::nullopt;
}

void CommandRun::told(const WorkerMessage& message) {
    if (const auto* const command = std::get_if<CommandAccepted>(&message)) {
        accept(*command);
    } else if (const auto* const refused = std::get_if<CommandRefused>(&message)) {
        m_refusal = refused->why;
    } else if (const auto* const erased = std::get_if<EntriesErased>(&message)) {
        // Whoever holds the socket of a worker that is killed goes on telling; nothing of that is
        // kept.
        if (!m_progress->isFlooded()) m_progress->add(*erased);
        // A worker that waits does not end: once it is stopped it is heard as far as memory goes.
        m_worker->setPaused(m_isStopped ? m_progress->isFlooded() : !m_progress->hasRoom());
    } else if (const auto* const unlocked = std::get_if<ItemsUnlocked>(&message)) {
        m_isUnlocked = unlocked->isUnlocked;
    } else if (const auto* const finished = std::get_if<CommandFinished>(&message)) {
        m_finished = *finished;
    }
}

void CommandRun::accept(const CommandAccepted& command) {
    qCInfo(lcHelper, "%s of user %u accepted: %llu items", m_command.name.c_str(), m_command.user,
           static_cast<unsigned long long>(command.itemCount));
    m_erasedBefore = command.erasedCount;
    m_progress = std::make_unique<ProgressChannel>(
        m_bus, m_caller, ProgressChannel::Totals{command.erasedCount, command.erasedSize},
        ProgressChannel::Handlers{.hasRoom =
                                      [this] {
                                          if (m_worker) m_worker->setPaused(false);
                                      },
                                  .lost = [this] { stop(); }});
    if (m_hasCallerLeft) m_progress->giveUp();
    if (m_isHurried) m_progress->hurry();
    answer(m_command.message.createReply());
}

void CommandRun::stop() {
    m_isStopped = true;
    // What puts attributes back is not stopped: it has its own time.
    if (m_worker && !m_end) m_worker->stop();
}

bool CommandRun::answersStop(const QDBusMessage& call) {
    if (m_isAnswered || m_stopCall) return false;
    m_stopCall = call;
    return true;
}

void CommandRun::hurry() {
    m_isHurried = true;
    m_isCutOff = !m_isStopped && !m_end;
    stop();
    if (m_progress) m_progress->hurry();
}

void CommandRun::callerLeft() {
    m_hasCallerLeft = true;
    stop();
    if (m_progress) m_progress->giveUp();
}

void CommandRun::ended(WorkerConnection::End end) {
    m_end = end;
    UnlockedItems unlocked = m_worker->outstanding();
    m_worker = nullptr;
    if (unlocked.empty()) return tellEnd();
    putBack(std::move(unlocked));
}

void CommandRun::putBack(UnlockedItems unlocked) {
    const auto failed = [&](const HostError& error) {
        qCWarning(lcHelper, "Nothing is locked again: %s", error.localizedDescription().c_str());
        m_lost = std::move(unlocked);
        tellEnd();
    };
    const auto list = sealedFile(putBackList(unlocked));
    if (!list) return failed(list.error());
    auto worker = m_workers.start(WorkerKind::PutBack, m_command.user, list->get(),
                                  {.told = [](const WorkerMessage&) {},
                                   .ended =
                                       [this](WorkerConnection::End) {
                                           m_lost = m_worker->outstanding();
                                           m_worker = nullptr;
                                           tellEnd();
                                       }},
                                  unlocked);
    if (!worker) return failed(worker.error());
    m_worker = *worker;
    m_worker->killAfter(kPutBackPatience);
}

void CommandRun::tellEnd() {
    logEnd();
    if (!m_lost.empty() && !m_hasCallerLeft) nameLost();
    if (!m_progress) {
        answer(lastReply());
        return m_over();
    }
    ProgressChannel::End end;
    if (m_finished && (!m_isCutOff || m_finished->nonErasedCount == 0)) {
        end.nonErasedCount = m_finished->nonErasedCount;
    }
    end.mayGoOn = m_end == WorkerConnection::End::LeftBehind;
    m_progress->finish(std::move(end), m_over);
}

/// To a call that is answered at its end: of unlockItems, and one whose list was not accepted.
QDBusMessage CommandRun::lastReply() const {
    const QDBusMessage& call = m_command.message;
    const auto refusal = [&call](const char* error, const char* reason) {
        return call.createErrorReply(QString::fromLatin1(error), QString::fromLatin1(reason));
    };
    const auto count = static_cast<std::size_t>(m_command.unlockItems.size());
    if (!m_finished || m_isUnlocked.size() != count) {
        if (m_isStopped) return refusal(HelperErrorName::kCancelled, "stopped before its end");
        if (!m_refusal.empty()) return refusal(HelperErrorName::kInvalid, m_refusal.c_str());
        return refusal(HelperErrorName::kInterrupted, "the command was interrupted");
    }
    QStringList unlocked;
    for (std::size_t index = 0; index < count; ++index) {
        if (m_isUnlocked[index]) unlocked << m_command.unlockItems[static_cast<qsizetype>(index)];
    }
    return call.createReply(unlocked);
}

/// The bus library keeps a call, with all it holds, as long as anybody may answer it.
void CommandRun::answer(const QDBusMessage& reply) {
    m_bus.send(reply);
    m_command.message = {};
    m_isAnswered = true;
    if (m_stopCall) m_bus.send(m_stopCall->createReply());
    m_stopCall.reset();
}

void CommandRun::logEnd() const {
    static constexpr const char* kEnds[] = {"over", "over, its worker died",
                                            "over, its worker hangs"};
    const std::uint64_t erased = m_progress ? m_progress->totals().count - m_erasedBefore : 0;
    const auto failures = m_finished ? m_finished->failures : 0;
    qCInfo(lcHelper, "Command %s of user %u %s: %llu entries erased, %llu failures%s",
           m_command.name.c_str(), m_command.user, kEnds[static_cast<int>(*m_end)],
           static_cast<unsigned long long>(erased), static_cast<unsigned long long>(failures),
           m_isStopped ? ", stopped" : "");
    std::size_t logged = 0;
    for (const auto& [id, item] : m_lost) {
        if (logged++ == kMaximumLogged) break;
        qCWarning(lcHelper, "%s could not be locked again", percentEncode(item.path, true).c_str());
    }
    if (!m_lost.empty()) qCWarning(lcHelper, "%zu items could not be locked again", m_lost.size());
}

/// In several messages where they are many, since the bus takes none above 32 MB.
void CommandRun::nameLost() {
    QStringList names;
    std::size_t bytes = 0;
    const auto send = [&] {
        QDBusMessage call = QDBusMessage::createMethodCall(
            m_caller, QString::fromLatin1(kProgressPath),
            QString::fromLatin1(
                ComQuorvaneKestrin3QVHelperToolProtocolProgressInterface::staticInterfaceName()),
            QStringLiteral("attributesNotRestored"));
        call << std::exchange(names, {});
        m_bus.send(call);
        bytes = 0;
    };
    for (const auto& [id, item] : m_lost) {
        const std::string name = percentEncode(item.path, true);
        if (bytes + name.size() > kMaximumTold) send();
        bytes += name.size();
        names << QString::fromStdString(name);
    }
    send();
}

}  // namespace kestrin
