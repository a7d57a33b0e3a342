// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/CallerCheck.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QMap>
#include <utility>

namespace kestrin {

/// The policy service's "subject": (sa{sv}).
struct PolicySubject {
    QString kind;
    QVariantMap details;
};
/// The policy service's answer: (bba{ss}).
struct PolicyAnswer {
    bool isAuthorized = false;
    bool isChallenge = false;  ///< a question could be put
    QMap<QString, QString> details;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PolicySubject& subject) {
    argument.beginStructure();
    argument << subject.kind << subject.details;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PolicySubject& subject) {
    argument.beginStructure();
    argument >> subject.kind >> subject.details;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PolicyAnswer& answer) {
    argument.beginStructure();
    argument >> answer.isAuthorized >> answer.isChallenge >> answer.details;
    argument.endStructure();
    return argument;
}

}  // namespace kestrin

Q_DECLARE_METATYPE(kestrin::PolicySubject)

namespace kestrin {
namespace {

constexpr char kBusService[] = "org.freedesktop.DBus";
constexpr char kBusPath[] = "/org/freedesktop/DBus";
constexpr char kPolicyService[] = "org.freedesktop.PolicyKit1";
constexpr char kPolicyPath[] = "/org/freedesktop/PolicyKit1/Authority";
constexpr char kPolicyInterface[] = "org.freedesktop.PolicyKit1.Authority";
constexpr char kPolicyCancelled[] = "org.freedesktop.PolicyKit1.Error.Cancelled";
constexpr quint32 kAllowUserInteraction = 1;
constexpr int kBusMilliseconds = 25'000;
constexpr int kPolicyMilliseconds = 60 * 60 * 1000;  // a password may be looked for

QString latin1(const char* text) {
    return QString::fromLatin1(text);
}

QDBusMessage policyCall(const char* method) {
    return QDBusMessage::createMethodCall(latin1(kPolicyService), latin1(kPolicyPath),
                                          latin1(kPolicyInterface), latin1(method));
}

void registerTypes() {
    static const bool isDone = [] {
        qDBusRegisterMetaType<PolicySubject>();
        qDBusRegisterMetaType<QMap<QString, QString>>();
        return true;
    }();
    Q_UNUSED(isDone)
}

}  // namespace

CallerCheck::CallerCheck(const QDBusConnection& bus, Question question, Handlers handlers)
    : m_bus(bus), m_question(std::move(question)), m_handlers(std::move(handlers)) {
    registerTypes();
    askBus();
}

CallerCheck::~CallerCheck() {
    if (m_cancellationId.isEmpty()) return;
    QDBusMessage call = policyCall("CancelCheckAuthorization");
    call << m_cancellationId;
    m_bus.send(call);
}

void CallerCheck::callLater(const QDBusMessage& call, int milliseconds,
                            void (CallerCheck::*next)(const QDBusMessage&)) {
    auto* const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, milliseconds), this);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, next] {
        watcher->deleteLater();
        (this->*next)(watcher->reply());
    });
}

void CallerCheck::askBus() {
    QDBusMessage call =
        QDBusMessage::createMethodCall(latin1(kBusService), latin1(kBusPath), latin1(kBusService),
                                       QStringLiteral("GetConnectionCredentials"));
    call << m_question.caller;
    callLater(call, kBusMilliseconds, &CallerCheck::compare);
}

/// The bus daemon took its figures from the kernel when the caller connected.
void CallerCheck::compare(const QDBusMessage& reply) {
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != latin1("a{sv}")) {
        return refuse(HelperErrorName::kInvalid, "the bus does not know the caller");
    }
    const auto credentials = qdbus_cast<QVariantMap>(reply.arguments().at(0));
    const QVariant user = credentials.value(QStringLiteral("UnixUserID"));
    const QVariant process = credentials.value(QStringLiteral("ProcessID"));
    if (!user.isValid() || !process.isValid()) {
        return refuse(HelperErrorName::kInvalid, "the bus does not know the caller's process");
    }
    m_answer.userId = user.toUInt();
    const auto& form = m_question.form;
    if (form && (form->userId != m_answer.userId || form->processId != process.toUInt() ||
                 processStartTime(form->processId) != form->startTime)) {
        return refuse(HelperErrorName::kInvalid, "the authorization names another process");
    }
    if (!m_handlers.identified(m_answer.userId)) {
        return refuse(HelperErrorName::kBusy, "too many commands");
    }
    askPolicy();
}

void CallerCheck::askPolicy() {
    if (m_question.right.empty()) {
        return refuse(HelperErrorName::kNotAuthorized, "the command has no right");
    }
    static quint64 s_questions = 0;
    m_cancellationId = QString::number(++s_questions);
    const PolicySubject caller{QStringLiteral("system-bus-name"),
                               {{QStringLiteral("name"), m_question.caller}}};
    QDBusMessage call = policyCall("CheckAuthorization");
    call << QVariant::fromValue(caller) << QString::fromStdString(m_question.right)
         << QVariant::fromValue(QMap<QString, QString>())
         << (m_question.mayAskUser ? kAllowUserInteraction : 0U) << m_cancellationId;
    callLater(call, kPolicyMilliseconds, &CallerCheck::judge);
}

void CallerCheck::judge(const QDBusMessage& reply) {
    m_cancellationId.clear();
    if (reply.type() == QDBusMessage::ErrorMessage &&
        reply.errorName() == latin1(kPolicyCancelled)) {
        return refuse(HelperErrorName::kCancelled, "the question was dismissed");
    }
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != latin1("(bba{ss})")) {
        return refuse(HelperErrorName::kNotAuthorized, "the policy service cannot be asked");
    }
    PolicyAnswer answer;
    // A QDBusArgument that is not const takes the reading operator for a writing one.
    const auto argument = reply.arguments().at(0).value<QDBusArgument>();
    argument >> answer;
    if (answer.isAuthorized) return m_handlers.answered(m_answer);
    if (answer.details.contains(QStringLiteral("polkit.dismissed"))) {
        return refuse(HelperErrorName::kCancelled, "the question was dismissed");
    }
    refuse(HelperErrorName::kNotAuthorized, "the policy service said no");
}

void CallerCheck::refuse(const char* error, const char* reason) {
    m_answer.error = error;
    m_answer.reason = latin1(reason);
    m_handlers.answered(m_answer);
}

}  // namespace kestrin
