// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/HelperService.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
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
#include "helper/SealedFile.h"

namespace kestrin {
namespace {

constexpr std::size_t kMaximumRequests = 64;
constexpr std::size_t kMaximumRequestsOfUser = 8;
/// Text of unlockItems, of one call and of all calls of one user.
constexpr std::size_t kMaximumUnlockText = std::size_t{16} << 20;
constexpr std::size_t kMaximumTextOfUser = std::size_t{32} << 20;
/// Of all lists that were read and whose command is not over.
constexpr std::size_t kMaximumListBytes = kMaximumList;

QString latin1(const char* text) {
    return QString::fromLatin1(text);
}

std::size_t textSize(const QStringList& texts) {
    std::size_t size = 0;
    for (const QString& text : texts)
        size += static_cast<std::size_t>(text.size());
    return size;
}

}  // namespace

/// One command from its call to its end. Main thread, but for what the queues are handed.
struct HelperService::Request {
    QString caller;
    QDBusMessage message;
    std::string command;  ///< as the interface description names it
    std::variant<QByteArray, QDBusUnixFileDescriptor, QStringList> content;
    std::optional<AuthorizationForm> form;
    std::size_t textBytes = 0;  ///< of content that came in the call itself
    std::size_t listBytes = 0;  ///< of the list that was read
    std::uint32_t userId = 0;   ///< as the bus knows the caller
    std::unique_ptr<CallerCheck> check;
    std::shared_ptr<ProgressChannel> progress;
    EraseItems items;
    std::atomic<bool> stop = false;
    bool isAccepted = false;
    std::atomic<bool> hasBegun = false;  ///< by one of the queues
    bool hasCallerLeft = false;

    /// What came in the call itself.
    bool isTooLong() const;
    /// Errors: of sizeOfSealedFile.
    Result<std::uint64_t> sizeOfList() const;
    /// Errors: of reading. Thread: any.
    Result<EraseItems> readItems() const;
};

bool HelperService::Request::isTooLong() const {
    const auto* const paths = std::get_if<QStringList>(&content);
    if (!paths) return textBytes > kMaximumInlineList;
    return textBytes > kMaximumUnlockText ||
           static_cast<std::size_t>(paths->size()) > kMaximumUnlockItems;
}

Result<std::uint64_t> HelperService::Request::sizeOfList() const {
    const auto* const file = std::get_if<QDBusUnixFileDescriptor>(&content);
    if (!file) return std::uint64_t{textBytes};
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
    request->textBytes = static_cast<std::size_t>(itemsDictionary.size());
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
    request->textBytes = textSize(items);
    request->content = items;
    admit(request, nullptr);
    return {};
}

void HelperService::setStoppedByUser(bool stopped) {
    m_idle.start();
    const auto found = m_requests.find(message().service());
    if (stopped && found != m_requests.end()) stop(found->second);
}

/// One that still waits for its turn need not: it only looks at what is there.
void HelperService::stop(const RequestPtr& request) {
    if (request->stop.exchange(true) || !request->isAccepted) return;
    m_reader.enqueue([this, request] { carryOut(request); });
}

/// The first step: the form of the command. Nothing of a list is looked at yet.
void HelperService::admit(const RequestPtr& request, const QByteArray* authorization) {
    m_idle.start();
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
    if (request->isTooLong()) {
        return refuse(request, HelperErrorName::kInvalid, QStringLiteral("too long a list"));
    }
    const QDBusReply<uint> user = m_bus.interface()->serviceUid(request->caller);
    request->userId = user.isValid() ? user.value() : ~0U;
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
        [this, caller = request->caller](const CallerCheck::Answer& answer) {
            const auto found = m_requests.find(caller);
            if (found != m_requests.end()) checked(RequestPtr(found->second), answer);
        });
}

bool HelperService::hasRoomFor(const Request& request) const {
    if (m_isEnding || m_requests.size() >= kMaximumRequests ||
        m_requests.contains(request.caller)) {
        return false;
    }
    std::size_t requests = 0;
    std::size_t bytes = request.textBytes;
    for (const auto& [caller, other] : m_requests) {
        if (other->userId != request.userId) continue;
        ++requests;
        bytes += other->textBytes;
    }
    return requests < kMaximumRequestsOfUser && bytes <= kMaximumTextOfUser;
}

void HelperService::checked(const RequestPtr& request, const CallerCheck::Answer& answer) {
    // The check is at work: it may go only when it has returned.
    request->check.release()->deleteLater();
    if (answer.error) {
        qCWarning(lcHelper, "%s of user %u refused: %s", request->command.c_str(), answer.userId,
                  qPrintable(answer.reason));
        return refuse(request, answer.error, answer.reason);
    }
    request->userId = answer.userId;
    if (request->hasCallerLeft) return end(request);
    if (std::holds_alternative<QStringList>(request->content)) return waitForTurn(request);
    readList(request);
}

/// Only now are the caller's bytes looked at.
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
    qCInfo(lcHelper, "%s of user %u accepted: %zu items", request->command.c_str(), request->userId,
           request->items.unlockItems.size() + request->items.permissionsItems.size());
    m_bus.send(request->message.createReply());
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
    // One that was stopped before has no need of a turn.
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
    UserTrashes trashes(request->userId);
    const EraseOutcome outcome =
        runEraseCommand(trashes, request->items, *request->progress, request->stop);
    MainThread::post([this, request, outcome] {
        const auto totals = request->progress->totals();
        qCInfo(lcHelper, "Command of user %u over: %llu entries erased, %llu items stay%s",
               request->userId,
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
    UserTrashes trashes(request->userId);
    const auto unlocked = runUnlockCommand(trashes, paths, request->stop);
    QStringList answer;
    for (std::size_t index = 0; index < unlocked.size(); ++index) {
        if (unlocked[index]) answer << texts[static_cast<qsizetype>(index)];
    }
    MainThread::post([this, request, answer] {
        qCInfo(lcHelper, "%lld entries of user %u unlocked", static_cast<long long>(answer.size()),
               request->userId);
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
