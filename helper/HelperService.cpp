// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/HelperService.h"

#include <fcntl.h>

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <algorithm>
#include <cerrno>
#include <utility>
#include <variant>
#include <vector>

#include "base/SystemLog.h"
#include "helper/CommandRun.h"
#include "helper/Hardening.h"
#include "helper/HelperProtocol.h"
#include "helper/Patience.h"
#include "helper/QVCommonHelper.h"
#include "helper/WorkerProtocol.h"
#include "platform/items/HostErrors.h"
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
/// How many commands run at once, each of another user. The kernel's memory for a worker is small;
/// what a worker takes for itself is bounded where it begins.
constexpr std::size_t kMaximumRunning = 16;

/// The most refusals that are written down in a minute; anybody can bring about ever more of them.
constexpr std::size_t kLoggedRefusals = 20;
/// How long memory that a call took may stay.
constexpr std::chrono::milliseconds kMemoryPatience{500};

QString latin1(const char* text) {
    return QString::fromLatin1(text);
}

/// How many bytes the texts take in a message at most. Those of a list that is too long are not
/// counted to the end.
std::size_t bytesOf(const QStringList& texts) {
    constexpr std::size_t kBesidesText = 8;  // the length, a NUL, and what aligns the next
    std::size_t bytes = 0;
    for (const QString& text : texts) {
        bytes += static_cast<std::size_t>(text.toUtf8().size()) + kBesidesText;
        if (bytes > kMaximumInlineList) break;
    }
    return bytes;
}

}  // namespace

/// One command from its call to its end.
struct HelperService::Request {
    QString caller;
    QDBusMessage message;  ///< until it has its turn
    std::string command;   ///< as the interface description names it
    std::variant<QByteArray, QDBusUnixFileDescriptor, QStringList> content;
    std::optional<AuthorizationForm> form;
    std::size_t callBytes = 0;          ///< of content that came in the call itself
    std::optional<std::uint32_t> user;  ///< as the bus knows the caller; none before it was asked
    std::unique_ptr<CallerCheck> check;
    std::unique_ptr<CommandRun> run;  ///< from its turn on

    std::size_t bytesKept() const { return run && run->isAnswered() ? 0 : callBytes; }
    WorkerKind kind() const;
    /// The content as a worker gets it: a sealed memory file. Errors: of making one.
    Result<UniqueFd> list() const;
};

WorkerKind HelperService::Request::kind() const {
    return std::holds_alternative<QStringList>(content) ? WorkerKind::Unlock : WorkerKind::Erase;
}

Result<UniqueFd> HelperService::Request::list() const {
    if (const auto* const bytes = std::get_if<QByteArray>(&content)) {
        return sealedFile({bytes->constData(), static_cast<std::size_t>(bytes->size())});
    }
    if (const auto* const file = std::get_if<QDBusUnixFileDescriptor>(&content)) {
        UniqueFd own(::fcntl(file->fileDescriptor(), F_DUPFD_CLOEXEC, 0));
        if (!own) return errorFromErrno(errno, HostAccess::Read);
        return own;
    }
    std::vector<std::string> texts;
    for (const QString& text : std::get<QStringList>(content))
        texts.push_back(text.toStdString());
    return sealedFile(unlockList(texts));
}

HelperService::HelperService(const QDBusConnection& bus, UniqueFd parent,
                             std::chrono::seconds idleTime)
    : m_bus(bus),
      m_workers(std::move(parent)),
      m_parentWatch(m_workers.parent(), QSocketNotifier::Read) {
    m_callers.setConnection(m_bus);
    m_callers.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    QObject::connect(&m_callers, &QDBusServiceWatcher::serviceUnregistered, this,
                     &HelperService::callerLeft);
    // The parent says nothing: it has gone.
    QObject::connect(&m_parentWatch, &QSocketNotifier::activated, this, [this] {
        qCCritical(lcHelper, "The process that starts workers has gone");
        m_parentWatch.setEnabled(false);
        shutDown();
    });
    m_idle.setSingleShot(true);
    m_idle.setInterval(idleTime);
    QObject::connect(&m_idle, &QTimer::timeout, this, &HelperService::leaveWhenIdle);
    m_logging.setSingleShot(true);
    m_logging.setInterval(std::chrono::minutes(1));
    QObject::connect(&m_logging, &QTimer::timeout, this, &HelperService::logRefusals);
    m_memory.setSingleShot(true);
    m_memory.setInterval(kMemoryPatience);
    QObject::connect(&m_memory, &QTimer::timeout, this, &giveUpUnusedMemory);
}

HelperService::~HelperService() {
    logRefusals();
}

bool HelperService::start() {
    wasUsed();
    return m_bus.registerService(latin1(kHelperService));
}

/// The next refusals are written down one by one again.
void HelperService::logRefusals() {
    if (m_refusals > kLoggedRefusals) {
        qCWarning(lcHelper, "%zu more commands were refused", m_refusals - kLoggedRefusals);
    }
    m_refusals = 0;
}

/// A call may have been large, whatever became of it.
void HelperService::wasUsed() {
    m_idle.start();
    if (!m_memory.isActive()) m_memory.start();
}

void HelperService::shutDown() {
    m_isEnding = true;
    const auto requests = m_requests;  // refusing takes them out
    for (const auto& [caller, request] : requests) {
        if (request->run) {
            request->run->hurry();
        } else {
            refuse(request, HelperErrorName::kBusy, QStringLiteral("the helper is ending"));
        }
    }
    leaveWhenAllIsOver();
}

QString HelperService::getVersion() {
    wasUsed();
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
    wasUsed();
    const auto found = m_requests.find(message().service());
    if (!stopped || found == m_requests.end()) return;
    const RequestPtr request = found->second;  // it may go
    if (!request->run) {
        return refuse(request, HelperErrorName::kCancelled,
                      QStringLiteral("stopped before it began"));
    }
    if (message().isReplyRequired()) setDelayedReply(request->run->answersStop(message()));
    request->run->stop();
}

/// The first step: the form of the command. Nothing of a list is looked at yet.
void HelperService::admit(const RequestPtr& request, const QByteArray* authorization) {
    wasUsed();
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
        bytes += other->bytesKept();
    }
    return unknown < kMaximumUnknown && bytes <= kMaximumCallBytes;
}

/// Takes down who the caller is. False when there is no room for one more command of this user. A
/// worker that cannot be ended counts for two, as long as that is so.
bool HelperService::identify(Request& request, std::uint32_t user) const {
    std::size_t ofAll = 0;
    std::size_t ofUser = 2 * m_workers.countLeftBehind(user);
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
        if (m_refusals++ < kLoggedRefusals) {
            qCWarning(lcHelper, "%s of user %u refused: %s", request->command.c_str(),
                      answer.userId, qPrintable(answer.reason));
        }
        if (!m_logging.isActive()) m_logging.start();
        return refuse(request, answer.error, answer.reason);
    }
    const auto* const file = std::get_if<QDBusUnixFileDescriptor>(&request->content);
    if (file && !sizeOfSealedFile(file->fileDescriptor(), kMaximumList)) {
        return refuse(request, HelperErrorName::kInvalid,
                      QStringLiteral("no sealed memory file of at most 256 MB"));
    }
    m_waiting.push_back(request);
    beginNext();
}

/// Begins what may begin, in the order of the line.
void HelperService::beginNext() {
    for (std::size_t index = 0; index < m_waiting.size();) {
        if (!hasTurn(*m_waiting[index])) {
            ++index;
            continue;
        }
        const RequestPtr request = m_waiting[index];
        m_waiting.erase(m_waiting.begin() + static_cast<std::ptrdiff_t>(index));
        if (const MaybeError error = begin(request)) {
            qCWarning(lcHelper, "No worker: %s", error->localizedDescription().c_str());
            refuse(request, HelperErrorName::kBusy, QStringLiteral("no worker can be started"));
        }
    }
}

/// A user's commands run one after the other, so that whatever a user does holds up that user
/// alone.
bool HelperService::hasTurn(const Request& request) const {
    std::size_t running = 0;
    for (const auto& [caller, other] : m_requests) {
        if (!other->run) continue;
        if (other->user == request.user) return false;
        ++running;
    }
    return running < kMaximumRunning;
}

MaybeError HelperService::begin(const RequestPtr& request) {
    const auto list = request->list();
    if (!list) return list.error();
    CommandRun::Command command{.name = request->command,
                                .message = request->message,
                                .user = *request->user,
                                .kind = request->kind()};
    if (const auto* const items = std::get_if<QStringList>(&request->content)) {
        command.unlockItems = *items;
    }
    auto run = std::make_unique<CommandRun>(m_bus, m_workers, std::move(command),
                                            [this, request = std::weak_ptr(request)] {
                                                if (const RequestPtr over = request.lock())
                                                    end(over);
                                            });
    if (auto error = run->begin(list->get())) return error;
    request->run = std::move(run);
    // The run alone keeps the call now.
    request->message = {};
    request->content = QByteArray();
    return std::nullopt;
}

void HelperService::refuse(const RequestPtr& request, const char* error, const QString& reason) {
    m_bus.send(request->message.createErrorReply(latin1(error), reason));
    end(request);
}

/// The user's other commands go to the end of the line, behind those of users who wait as long.
void HelperService::end(const RequestPtr& request) {
    request->check.reset();
    std::erase(m_waiting, request);
    const auto found = m_requests.find(request->caller);
    if (found != m_requests.end() && found->second == request) {
        m_requests.erase(found);
        m_callers.removeWatchedService(request->caller);
    }
    wasUsed();
    if (request->run) {
        std::ranges::stable_partition(
            m_waiting, [&](const RequestPtr& other) { return other->user != request->user; });
        // It is on the stack.
        m_over.push_back(std::move(request->run));
        QMetaObject::invokeMethod(
            this, [this] { m_over.clear(); }, Qt::QueuedConnection);
        beginNext();
    }
    leaveWhenAllIsOver();
}

/// What has been told is with the bus when that answers the next question.
void HelperService::leaveWhenAllIsOver() {
    if (!m_isEnding || !m_requests.empty() || std::exchange(m_isLeaving, true)) return;
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    const QDBusMessage question = QDBusMessage::createMethodCall(
        bus, QStringLiteral("/org/freedesktop/DBus"), bus, QStringLiteral("GetId"));
    constexpr std::chrono::milliseconds kPatience = kBusPatience;
    auto* const watcher = new QDBusPendingCallWatcher(
        m_bus.asyncCall(question, static_cast<int>(kPatience.count())), this);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, this,
                     [] { QCoreApplication::quit(); });
}

void HelperService::callerLeft(const QString& caller) {
    const auto found = m_requests.find(caller);
    if (found == m_requests.end()) return;
    const RequestPtr request = found->second;
    if (request->run) return request->run->callerLeft();
    end(request);
}

void HelperService::leaveWhenIdle() {
    // A helper that came after this one would know nothing of workers that cannot be ended, so that
    // their user could have ever more of them.
    if (!m_requests.empty() || m_workers.areThere()) return wasUsed();
    // What is sent to the name from now on starts another helper; what came before is served first.
    m_bus.unregisterService(latin1(kHelperService));
    QMetaObject::invokeMethod(this, &HelperService::leaveUnlessCalled, Qt::QueuedConnection);
}

void HelperService::leaveUnlessCalled() {
    if (!m_idle.isActive()) return QCoreApplication::quit();
    m_bus.registerService(latin1(kHelperService));
}

}  // namespace kestrin
