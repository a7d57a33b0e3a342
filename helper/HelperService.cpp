// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/HelperService.h"

#include <QCoreApplication>
#include <algorithm>
#include <atomic>
#include <utility>
#include <variant>
#include <vector>

#include "base/FileUrl.h"
#include "base/MainThread.h"
#include "base/SystemLog.h"
#include "helper/EraseCommand.h"
#include "helper/HelperProtocol.h"
#include "helper/ProgressChannel.h"
#include "helper/QVCommonHelper.h"
#include "platform/items/SealedFile.h"

namespace kestrin {
namespace {

constexpr std::size_t kMaximumRequests = 64;
constexpr std::size_t kMaximumRequestsOfUser = 8;
/// The most commands of callers whose user the bus has not told yet.
constexpr std::size_t kMaximumUnknown = 256;
/// The most bytes of all calls that wait for their reply. The bus library keeps their messages, and
/// reads nothing more from the bus, no answer of the policy service either, while it keeps 63 MB.
constexpr std::size_t kMaximumCallBytes = std::size_t{32} << 20;
/// The most bytes of all lists that were read and whose command is not over.
constexpr std::size_t kMaximumListBytes = kMaximumList;

QString latin1(const char* text) {
    return QString::fromLatin1(text);
}

/// How many bytes the texts take in a message at most.
std::size_t bytesOf(const QStringList& texts) {
    constexpr std::size_t kBesidesText = 8;  // the length, a NUL, and what aligns the next
    std::size_t bytes = 0;
    for (const QString& text : texts)
        bytes += static_cast<std::size_t>(text.toUtf8().size()) + kBesidesText;
    return bytes;
}

}  // namespace

/// One command from its call to its end. Main thread, but for what the queues are handed.
struct HelperService::Request {
    QString caller;
    QDBusMessage message;
    std::string command;  ///< as the interface description names it
    std::variant<QByteArray, QDBusUnixFileDescriptor, QStringList> content;
    std::optional<AuthorizationForm> form;
    std::size_t callBytes = 0;          ///< of content that came in the call itself
    std::size_t listBytes = 0;          ///< of the list that was read
    std::optional<std::uint32_t> user;  ///< as the bus knows the caller; none before it was asked
    std::unique_ptr<CallerCheck> check;
    std::shared_ptr<ProgressChannel> progress;
    EraseItems items;
    std::atomic<bool> stop = false;
    bool isAccepted = false;
    std::atomic<bool> hasBegun = false;  ///< by one of the queues
    bool hasCallerLeft = false;

    /// Errors: of sizeOfSealedFile.
    Result<std::uint64_t> sizeOfList() const;
    /// Errors: of reading. Thread: any.
    Result<EraseItems> readItems() const;
};

Result<std::uint64_t> HelperService::Request::sizeOfList() const {
    const auto* const file = std::get_if<QDBusUnixFileDescriptor>(&content);
    if (!file) return std::uint64_t{callBytes};
    return sizeOfSealedFile(file->fileDescriptor(), kMaximumList);
}

Result<EraseItems> HelperService::Request::readItems() const {
    if (const auto* const bytes = std::get_if<QByteArray>(&content)) {
        return EraseItems::fromXml({bytes->constData(), static_cast<std::size_t>(bytes->size())});
    }
    const auto& file = std::get<QDBusUnixFileDescriptor>(content);
    const auto xml = readSealedFile(file.fileDescriptor(), kMaximumList);
    if (!xml) return xml.error();
    return EraseItems::fromXml(*xml);
}

HelperService::HelperService(const QDBusConnection& bus, std::chrono::seconds idleTime)
    : m_bus(bus) {
    m_callers.setConnection(m_bus);
    m_callers.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    QObject::connect(&m_callers, &QDBusServiceWatcher::serviceUnregistered, this,
                     &HelperService::callerLeft);
    m_idle.setSingleShot(true);
    m_idle.setInterval(idleTime);
    QObject::connect(&m_idle, &QTimer::timeout, this, &HelperService::leaveWhenIdle);
}

HelperService::~HelperService() {
    for (const auto& [caller, request] : m_requests) {
        request->stop = true;
        if (request->progress) request->progress->giveUp();
    }
}

bool HelperService::start() {
    m_idle.start();
    return m_bus.registerService(latin1(kHelperService));
}

void HelperService::shutDown() {
    m_isEnding = true;
    const auto requests = m_requests;  // refusing takes them out
    for (const auto& [caller, request] : requests) {
        stop(request);
        if (!request->check) continue;
        request->check.reset();
        refuse(request, HelperErrorName::kBusy, QStringLiteral("the helper is ending"));
    }
    if (m_requests.empty()) QCoreApplication::quit();
}

QString HelperService::getVersion() {
    m_idle.start();
    return latin1(kHelperVersion);
}

void HelperService::erase(const QByteArray& authorization, const QByteArray& itemsDictionary) {
    const auto request = std::make_shared<Request>();
    request->command = "erase";
    request->callBytes = static_cast<std::size_t>(itemsDictionary.size());
    request->content = itemsDictionary;
    admit(request, &authorization);
}

void HelperService::eraseFromFile(const QByteArray& authorization,
                                  const QDBusUnixFileDescriptor& itemsDictionary) {
    const auto request = std::make_shared<Request>();
    request->command = "eraseFromFile";
    request->content = itemsDictionary;
    admit(request, &authorization);
}

QStringList HelperService::unlockItems(const QStringList& items) {
    const auto request = std::make_shared<Request>();
    request->command = "unlockItems";
    request->callBytes = bytesOf(items);
    request->content = items;
    admit(request, nullptr);
    return {};
}

void HelperService::setStoppedByUser(bool stopped) {
    m_idle.start();
    const auto found = m_requests.find(message().service());
    if (stopped && found != m_requests.end()) stop(found->second);
}

/// What still waits for its turn need not wait, since it only looks at what is there.
void HelperService::stop(const RequestPtr& request) {
    if (request->stop.exchange(true) || !request->isAccepted) return;
    m_reader.enqueue([this, request] { carryOut(request); });
}

/// The first step: the form of the command. Nothing of a list is looked at yet.
void HelperService::admit(const RequestPtr& request, const QByteArray* authorization) {
    m_idle.start();
    // Such calls cost their sender nothing, and come faster than they can be checked.
    if (!message().isReplyRequired()) return;
    setDelayedReply(true);
    request->message = message();
    request->caller = message().service();
    if (authorization) {
        request->form = AuthorizationForm::fromBytes(
            {authorization->constData(), static_cast<std::size_t>(authorization->size())});
        if (!request->form) {
            return refuse(request, HelperErrorName::kInvalid,
                          QStringLiteral("no 32 bytes that name the caller"));
        }
    }
    if (request->callBytes > kMaximumInlineList) {
        return refuse(request, HelperErrorName::kInvalid, QStringLiteral("too long a list"));
    }
    if (!hasRoomFor(*request)) {
        return refuse(request, HelperErrorName::kBusy, QStringLiteral("too many commands"));
    }
    m_requests.emplace(request->caller, request);
    check(request);
}

void HelperService::check(const RequestPtr& request) {
    // Watched before the bus is asked: a caller that left before is not known to the bus any more.
    m_callers.addWatchedService(request->caller);
    const auto right = QVCommonHelper::authorizationRightForCommand(request->command);
    request->check = std::make_unique<CallerCheck>(
        m_bus,
        CallerCheck::Question{request->caller, request->form, std::string(right),
                              request->message.isInteractiveAuthorizationAllowed()},
        CallerCheck::Handlers{
            .identified =
                [this, caller = request->caller](std::uint32_t user) {
                    const auto found = m_requests.find(caller);
                    return found != m_requests.end() && identify(*found->second, user);
                },
            .answered =
                [this, caller = request->caller](const CallerCheck::Answer& answer) {
                    const auto found = m_requests.find(caller);
                    if (found != m_requests.end()) checked(RequestPtr(found->second), answer);
                }});
}

/// Whether there is room for one more command, whoever the caller is.
bool HelperService::hasRoomFor(const Request& request) const {
    if (m_isEnding || m_requests.contains(request.caller)) return false;
    std::size_t unknown = 0;
    std::size_t bytes = request.callBytes;
    for (const auto& [caller, other] : m_requests) {
        unknown += other->user ? 0 : 1;
        bytes += other->callBytes;
    }
    return unknown < kMaximumUnknown && bytes <= kMaximumCallBytes;
}

/// Takes down who the caller is. False when there is no room for one more command of this user.
bool HelperService::identify(Request& request, std::uint32_t user) const {
    std::size_t ofAll = 0;
    std::size_t ofUser = 0;
    for (const auto& [caller, other] : m_requests) {
        ofAll += other->user ? 1 : 0;
        ofUser += other->user == user ? 1 : 0;
    }
    if (ofAll >= kMaximumRequests || ofUser >= kMaximumRequestsOfUser) return false;
    request.user = user;
    return true;
}

void HelperService::checked(const RequestPtr& request, const CallerCheck::Answer& answer) {
    // The check is on the stack, and may be destroyed only when it has returned.
    request->check.release()->deleteLater();
    if (answer.error) {
        qCWarning(lcHelper, "%s of user %u refused: %s", request->command.c_str(), answer.userId,
                  qPrintable(answer.reason));
        return refuse(request, answer.error, answer.reason);
    }
    if (request->hasCallerLeft) return end(request);
    if (std::holds_alternative<QStringList>(request->content)) return waitForTurn(request);
    readList(request);
}

/// The bytes of the caller's list are looked at only from here on.
void HelperService::readList(const RequestPtr& request) {
    const auto size = request->sizeOfList();
    if (!size) {
        return refuse(request, HelperErrorName::kInvalid,
                      QStringLiteral("no sealed memory file of at most 256 MB"));
    }
    if (m_listBytes + *size > kMaximumListBytes) {
        return refuse(request, HelperErrorName::kBusy, QStringLiteral("too many commands"));
    }
    request->listBytes = *size;
    m_listBytes += *size;
    m_reader.enqueue([this, request] {
        auto items = std::make_shared<Result<EraseItems>>(request->readItems());
        MainThread::post([this, request, items] { accept(request, std::move(*items)); });
    });
}

void HelperService::accept(const RequestPtr& request, Result<EraseItems> items) {
    request->content = QByteArray();
    if (!items) {
        return refuse(request, HelperErrorName::kInvalid,
                      QString::fromStdString(items.error().localizedDescription()));
    }
    if (request->hasCallerLeft) return end(request);
    request->items = std::move(*items);
    qCInfo(lcHelper, "%s of user %u accepted: %zu items", request->command.c_str(), *request->user,
           request->items.unlockItems.size() + request->items.permissionsItems.size());
    m_bus.send(request->message.createReply());
    request->message = {};  // the bus library need not keep it for the time of the command
    request->callBytes = 0;
    request->progress = std::shared_ptr<ProgressChannel>(
        new ProgressChannel(m_bus, request->caller,
                            {request->items.erasedCount, request->items.erasedSize},
                            [this, weak = std::weak_ptr<Request>(request)] {
                                if (const RequestPtr lost = weak.lock()) stop(lost);
                            }),
        [](ProgressChannel* channel) { channel->deleteLater(); });
    waitForTurn(request);
}

void HelperService::waitForTurn(const RequestPtr& request) {
    request->isAccepted = true;
    // A command that was stopped before needs no turn.
    OperationQueue& queue = request->stop ? m_reader : m_eraser;
    queue.enqueue([this, request] { carryOut(request); });
}

/// Thread: of a queue.
void HelperService::carryOut(const RequestPtr& request) {
    if (request->hasBegun.exchange(true)) return;
    if (std::holds_alternative<QStringList>(request->content)) {
        carryOutUnlock(request);
    } else {
        carryOutErase(request);
    }
}

void HelperService::carryOutErase(const RequestPtr& request) {
    UserTrashes trashes(*request->user);
    const EraseOutcome outcome =
        runEraseCommand(trashes, request->items, *request->progress, request->stop);
    MainThread::post([this, request, outcome] {
        const auto totals = request->progress->totals();
        qCInfo(lcHelper, "Command of user %u over: %llu entries erased, %llu items stay%s",
               *request->user,
               static_cast<unsigned long long>(totals.count - request->items.erasedCount),
               static_cast<unsigned long long>(outcome.nonErasedCount),
               request->stop ? ", stopped" : "");
        request->progress->finish(outcome.nonErasedCount, [this, request] { end(request); });
    });
}

void HelperService::carryOutUnlock(const RequestPtr& request) {
    const auto& texts = std::get<QStringList>(request->content);
    std::vector<std::string> paths;
    for (const QString& text : texts)
        paths.push_back(percentDecode(text.toStdString()).value_or(std::string()));
    UserTrashes trashes(*request->user);
    const auto unlocked = runUnlockCommand(trashes, paths, request->stop);
    QStringList answer;
    for (std::size_t index = 0; index < unlocked.size(); ++index) {
        if (unlocked[index]) answer << texts[static_cast<qsizetype>(index)];
    }
    MainThread::post([this, request, answer] {
        qCInfo(lcHelper, "%lld entries of user %u unlocked", static_cast<long long>(answer.size()),
               *request->user);
        m_bus.send(request->message.createReply(answer));
        end(request);
    });
}

void HelperService::refuse(const RequestPtr& request, const char* error, const QString& reason) {
    m_bus.send(request->message.createErrorReply(latin1(error), reason));
    end(request);
}

void HelperService::end(const RequestPtr& request) {
    const auto found = m_requests.find(request->caller);
    if (found != m_requests.end() && found->second == request) {
        m_listBytes -= request->listBytes;
        m_requests.erase(found);
        m_callers.removeWatchedService(request->caller);
    }
    m_idle.start();
    if (m_isEnding && m_requests.empty()) QCoreApplication::quit();
}

void HelperService::callerLeft(const QString& caller) {
    const auto found = m_requests.find(caller);
    if (found == m_requests.end()) return;
    const RequestPtr request = found->second;
    request->hasCallerLeft = true;
    if (request->progress) request->progress->giveUp();
    stop(request);
    if (!request->check) return;
    request->check.reset();
    end(request);
}

void HelperService::leaveWhenIdle() {
    if (!m_requests.empty()) return m_idle.start();
    // What is sent to the name from now on starts another helper; what came before is served first.
    m_bus.unregisterService(latin1(kHelperService));
    QMetaObject::invokeMethod(this, &HelperService::leaveUnlessCalled, Qt::QueuedConnection);
}

void HelperService::leaveUnlessCalled() {
    if (!m_idle.isActive()) return QCoreApplication::quit();
    m_bus.registerService(latin1(kHelperService));
}

}  // namespace kestrin
