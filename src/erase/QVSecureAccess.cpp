// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVSecureAccess.h"

#include <QTimer>
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <utility>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "erase/HelperBatches.h"
#include "erase/HelperInstaller.h"
#include "erase/ItemPresences.h"
#include "erase/QVErrorDelegate.h"
#include "platform/items/HostErrors.h"
#include "platform/items/ItemAttributes.h"
#include "platform/processes/AnswerWithin.h"

namespace kestrin {
namespace {

QString& versionOfHelper() {
    static QString version;
    return version;
}

void requireMainThread() {
    if (!MainThread::isCurrent()) qFatal("QVSecureAccess: not on the main thread");
}

AuthorizationForm newAuthorization() {
    const auto form = AuthorizationForm::ofThisProcess();
    if (!form)
        qFatal("QVSecureAccess: no authorization: %s", form.error().localizedDescription().c_str());
    return *form;
}

bool isOfHelper(const QDBusError& error) {
    return error.name().startsWith(QLatin1String("com.quorvane.Kestrin3Helper.Error."));
}

std::uint64_t countOf(const HelperRequest& request) {
    return request.unlockItems.size() + request.permissionsItems.size();
}

HostError endedEarly(std::string_view key, const StringTable& texts) {
    const QString text = texts.text(key, StringTable::Table::Errors);
    return {std::string(kBusErrorDomain),
            QDBusError::Disconnected,
            0,
            {{"errorString", text.toStdString()}}};
}

/// Of the items handed over. Those of a volume that does not answer count. Thread: any that may
/// wait.
std::uint64_t countStillThere(const HelperRequest& request) {
    std::ptrdiff_t count = 0;
    for (const auto* const items : {&request.unlockItems, &request.permissionsItems}) {
        count += std::ranges::count_if(presencesOfAll(*items), [](ItemPresence presence) {
            return presence == ItemPresence::There || presence == ItemPresence::Unknown;
        });
    }
    return static_cast<std::uint64_t>(count);
}

/// The user has read so in the question that led here.
bool isCancelled(const HostError& error) {
    return error.domain == kOSStatusErrorDomain && error.code == kAuthorizationCancelled;
}

}  // namespace

/// The work under way: one command after the other.
struct QVSecureAccess::Run {
    Run(std::shared_ptr<const HelperRequest> work, std::size_t maximumList)
        : request(work),
          batches(std::make_shared<HelperBatches>(work, maximumList)),
          erasedCount(work->erasedCount),
          erasedSize(work->erasedSize) {}

    std::shared_ptr<const HelperRequest> request;
    std::shared_ptr<HelperBatches> batches;  ///< in use by the thread that makes the next list
    std::uint64_t erasedCount;
    std::uint64_t erasedSize;
    std::uint64_t nonErasedCount = 0;  ///< of the commands that are over
    int command = 0;                   ///< number of the one under way
    bool isSent = false;               ///< that one is; before, its list is being made
    bool isAccepted = false;           ///< that one is: it ends by commandFinished
    int silences = 0;  ///< how often the helper gave no sign of life, one after the other
};

QVSecureAccess::QVSecureAccess(SecureAccessServices services, HelperDelegate* delegate)
    : m_services(std::move(services)),
      m_authRef(newAuthorization()),
      m_authorization(m_authRef.toBytes()),
      m_delegate(delegate) {}

QVSecureAccess::~QVSecureAccess() = default;

// --- Installation ---

bool QVSecureAccess::installHelperAppIfNeeded() {
    const MaybeError error = authorizeTheAccess();
    if (!error) return true;
    if (isCancelled(*error)) return false;
    m_services.presenter.showError(error->localizedDescription());
    return false;
}

MaybeError QVSecureAccess::authorizeTheAccess() {
    requireMainThread();
    bool exists = false;
    if (m_services.defaults.boolForKey("show_install_helper_tool") ||
        isHelperNeedBeInstalled(exists)) {
        return {};
    }
    const int answer = m_services.presenter.askToTheUserWithView(
        {.question = std::string(exists ? "update_helper_tool"_key : "install_helper_tool"_key),
         .message = std::string("update_helper_tool_mess"_key),
         .defaultButton = std::string(exists ? "update_button"_key : "install_button"_key),
         .alternateButton =
             std::string(exists ? "dont_update_button"_key : "dont_install_button"_key),
         .notAnswered = kAlertSecondButton,
         .preferenceKey = "show_install_helper_tool"});
    if (answer != kAlertFirstButton)
        return HostError{std::string(kOSStatusErrorDomain), kAuthorizationCancelled};
    if (exists) removeHelper();
    m_authRef = newAuthorization();
    return blessHelperWithLabel(kHelperService);
}

MaybeError QVSecureAccess::blessHelperWithLabel(std::string_view label) {
    requireMainThread();
    return HelperInstaller(m_services.texts, m_services.programEnds).install(label);
}

void QVSecureAccess::removeHelper(int majorVersion) {
    requireMainThread();
    const HelperInstaller installer(m_services.texts, m_services.programEnds);
    if (const MaybeError error = installer.remove(majorVersion)) {
        qCWarning(lcErase, "removeHelper: %s", error->localizedDescription().c_str());
    }
}

bool QVSecureAccess::isHelperNeedBeInstalled(bool& helperExists) {
    if (!pathExists(m_services.helperFile.path())) return false;
    helperExists = true;
    getHelperToolVersion();
    return helperVersion() == QLatin1String(kHelperVersion);
}

void QVSecureAccess::getHelperToolVersion() {
    connectAndExecuteCommandBlock([this](const MaybeError& connectionError) {
        if (connectionError) {
            versionOfHelper() = QString::fromStdString(connectionError->localizedDescription());
            qCInfo(lcErase, "connectAndExecuteCommandBlock %s / %d - %s",
                   connectionError->domain.c_str(), connectionError->code,
                   connectionError->localizedDescription().c_str());
            return;
        }
        const std::shared_ptr<HelperConnection> connection = m_helperToolConnection;
        const Result<QString> version = connection->version();
        versionOfHelper() =
            version ? *version : QString::fromStdString(version.error().localizedDescription());
        if (version) return;
        const HostError& error = version.error();
        qCInfo(lcErase, "getHelperToolVersion error %s / %d - %s", error.domain.c_str(), error.code,
               error.localizedDescription().c_str());
    });
}

const QString& QVSecureAccess::helperVersion() {
    return versionOfHelper();
}

// --- Connection ---

MaybeError QVSecureAccess::connectToHelperTool() {
    requireMainThread();
    if (m_helperToolConnection && m_helperToolConnection->isValid()) return {};
    auto connection = HelperConnection::open(m_services.openBus, m_services.texts, handlers());
    if (!connection) return connection.error();
    m_helperToolConnection = *std::move(connection);
    return {};
}

void QVSecureAccess::connectAndExecuteCommandBlock(
    const std::function<void(const MaybeError&)>& block) {
    requireMainThread();
    block(connectToHelperTool());
}

HelperConnection::Handlers QVSecureAccess::handlers() {
    return {
        .itemsErased = [this](const ErasedItems& items) { itemsErased(items); },
        .attributesNotRestored = [this](const QStringList& paths) { attributesNotRestored(paths); },
        .finishedWithNonErasedCount =
            [this](quint64 count) { later([this, count] { commandFinished(count); }); },
        .interrupted =
            [this](bool mayGoOn) { later([this, mayGoOn] { commandInterrupted(mayGoOn); }); },
        .invalidated = [this] { later([this] { connectionInvalidated(); }); }};
}

void QVSecureAccess::connectionInvalidated() {
    if (m_helperToolConnection && !m_helperToolConnection->isValid())
        m_helperToolConnection.reset();
    qCInfo(lcErase, "connectToHelperTool: connection invalidated");
    if (!m_run) return;
    endRunByLooking(endedEarly("helper_ended"_errorKey, m_services.texts));
}

/// Not on the stack of a call from the bus: at the end of a run the delegate may let this object,
/// and the connection with it, go.
void QVSecureAccess::later(std::function<void()> call) {
    MainThread::post([life = std::weak_ptr(m_life), call = std::move(call)] {
        if (!life.expired()) call();
    });
}

// --- Commands ---

void QVSecureAccess::authorizedEraseWithDictionary(std::shared_ptr<const HelperRequest> request) {
    requireMainThread();
    m_run = std::make_shared<Run>(std::move(request), m_services.maximumList);
    watchHelper();
    // Stop may have come while this client was made.
    if (!m_delegate->isStoppedByUser()) return sendNextCommand();
    later([this] {
        if (m_run) endRunByLooking({});
    });
}

/// The list is made on a thread of its own: a million paths take seconds.
void QVSecureAccess::sendNextCommand() {
    ++m_run->command;
    m_run->isSent = m_run->isAccepted = false;
    const auto made = [this, life = std::weak_ptr(m_life), run = std::weak_ptr(m_run)](auto list) {
        MainThread::post([this, life, run, list = std::move(list)] {
            if (!life.expired() && m_run && m_run == run.lock()) listIsMade(*list);
        });
    };
    const bool isBegun = runAbandoned([made, batches = m_run->batches, count = m_run->erasedCount,
                                       size = m_run->erasedSize] {
        made(std::make_shared<const Result<CommandList>>(commandList(*batches->next(count, size))));
    });
    if (isBegun) return;
    made(std::make_shared<const Result<CommandList>>(errorFromErrno(EAGAIN, HostAccess::Write)));
}

void QVSecureAccess::listIsMade(const Result<CommandList>& list) {
    if (m_delegate->isStoppedByUser()) return endRunByLooking({});
    const MaybeError error = list ? sendCommand(*list) : list.error();
    m_run->isSent = true;
    if (!error) return;
    if (m_run->command > 1) return endRunByLooking(error);
    // Nothing has been tried when even the first command could not be sent.
    endRun(countOf(*m_run->request), error);
}

MaybeError QVSecureAccess::sendCommand(const CommandList& list) {
    MaybeError error;
    connectAndExecuteCommandBlock([&](const MaybeError& connectionError) {
        error = connectionError;
        if (connectionError) {
            qCInfo(lcErase, "error %s / %d\n", connectionError->domain.c_str(),
                   connectionError->code);
            return;
        }
        m_helperToolConnection->erase(m_authorization, list,
                                      [this, command = m_run->command](const QDBusError& answer) {
                                          later([this, command, answer] {
                                              if (m_run && m_run->command == command)
                                                  commandAnswered(answer);
                                          });
                                      });
    });
    return error;
}

void QVSecureAccess::commandAnswered(const QDBusError& answer) {
    if (!answer.isValid()) {
        m_run->isAccepted = true;
        return;
    }
    const HostError error = helperError(answer, m_services.texts);
    // A command that waits for its turn is refused when Stop takes it back.
    if (m_delegate->isStoppedByUser() && isCancelled(error)) return endRunByLooking({});
    const std::string text = error.localizedDescription();
    if (isOfHelper(answer)) {
        qCInfo(lcErase, "eraseWithAuthorization error %s / %d  %s", error.domain.c_str(),
               error.code, text.c_str());
    } else {
        qCInfo(lcErase, "authorizedEraseWithDictionary proxyError %s / %d %s", error.domain.c_str(),
               error.code, text.c_str());
    }
    endRunByLooking(error);
}

void QVSecureAccess::itemsErased(const ErasedItems& items) {
    if (!m_run) return;
    for (const ErasedItem& item : items) {
        if (item.count != 0) m_delegate->setTotItemsDeleted(m_run->erasedCount = item.count);
        if (item.totalSize != 0) m_delegate->setTotSizeDeleted(m_run->erasedSize = item.totalSize);
        const std::string encoded = item.itemPath.toStdString();
        m_delegate->writeLogEntryWithPath(percentDecode(encoded).value_or(encoded), item.itemSize);
    }
}

void QVSecureAccess::attributesNotRestored(const QStringList& paths) {
    if (!m_run) return;
    for (const QString& path : paths) {
        const std::string encoded = path.toStdString();
        m_delegate->attributesNotRestored(percentDecode(encoded).value_or(encoded));
    }
}

void QVSecureAccess::commandFinished(std::uint64_t nonErasedCount) {
    if (!m_run) return;
    m_run->nonErasedCount += nonErasedCount;
    if (m_run->batches->isAtEnd()) return endRun(m_run->nonErasedCount, {});
    if (m_delegate->isStoppedByUser()) return endRunByLooking({});
    sendNextCommand();
}

/// The helper does not know what stayed, so that the disk is asked.
void QVSecureAccess::commandInterrupted(bool mayGoOn) {
    if (!m_run) return;
    const auto key = mayGoOn ? "helper_hangs"_errorKey : "helper_interrupted"_errorKey;
    endRunByLooking(endedEarly(key, m_services.texts));
}

/// The error comes before the end, which is reported with it. The delegate may let this object go
/// in any of its calls.
void QVSecureAccess::endRun(std::uint64_t nonErasedCount, const MaybeError& error) {
    m_run.reset();
    // With the connection ends what the helper may still be at.
    if (error) m_helperToolConnection.reset();
    HelperDelegate& delegate = *m_delegate;
    delegate.setNotErasedCount(nonErasedCount);
    if (error) delegate.showErrorWithError(*error);
    delegate.setIsWorking(false);
}

/// The end of a run of which nobody tells what stayed: the disk is asked, in the background.
void QVSecureAccess::endRunByLooking(const MaybeError& error) {
    const std::shared_ptr<const HelperRequest> request = m_run->request;
    m_run.reset();
    if (error) m_helperToolConnection.reset();
    const auto counted = [this, life = std::weak_ptr(m_life), error](std::uint64_t count) {
        MainThread::post([this, life, error, count] {
            if (!life.expired()) endRun(count, error);
        });
    };
    if (!runAbandoned([request, counted] { counted(countStillThere(*request)); })) {
        counted(countOf(*request));
    }
}

/// A helper that hangs tells no end, and there may be nobody to say Stop.
void QVSecureAccess::watchHelper() {
    const auto inThisRun = [this, life = std::weak_ptr(m_life),
                            run = std::weak_ptr(m_run)](const std::function<void()>& call) {
        if (!life.expired() && m_run && m_run == run.lock()) call();
    };
    const auto answered = [this, inThisRun](const Result<QString>& version) {
        later([this, inThisRun, version] {
            inThisRun([&] {
                m_run->silences = version ? 0 : m_run->silences + 1;
                if (m_run->silences == 2) return endRunByLooking(version.error());
                watchHelper();
            });
        });
    };
    QTimer::singleShot(m_services.signOfLife, [this, inThisRun, answered] {
        inThisRun([&] {
            if (m_run->isSent && m_helperToolConnection) {
                return m_helperToolConnection->askVersion(answered);
            }
            watchHelper();
        });
    });
}

void QVSecureAccess::stoppedByUser() {
    requireMainThread();
    if (m_run && !m_run->isSent) {
        return later([this] {
            if (m_run && !m_run->isSent) endRunByLooking({});
        });
    }
    if (!m_run || !m_helperToolConnection || !m_helperToolConnection->isValid()) return;
    m_helperToolConnection->setStoppedByUser(
        [this, command = m_run->command](const QDBusError& answer) {
            later([this, command, answer] {
                if (m_run && m_run->command == command) stopAnswered(answer);
            });
        });
}

void QVSecureAccess::stopAnswered(const QDBusError& answer) {
    if (answer.isValid()) {  // it will not tell the end either
        endRunByLooking(helperError(answer, m_services.texts));
    } else if (!m_run->isAccepted) {  // nothing was begun; leaving takes the command back
        m_helperToolConnection.reset();
        endRunByLooking({});
    } else {  // it may yet hang before it tells the end, and then does not answer this
        QTimer::singleShot(m_services.stopAgain,
                           [this, life = std::weak_ptr(m_life), run = std::weak_ptr(m_run)] {
                               if (!life.expired() && m_run && m_run == run.lock()) stoppedByUser();
                           });
    }
}

}  // namespace kestrin
